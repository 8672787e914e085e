#pragma once

#include "platform/imaging/ImageFacts.h"

#include <optional>
#include <span>

namespace quillorn {

/// Density and, where it is stated before anything has to be decoded, size of a BMP file.
[[nodiscard]] std::optional<ImageFacts> readBMPHeader(std::span<const char> bytes);

/// Size, and the orientation and density of the EXIF chunk, of a WebP file.
[[nodiscard]] std::optional<ImageFacts> readWebPHeader(std::span<const char> bytes);

/// Size of a Photoshop document.
[[nodiscard]] std::optional<ImageFacts> readPSDHeader(std::span<const char> bytes);

/// Size of a GIF's canvas.
[[nodiscard]] std::optional<ImageFacts> readGIFHeader(std::span<const char> bytes);

/// Size of a Targa file, which nothing marks as one: the fields have to make sense.
[[nodiscard]] std::optional<ImageFacts> readTGAHeader(std::span<const char> bytes);

/// The largest picture in an icon file that is a JPEG 2000 or PNG file in itself; a part of
/// `bytes`, empty where there is none.
[[nodiscard]] std::span<const char> largestFileInICNS(std::span<const char> bytes);

} // namespace quillorn
