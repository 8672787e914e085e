#pragma once

#include "platform/imaging/ImageFacts.h"

#include <optional>
#include <span>
#include <vector>

namespace quillorn {

/// What the chunks of a PNG file say, up to and with its image data.
struct PNGFacts : ImageFacts {
    enum class Kind { grey, rgb, palette, greyAlpha, rgbAlpha };

    Kind kind = Kind::grey;
    bool isInterlaced = false;
    bool hasTransparency = false;  ///< a transparent colour, or a palette with transparent ones
    bool hasDataEnd = false;       ///< another chunk follows the image data
    std::span<const char> palette; ///< red, green and blue of each colour; part of the file
    std::span<const char> zippedProfile;     ///< an ICC profile as zlib packs it; part of the file
    std::vector<std::span<const char>> data; ///< the image data, in pieces of the file

    /// Whether its image data is what a PDF's Flate filter with PNG predictors reads: the PDF
    /// has neither interlacing nor alpha between the colours.
    [[nodiscard]] bool suitsPDF() const;

    /// The bytes of a row as the filters see it, without the byte that names the filter.
    [[nodiscard]] std::size_t rowBytes() const;
};

/// Reads the chunks, without checking their sums. None when these bytes are no PNG, or its
/// header chunk makes no sense. The facts refer to `bytes`, which must outlive them.
[[nodiscard]] std::optional<PNGFacts> readPNGHeader(std::span<const char> bytes);

/// Whether the image data is whole: unpacks it and looks at each row's filter. Takes the time of
/// unpacking, little memory, and never more than the stated size.
[[nodiscard]] bool hasWholeImageData(const PNGFacts& facts);

/// The ICC profile, unpacked; empty without one, or with one that does not fit the colours.
[[nodiscard]] std::vector<char> unpackedProfile(const PNGFacts& facts);

} // namespace quillorn
