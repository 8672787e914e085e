#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace quillorn::tests {

// What two programs that people read PDFs with make of what a file carries. Pages count from 1.

/// One line an entry, children indented by two blanks: "Title > p3".
[[nodiscard]] std::string outlineByMuPDF(const std::filesystem::path& file);
[[nodiscard]] std::string outlineByPoppler(const std::filesystem::path& file);

/// "p1 > p3" and "p1 > http://...": links to pages in the order of the file, then those to the web.
[[nodiscard]] std::vector<std::string> linksByMuPDF(const std::filesystem::path& file);
[[nodiscard]] std::vector<std::string> linksByPoppler(const std::filesystem::path& file);

/// "p2 name = value" in the order of the pages.
[[nodiscard]] std::vector<std::string> fieldsByMuPDF(const std::filesystem::path& file);

} // namespace quillorn::tests
