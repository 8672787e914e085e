#pragma once

#include <string>
#include <vector>

namespace quillorn {

/// The byte strings to try for a password as a person typed it (UTF-8), best first: as typed,
/// normalised with SASLprep (RFC 4013, which PDF 2.0 asks for), and in the single-byte encodings
/// that older files were made with. Without repetitions.
[[nodiscard]] std::vector<std::string> passwordCandidates(const std::string& typed);

} // namespace quillorn
