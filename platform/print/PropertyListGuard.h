#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillorn {

/// Why a property list must not be given to libplist, which trusts its input in two ways: it
/// calls itself for every level, and it copies an object of a binary list as often as the list
/// refers to it, so that a hundred bytes may ask for the memory of the machine. Nothing when the
/// list is harmless, which does not mean that it is valid.
[[nodiscard]] std::optional<std::string> dangerOfPropertyList(std::string_view bytes);

/// Whether the bytes are a binary list; any other is taken for XML.
[[nodiscard]] bool isBinaryPropertyList(std::string_view bytes);

} // namespace quillorn
