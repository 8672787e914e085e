#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quillorn {

/// RFC 4648 with padding and without line ends.
[[nodiscard]] std::string toBase64(std::string_view bytes);

/// The bytes of a text that `toBase64` could have made; nothing for any other.
[[nodiscard]] std::optional<std::string> fromBase64(std::string_view text);

} // namespace quillorn
