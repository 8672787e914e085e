#pragma once

#include <cstddef>
#include <string>
#include <tl/expected.hpp>
#include <vector>

namespace quillorn {

/// Reads a page range in libqpdf's established syntax: numbers from 1, "a-b" (also descending),
/// "r1" for the last page, "z" for the last, lists with commas, ":odd" and ":even".
/// The answer counts from 0; an error is one line that says what is wrong.
[[nodiscard]] tl::expected<std::vector<std::size_t>, std::string>
parsePageRange(const std::string& range, std::size_t pageCount);

} // namespace quillorn
