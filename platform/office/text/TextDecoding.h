#pragma once

#include <string>
#include <string_view>
#include <tl/expected.hpp>

namespace quillorn::text {

/// Reads the bytes of a text file, whatever their encoding: what a byte order mark says, else
/// UTF-16 if every other byte of Latin letters is null, else UTF-8 if they are that but for a few
/// broken letters, else the encoding that the statistics of its letters suggest, else Windows-1252.
/// What an encoding does not know becomes U+FFFD.
///
/// In the answer, which is UTF-16 without a mark, lines end with a line feed only and the sole
/// other control characters are tabs and form feeds. The error says why the bytes are no text.
[[nodiscard]] tl::expected<std::u16string, std::string> decodedText(std::string_view bytes);

/// The encoding that `decodedText` would use, by ICU's name for it.
[[nodiscard]] std::string encodingOf(std::string_view bytes);

} // namespace quillorn::text
