#include "ScannedPage.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include <jpeglib.h>

namespace bench {

namespace {

// Letter shapes five wide and seven high, a row in the low five bits, of the ten commonest letters.
constexpr int shapeWidth = 5;
constexpr int shapeHeight = 7;
constexpr std::array<std::array<std::uint8_t, shapeHeight>, 10> shapes = {{
    {0x0e, 0x11, 0x1f, 0x10, 0x10, 0x11, 0x0e}, // e
    {0x04, 0x1f, 0x04, 0x04, 0x04, 0x05, 0x02}, // t
    {0x0e, 0x01, 0x0f, 0x11, 0x11, 0x13, 0x0d}, // a
    {0x0e, 0x11, 0x11, 0x11, 0x11, 0x11, 0x0e}, // o
    {0x04, 0x00, 0x0c, 0x04, 0x04, 0x04, 0x0e}, // i
    {0x16, 0x19, 0x11, 0x11, 0x11, 0x11, 0x11}, // n
    {0x0f, 0x10, 0x10, 0x0e, 0x01, 0x01, 0x1e}, // s
    {0x10, 0x10, 0x16, 0x19, 0x11, 0x11, 0x11}, // h
    {0x16, 0x19, 0x10, 0x10, 0x10, 0x10, 0x10}, // r
    {0x01, 0x01, 0x0d, 0x13, 0x11, 0x13, 0x0d}, // d
}};
constexpr int scale = 3; // pixels for one dot of a shape: letters of about 7.5 points
constexpr int lineHeight = 46;
constexpr int margin = 180;
constexpr int ink = 45;
constexpr int paper = 238;

using Plane = std::vector<std::uint8_t>;

std::size_t at(int x, int y) {
    return static_cast<std::size_t>(y) * scanWidth + static_cast<std::size_t>(x);
}

void drawLetter(Plane& page, const std::array<std::uint8_t, shapeHeight>& shape, int left,
                int top) {
    for (int row = 0; row < shapeHeight * scale; ++row) {
        for (int column = 0; column < shapeWidth * scale; ++column) {
            const int bits = shape.at(static_cast<std::size_t>(row / scale));
            if (((bits >> (shapeWidth - 1 - column / scale)) & 1) != 0) {
                page[at(left + column, top + row)] = ink;
            }
        }
    }
}

Plane textPage(Random& random) {
    Plane page(static_cast<std::size_t>(scanWidth) * scanHeight, paper);
    const int skew = random.between(-12, 12); // pixels of rise from margin to margin
    for (int top = margin; top + lineHeight < scanHeight - margin; top += lineHeight) {
        const int right = random.below(6) == 0 ? scanWidth / 2 : scanWidth - margin;
        int untilGap = random.between(2, 9);
        for (int left = margin; left < right; left += shapeWidth * scale + 4) {
            if (untilGap-- == 0) {
                untilGap = random.between(2, 9);
                continue;
            }
            const int rise = skew * left / scanWidth;
            drawLetter(page, shapes.at(static_cast<std::size_t>(random.below(10))), left,
                       top - rise);
        }
    }
    return page;
}

/// Softens the edges (the scanner's optics), shades the page towards one edge and adds noise, about
/// normally distributed.
Plane scanned(const Plane& page, Random& random) {
    Plane result(page.size());
    const int shade = random.between(4, 16);
    for (int y = 0; y < scanHeight; ++y) {
        const int above = std::max(0, y - 1);
        const int below = std::min(scanHeight - 1, y + 1);
        for (int x = 0; x < scanWidth; ++x) {
            const int before = std::max(0, x - 1);
            const int after = std::min(scanWidth - 1, x + 1);
            const int soft = (4 * page[at(x, y)] + page[at(before, y)] + page[at(after, y)] +
                              page[at(x, above)] + page[at(x, below)]) /
                             8;
            const std::uint64_t draw = random.next();
            const auto part = [draw](unsigned shift) {
                return static_cast<int>((draw >> shift) & 7U);
            };
            const int grain = part(0) + part(8) + part(16) + part(24) - 14;
            const int value = soft - shade * x / scanWidth + grain / 2;
            result[at(x, y)] = static_cast<std::uint8_t>(std::clamp(value, 0, 255));
        }
    }
    return result;
}

std::string encoded(const Plane& plane, bool grey, int quality) {
    jpeg_compress_struct job{};
    jpeg_error_mgr errors{};
    job.err = jpeg_std_error(&errors);
    // libjpeg's own handler prints and leaves the program: right for a tool that only makes inputs.
    jpeg_create_compress(&job);
    unsigned char* data = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&job, &data, &size);
    job.image_width = scanWidth;
    job.image_height = scanHeight;
    job.input_components = grey ? 1 : 3;
    job.in_color_space = grey ? JCS_GRAYSCALE : JCS_RGB;
    jpeg_set_defaults(&job);
    jpeg_set_quality(&job, quality, TRUE);
    job.dct_method = JDCT_ISLOW; // exact on every machine
    job.density_unit = 1;
    job.X_density = 200;
    job.Y_density = 200;
    jpeg_start_compress(&job, TRUE);
    std::vector<JSAMPLE> row(static_cast<std::size_t>(scanWidth) * (grey ? 1U : 3U));
    for (int y = 0; y < scanHeight; ++y) {
        for (int x = 0; x < scanWidth; ++x) {
            const std::uint8_t value = plane[at(x, y)];
            const auto column = static_cast<std::size_t>(x);
            if (grey) {
                row[column] = value;
            } else { // yellowed paper
                row[column * 3] = value;
                row[column * 3 + 1] = static_cast<JSAMPLE>(value - value / 40);
                row[column * 3 + 2] = static_cast<JSAMPLE>(value - value / 12);
            }
        }
        JSAMPROW start = row.data();
        jpeg_write_scanlines(&job, &start, 1);
    }
    jpeg_finish_compress(&job);
    jpeg_destroy_compress(&job);
    // libjpeg took the block from malloc and leaves it to the caller.
    const std::unique_ptr<unsigned char, decltype(&std::free)> owner(data, &std::free);
    return {data, data + size};
}

} // namespace

std::string scannedPageJpeg(Random& random, bool grey, int quality) {
    return encoded(scanned(textPage(random), random), grey, quality);
}

} // namespace bench
