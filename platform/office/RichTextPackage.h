#pragma once

#include "platform/files/FileError.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn {

/// Rich text with its pictures in it.
struct RichText {
    std::string text;
    std::vector<std::string> notices; ///< about what is not in it, a line each
};

/// The content of an attachment by its name, or nothing when it cannot be had.
using AttachmentReader = std::function<std::optional<std::string>(const std::string& name)>;

/// Puts the attachments that rich text of a package refers to ("{\NeXTGraphic photo.png
/// \width640 \height480}", lengths in twentieths of a point) into the text itself, as other
/// readers of rich text want it: PNG and JPEG pictures. Any other attachment is replaced by its
/// name in brackets, as is one whose name leads out of the package. Takes any bytes.
[[nodiscard]] RichText withAttachments(std::string_view richText, const AttachmentReader& read);

/// Reads a package (a folder "letter.rtfd" with the text in "TXT.rtf") whole. Nothing outside of
/// it is read, wherever a name or a symbolic link in it leads. The error says what is missing.
[[nodiscard]] FileResult<RichText> readRichTextPackage(const std::filesystem::path& folder);

/// Neither text nor attachments may be larger than this, each and all together.
inline constexpr std::uint64_t largestRichTextPackage = 256U << 20U; // bytes

} // namespace quillorn
