#include "platform/imaging/worker/PixelPacking.h"

#include "tests/fakes/TestImage.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>
#include <zlib.h>

namespace quillorn::worker {
namespace {

using Coding = PackedPlane::Coding;

/// The rows of a plane as a PNG reader gets them back.
std::vector<std::uint8_t> unpacked(const PackedPlane& plane, std::size_t width,
                                   std::size_t height) {
    const auto bits = static_cast<std::size_t>(plane.components) *
                      static_cast<std::size_t>(plane.bitsPerComponent);
    const std::size_t row = (width * bits + 7) / 8;
    const std::size_t step = std::max<std::size_t>(1, bits / 8);
    std::vector<std::uint8_t> filtered((row + 1) * height);
    auto size = static_cast<uLongf>(filtered.size());
    if (::uncompress(filtered.data(), &size, reinterpret_cast<const Bytef*>(plane.data.data()),
                     static_cast<uLong>(plane.data.size())) != Z_OK ||
        size != filtered.size()) {
        throw std::runtime_error("the plane cannot be unpacked");
    }
    std::vector<std::uint8_t> rows(row * height);
    for (std::size_t y = 0; y < height; ++y) {
        const std::uint8_t filter = filtered[y * (row + 1)];
        for (std::size_t x = 0; x < row; ++x) {
            const int left = x >= step ? rows[y * row + x - step] : 0;
            const int above = y > 0 ? rows[(y - 1) * row + x] : 0;
            const int corner = x >= step && y > 0 ? rows[(y - 1) * row + x - step] : 0;
            const int p = left + above - corner;
            const int a = std::abs(p - left);
            const int b = std::abs(p - above);
            const int c = std::abs(p - corner);
            const int paeth = a <= b && a <= c ? left : b <= c ? above : corner;
            const int predictions[] = {0, left, above, (left + above) / 2, paeth};
            rows[y * row + x] =
                static_cast<std::uint8_t>(filtered[y * (row + 1) + 1 + x] + predictions[filter]);
        }
    }
    return rows;
}

Raster<std::uint8_t> rasterOf(const tests::TestPixels& pixels) {
    return {static_cast<std::uint32_t>(pixels.width), static_cast<std::uint32_t>(pixels.height),
            pixels.channels, false, pixels.samples};
}

Raster<std::uint8_t> raster(std::uint32_t width, std::uint32_t height, std::size_t colours,
                            bool hasAlpha, std::vector<std::uint8_t> samples) {
    return {width, height, colours, hasAlpha, std::move(samples)};
}

Raster<std::uint8_t> noise(std::uint32_t width, std::uint32_t height, std::size_t colours) {
    std::mt19937 random(5);
    Raster<std::uint8_t> made{width, height, colours, false, {}};
    made.samples.resize(made.pixels() * colours);
    for (std::uint8_t& sample : made.samples) {
        sample = static_cast<std::uint8_t>(random());
    }
    return made;
}

TEST(PixelPacking, ColoursComeBackAsTheyWere) {
    for (const Raster<std::uint8_t>& original : {noise(61, 47, 3), noise(3000, 700, 3)}) {
        const PackedImage image = packed(original, false);
        EXPECT_EQ(image.colours.components, 3);
        EXPECT_EQ(image.colours.bitsPerComponent, 8);
        EXPECT_FALSE(image.alpha);
        EXPECT_EQ(unpacked(image.colours, original.width, original.height), original.samples);
    }
    const auto picture = tests::testPicture(300, 200);
    EXPECT_EQ(unpacked(packed(rasterOf(picture), false).colours, 300, 200), picture.samples);
    const auto inks = noise(17, 5, 4);
    const PackedImage cmyk = packed(inks, true);
    EXPECT_EQ(cmyk.colours.components, 4);
    EXPECT_EQ(unpacked(cmyk.colours, 17, 5), inks.samples);
}

TEST(PixelPacking, GreyInThreeChannelsBecomesOne) {
    const auto grey = tests::greyTestPicture(300, 200);
    std::vector<std::uint8_t> tripled;
    for (const std::uint8_t sample : grey.samples) {
        tripled.insert(tripled.end(), 3, sample);
    }
    const auto original = raster(300, 200, 3, false, tripled);
    const PackedImage image = packed(original, false);
    EXPECT_EQ(image.colours.components, 1);
    EXPECT_EQ(unpacked(image.colours, 300, 200), grey.samples);
    EXPECT_TRUE(image.palette.empty());
    // A profile of RGB needs RGB: a palette of it will do.
    const PackedImage kept = packed(original, true);
    EXPECT_TRUE(kept.colours.components == 3 || !kept.palette.empty());
}

TEST(PixelPacking, FewColoursBecomeAPaletteOfFewBits) {
    for (const auto& [count, bits] :
         {std::pair<int, int>{2, 1}, {3, 2}, {4, 2}, {5, 4}, {16, 4}, {17, 8}, {256, 8}}) {
        Raster<std::uint8_t> original{67, 31, 3, false, {}};
        for (std::size_t i = 0; i < original.pixels(); ++i) {
            const auto colour = static_cast<std::uint8_t>(i % static_cast<std::size_t>(count));
            original.samples.insert(original.samples.end(), {colour, 7, 99});
        }
        const PackedImage image = packed(original, true);
        EXPECT_EQ(image.colours.components, 1) << count;
        EXPECT_EQ(image.colours.bitsPerComponent, bits) << count;
        ASSERT_EQ(image.palette.size(), static_cast<std::size_t>(count) * 3) << count;
        const auto rows = unpacked(image.colours, 67, 31);
        const std::size_t rowBytes = rows.size() / 31;
        const auto perByte = static_cast<std::size_t>(8 / bits);
        for (std::size_t i = 0; i < original.pixels(); ++i) {
            const std::size_t x = i % 67;
            const unsigned byte = rows[i / 67 * rowBytes + x / perByte];
            const auto shift = static_cast<unsigned>(8 - bits) -
                               static_cast<unsigned>(x % perByte) * static_cast<unsigned>(bits);
            const unsigned index = byte >> shift & ((1U << static_cast<unsigned>(bits)) - 1);
            ASSERT_EQ(static_cast<std::uint8_t>(image.palette[std::size_t{3} * index]),
                      original.samples[3 * i]);
        }
    }
    Raster<std::uint8_t> many{257, 1, 3, false, {}};
    for (int i = 0; i < 257; ++i) {
        many.samples.insert(many.samples.end(),
                            {static_cast<std::uint8_t>(i), static_cast<std::uint8_t>(i / 256), 1});
    }
    EXPECT_TRUE(packed(many, false).palette.empty());
}

TEST(PixelPacking, GreyGetsAsFewBitsAsHoldItExactly) {
    const auto bitsOf = [](std::vector<std::uint8_t> values) {
        const auto width = static_cast<std::uint32_t>(values.size());
        const PackedImage image = packed(raster(width, 1, 1, false, std::move(values)), false);
        return image.palette.empty() ? image.colours.bitsPerComponent : 0;
    };
    EXPECT_EQ(bitsOf({0, 255, 255, 0}), 1);
    EXPECT_EQ(bitsOf({0, 85, 170, 255}), 2);
    EXPECT_EQ(bitsOf({0, 17, 34, 238}), 4);
    EXPECT_EQ(bitsOf({0, 17, 34, 239}), 0); // few others: a palette of grey
}

TEST(PixelPacking, BlackAndWhiteIsCodedLikeAFaxWhereThatIsSmaller) {
    Raster<std::uint8_t> page{1700, 2200, 1, false, {}};
    page.samples.assign(page.pixels(), 255);
    std::mt19937 random(7);
    for (std::size_t stroke = 0; stroke < 3000; ++stroke) {
        const std::size_t start = random() % (page.pixels() - std::size_t{5} * 1700);
        for (std::size_t line = 0; line < 4; ++line) {
            for (std::size_t i = 0; i < 6 + random() % 2; ++i) {
                page.samples[start + line * 1700 + i] = 0;
            }
        }
    }
    const PackedImage image = packed(page, false);
    EXPECT_EQ(image.colours.coding, Coding::group4);
    EXPECT_EQ(image.colours.bitsPerComponent, 1);
    const PackedImage hard = packed(
        [] {
            auto dots = noise(640, 480, 1);
            for (std::uint8_t& sample : dots.samples) {
                sample = sample < 128 ? 0 : 255;
            }
            return dots;
        }(),
        false);
    EXPECT_EQ(hard.colours.coding, Coding::pngRows);
    EXPECT_LE(hard.colours.data.size(), 640U * 480 / 8 + 1000);
}

TEST(PixelPacking, AlphaStaysOnlyWhereItShows) {
    const PackedImage opaque = packed(raster(2, 1, 3, true, {1, 2, 3, 255, 9, 9, 9, 255}), false);
    EXPECT_FALSE(opaque.alpha);
    const PackedImage holes = packed(raster(2, 1, 3, true, {1, 2, 3, 255, 9, 9, 9, 0}), false);
    ASSERT_TRUE(holes.alpha);
    EXPECT_EQ(holes.alpha->bitsPerComponent, 1);
    const PackedImage soft =
        packed(raster(3, 1, 3, true, {1, 2, 3, 255, 9, 9, 9, 7, 200, 1, 0, 99}), false);
    ASSERT_TRUE(soft.alpha);
    EXPECT_EQ(soft.alpha->bitsPerComponent, 8);
    EXPECT_EQ(unpacked(*soft.alpha, 3, 1), (std::vector<std::uint8_t>{255, 7, 99}));
}

TEST(PixelPacking, SixteenBitsStayWhereTheySaySomething) {
    const Raster<std::uint16_t> wide{2, 1, 3, true, {1, 2, 3, 65535, 500, 65535, 0, 32768}};
    const PackedImage image = packed(wide, false);
    EXPECT_EQ(image.colours.bitsPerComponent, 16);
    EXPECT_EQ(unpacked(image.colours, 2, 1),
              (std::vector<std::uint8_t>{0, 1, 0, 2, 0, 3, 1, 244, 255, 255, 0, 0}));
    ASSERT_TRUE(image.alpha);
    EXPECT_EQ(unpacked(*image.alpha, 2, 1), (std::vector<std::uint8_t>{255, 255, 128, 0}));
    const Raster<std::uint16_t> grey{2, 1, 3, false, {300, 300, 300, 5, 5, 5}};
    EXPECT_EQ(packed(grey, false).colours.components, 1);
    const Raster<std::uint16_t> narrow{2, 1, 1, false, {0x0101, 0xABAB}};
    EXPECT_EQ(packed(narrow, false).colours.bitsPerComponent, 1); // a palette of two
}

} // namespace
} // namespace quillorn::worker
