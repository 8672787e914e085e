#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace quillorn::render {

/// Samples of 8 bits, rows without gaps.
struct SampleRaster {
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t components = 0; ///< 1 for grey, 3 for red, green, blue
    std::vector<unsigned char> samples;
};

/// Decodes JPEG data, grey or in three colours, at a half, a quarter or an eighth of its size, or
/// whole: the smallest that still has as many pixels as asked for. A reduced picture costs a
/// fraction of the whole one, since most of its coefficients are never transformed. Nothing for
/// data that cannot be decoded and for other colours; data that is cut short is decoded as
/// far as it goes.
[[nodiscard]] std::optional<SampleRaster>
decodeReduced(std::span<const unsigned char> data, std::size_t leastWidth, std::size_t leastHeight);

} // namespace quillorn::render
