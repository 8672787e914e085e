#pragma once

#include <optional>
#include <span>
#include <string_view>

namespace quillorn {

/// The image formats that become pages.
enum class ImageFormat {
    jpeg,
    jpeg2000,
    png,
    tiff,
    gif,
    bmp,
    ico,
    icns,
    psd,
    tga,
    svg,
    webp,
    heif,
    avif
};

/// So many bytes from the start of a file are enough to tell its format.
inline constexpr std::size_t recognitionBytes = 4096;

/// The format that the first bytes of a file speak of; whatever its name says. A Targa file has
/// no mark of its own, so its `extension` (in any case) has to speak for it.
[[nodiscard]] std::optional<ImageFormat> recogniseImage(std::span<const char> head,
                                                        std::string_view extension);

/// A short lower-case name, as readers of images know the format ("tiff").
[[nodiscard]] std::string_view imageFormatName(ImageFormat format);
[[nodiscard]] std::optional<ImageFormat> imageFormatNamed(std::string_view name);

} // namespace quillorn
