#pragma once

#include "platform/imaging/ImageFacts.h"

#include <cstdint>
#include <optional>
#include <variant>
#include <vector>

namespace quillorn {

/// One plane of an image, its samples packed losslessly.
struct PackedPlane {
    enum class Coding : std::uint32_t {
        pngRows, ///< zlib around rows that each begin with the number of a PNG filter
        group4   ///< CCITT group 4, one bit a pixel, 0 is black
    };

    Coding coding = Coding::pngRows;
    int components = 1;
    int bitsPerComponent = 8; ///< 1, 2, 4, 8 or 16 (then the high byte first)
    std::vector<char> data;
};

/// Pixels, as stored: the file's orientation is not applied.
struct PackedImage {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    PackedPlane colours;              ///< grey, RGB or CMYK; with a palette the indexes into it
    std::vector<char> palette;        ///< red, green and blue of each colour, or empty
    std::optional<PackedPlane> alpha; ///< one component: 0 is transparent
    std::vector<char> iccProfile;     ///< of the colours; empty for none
    ImageDensity density;
};

/// A drawing: one page of PDF of so many points.
struct VectorImage {
    std::vector<char> pdf;
    double width = 0;
    double height = 0;
};

using DecodedImage = std::variant<PackedImage, VectorImage>;

} // namespace quillorn
