#pragma once

#include <cstdint>
#include <string_view>

/// What the program and the workers that turn text documents into PDFs tell each other. Both
/// come from one build, so this may change at will. A worker says that it is ready, and then
/// answers job after job until the pipe of the jobs is closed.
namespace quillorn::conversion {

inline constexpr std::string_view officeWorkerName = "quillorn-office-worker";
inline constexpr std::string_view officePartName = "quillorn-office-part.so"; ///< in its engine
inline constexpr std::string_view textWorkerName = "quillorn-text-worker";

/// The pipes' numbers in the worker.
inline constexpr int jobPipe = 3;
inline constexpr int answerPipe = 4;

enum class DocumentFormat : std::uint32_t { richText, wordXML, word, plainText, word95, word2 };

/// A job, followed by the bytes of the document. Lengths are points.
struct JobHeader {
    DocumentFormat format = DocumentFormat::plainText;
    std::uint32_t keepPageSetup = 0; ///< not 0: the document's own paper, margins and headers
    double paperWidth = 0;
    double paperHeight = 0;
    double margin = 0; ///< on all four sides
    std::uint64_t documentBytes = 0;
};

enum class Outcome : std::uint32_t {
    ready = 0x71660001, ///< no answer to a job: the worker can take one
    converted,
    refused,    ///< the document is the reason
    unavailable ///< the engine is the reason
};

/// An answer, followed by a text and the bytes of the PDF. The text tells why there is no PDF, or
/// of each line something that people should know about it.
struct AnswerHeader {
    Outcome outcome = Outcome::refused;
    std::uint32_t textBytes = 0;
    std::uint64_t pdfBytes = 0;
};

} // namespace quillorn::conversion
