#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace quillorn::worker {

/// Rows of samples as an image file stores them: `rowBytes` each, the last bits of a row unused.
struct PlainRows {
    std::size_t rowBytes = 0;
    std::size_t pixelBytes = 1;  ///< of one pixel, at least 1: what the filters compare with
    bool hasWholeSamples = true; ///< samples are bytes, and no indexes: filters help
    std::vector<std::uint8_t> bytes;
};

/// The rows with a PNG filter each (ISO/IEC 15948, clause 9), packed by zlib's method.
[[nodiscard]] std::vector<char> packedRows(const PlainRows& rows);

/// One bit a pixel, 0 is black, as CCITT group 4; empty when it cannot be coded.
[[nodiscard]] std::vector<char> faxed(const PlainRows& rows, std::uint32_t width);

} // namespace quillorn::worker
