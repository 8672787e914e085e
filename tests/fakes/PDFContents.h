#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quillorn::tests {

/// What other programs find in a PDF. All throw std::runtime_error when they cannot read it.

/// The text of each page without white space around it, as pdftotext sees it.
[[nodiscard]] std::vector<std::string> pageTexts(const std::filesystem::path& file);

/// The rotation of each page in degrees, as pdfinfo sees it.
[[nodiscard]] std::vector<int> pageRotations(const std::filesystem::path& file);

/// What `qpdf --check` complains of; empty for a flawless file.
[[nodiscard]] std::string complaintsAbout(const std::filesystem::path& file);

} // namespace quillorn::tests
