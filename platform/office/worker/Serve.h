#pragma once

#include "platform/office/ConversionProtocol.h"

#include <filesystem>
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
};

/// Makes a PDF of a job's document in a file of this name, which does not exist.
using Converter = std::function<Answer(const Job& job, const std::filesystem::path& pdf)>;

/// Tells the program that this worker is ready, or that it never will be. False when nobody
/// listens.
bool announce(const Answer& answer);

/// Answers jobs until there are no more. `folder` takes the PDFs on their way. Memory that runs
/// out and other exceptions end the process, which the program notices. Returns the exit status.
[[nodiscard]] int serve(const Converter& convert, const std::filesystem::path& folder);

} // namespace quillorn::conversion
