#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace quillorn::worker {

/// Decoded pixels, row by row from the top, without gaps: the colours of a pixel, then its alpha.
/// `Sample` is std::uint8_t or std::uint16_t, with the whole range of its values in use.
template <class Sample>
struct Raster {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    std::size_t colours = 3; ///< 1 for grey, 3 for RGB, 4 for CMYK
    bool hasAlpha = false;   ///< not premultiplied; 0 is transparent
    std::vector<Sample> samples;

    [[nodiscard]] std::size_t channels() const { return colours + (hasAlpha ? 1 : 0); }
    [[nodiscard]] std::size_t pixels() const { return std::size_t{width} * height; }
};

} // namespace quillorn::worker
