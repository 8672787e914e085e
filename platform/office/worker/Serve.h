#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/office/ConversionProtocol.h"

#include <functional>
#include <string>

namespace quillorn::conversion {

/// A document to be converted, with its bytes.
struct Job {
    JobHeader header;
    std::string document;
};

/// What came of it; the text as in AnswerHeader.
struct Answer {
    Outcome outcome = Outcome::refused;
    std::string text;
    FileDescriptor pdf{}; ///< open for reading, from its start; empty when there is none
};

/// Makes a PDF of a job's document.
using Converter = std::function<Answer(const Job& job)>;

/// Tells the program that this worker is ready, or that it never will be. False when nobody
/// listens.
bool announce(const Answer& answer);

/// Answers jobs until there are no more. Memory that runs out and other exceptions end the
/// process, which the program notices. Returns the exit status.
[[nodiscard]] int serve(const Converter& convert);

} // namespace quillorn::conversion
