#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quillorn {

/// The "file:" address of an absolute path; every byte that might be misread is escaped.
[[nodiscard]] std::string fileURL(const std::filesystem::path& path);

/// The path that a "file:" address of this machine stands for, without query and fragment. Any
/// other address has none.
[[nodiscard]] std::optional<std::filesystem::path> pathOfFileURL(std::string_view url);

/// The scheme in small letters ("https"); empty when the text is no absolute address.
[[nodiscard]] std::string schemeOfURL(std::string_view url);

/// The machine (and port) that an address leads to, in small letters; empty where it has none.
[[nodiscard]] std::string hostOfURL(std::string_view url);

/// Whether an address leads to another machine.
[[nodiscard]] bool isRemoteURL(std::string_view url);

/// What two spellings of one address have in common: no fragment, scheme and host in small
/// letters, no port that goes without saying, a path, and escapes resolved. To look up and compare
/// by, not to be requested.
[[nodiscard]] std::string urlKey(std::string_view url);

} // namespace quillorn
