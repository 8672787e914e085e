#pragma once

#include "tests/corpus/Corpus.h"

#include <filesystem>
#include <string>

namespace quillorn::corpus {

/// Does with a file of whatever content all that the program does with a PDF, under the limits
/// of `runIsolated`: opens and unlocks it, reads boxes, rotations and labels, and composes all
/// its pages in reverse into a file of an empty folder.
///
/// Returns an empty string when that went well or was refused with a message, leaving either
/// nothing or a complete PDF that opens with as many pages as promised and that qpdf reads
/// without complaint. Otherwise says what went wrong.
[[nodiscard]] std::string misbehaviourWith(const Document& document);

/// The same, for bytes that lie in no file yet; `like` supplies name and passwords.
[[nodiscard]] std::string misbehaviourWith(const std::string& bytes, const Document& like);

} // namespace quillorn::corpus
