#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace quillorn {

/// `text` as it may be printed on a terminal: control characters, invisible marks that turn the
/// direction of writing, and bytes that are no UTF-8 are shown as "\n", "\t" or "\xNN". A file's
/// name can so neither break a line nor command the terminal.
[[nodiscard]] std::string printable(std::string_view text);

/// 1234567 as "1,234,567".
[[nodiscard]] std::string grouped(std::uint64_t number);

/// "1 page", "2,000 pages": for words whose plural takes an s.
[[nodiscard]] std::string counted(std::size_t count, std::string_view thing);

/// The first characters of valid UTF-8 text, "…" in the place of the last one if that is not all.
[[nodiscard]] std::string shortened(std::string_view text, std::size_t characters);

/// `path` as an absolute path for people. Without "." in it; ".." stays, as it may follow a
/// symbolic link. Where the current folder is unknown, `path` itself.
[[nodiscard]] std::string fullPath(const std::string& path);

} // namespace quillorn
