#include "platform/imaging/SmallHeaders.h"

#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using namespace tests;

std::string bmp(std::uint64_t width, std::uint64_t height, std::uint64_t perMetre) {
    return "BM" + std::string(12, '\0') + littleEndian(40, 4) + littleEndian(width, 4) +
           littleEndian(height, 4) + littleEndian(1, 2) + littleEndian(24, 2) + littleEndian(0, 8) +
           littleEndian(perMetre, 4) + littleEndian(2 * perMetre, 4);
}

TEST(BMPHeader, TellsSizeAndDensity) {
    const auto facts = readBMPHeader(bmp(100, 50, 11811));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->width, 100U);
    EXPECT_EQ(facts->height, 50U);
    EXPECT_NEAR(facts->density.horizontal, 300, 0.1);
    EXPECT_NEAR(facts->density.vertical, 600, 0.1);
    EXPECT_FALSE(readBMPHeader(bmp(100, 50, 0))->density.isUsable());
}

TEST(BMPHeader, AnImageWithItsFirstRowOnTopHasANegativeHeight) {
    EXPECT_EQ(readBMPHeader(bmp(100, 0xFFFFFFCE, 0))->height, 50U);
}

TEST(BMPHeader, TwoLettersAreNotEnough) {
    EXPECT_FALSE(readBMPHeader("BM"));
    EXPECT_FALSE(readBMPHeader("BMW have built another car, and tell everybody about it."));
    EXPECT_FALSE(readBMPHeader("BM" + std::string(40, '\0')));
}

std::string webp(const std::string& chunks) {
    return "RIFF" + littleEndian(chunks.size() + 4, 4) + "WEBP" + chunks;
}

TEST(WebPHeader, TellsSizeAndOrientation) {
    const std::string canvas = "VP8X" + littleEndian(10, 4) + std::string(4, '\0') +
                               littleEndian(299, 3) + littleEndian(199, 3);
    const std::string exif = exifContent(6, 150).substr(6);
    const std::string odd = "ABCD" + littleEndian(3, 4) + "xyz" + '\0';
    const auto facts =
        readWebPHeader(webp(canvas + odd + "EXIF" + littleEndian(exif.size(), 4) + exif));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->width, 300U);
    EXPECT_EQ(facts->height, 200U);
    EXPECT_EQ(facts->orientation, 6);
    EXPECT_EQ(facts->density, (ImageDensity{150, 150}));
    EXPECT_FALSE(readWebPHeader("RIFF1234WAVE"));
}

TEST(TGAHeader, HasToMakeSense) {
    const auto tga = [](char type, char bits) {
        return std::string(2, '\0') + type + std::string(9, '\0') + littleEndian(20, 2) +
               littleEndian(10, 2) + bits + '\0';
    };
    ASSERT_TRUE(readTGAHeader(tga(10, 24)));
    EXPECT_EQ(readTGAHeader(tga(10, 24))->width, 20U);
    EXPECT_FALSE(readTGAHeader(tga(4, 24)));
    EXPECT_FALSE(readTGAHeader(tga(2, 23)));
    EXPECT_FALSE(readTGAHeader(tga(2, 24).substr(0, 17)));
}

TEST(ICNS, TheLargestFileInsideIsFound) {
    const auto entry = [](const std::string& type, const std::string& content) {
        return type + bigEndian(content.size() + 8, 4) + content;
    };
    const std::string small = TestPNG(testPicture(16, 16)).bytes();
    const std::string large = TestPNG(testPicture(32, 32)).bytes();
    const std::string entries =
        entry("is32", "packed") + entry("ic11", large) + entry("icp4", small);
    const std::string file = "icns" + bigEndian(entries.size() + 8, 4) + entries;
    const auto found = largestFileInICNS(file);
    EXPECT_EQ(std::string(found.begin(), found.end()), large);
    const std::string none = "icns" + bigEndian(22, 4) + entry("is32", "packed");
    EXPECT_TRUE(largestFileInICNS(none).empty());
    const std::string endless = "icns" + bigEndian(16, 4) + "abcd" + bigEndian(0, 4);
    EXPECT_TRUE(largestFileInICNS(endless).empty());
}

TEST(GIFAndPSDHeaders, TellTheSize) {
    const auto gif = readGIFHeader("GIF89a" + littleEndian(7, 2) + littleEndian(9, 2));
    ASSERT_TRUE(gif);
    EXPECT_EQ(gif->width, 7U);
    EXPECT_EQ(gif->height, 9U);
    const auto psd = readPSDHeader("8BPS" + bigEndian(1, 2) + std::string(6, '\0') +
                                   bigEndian(3, 2) + bigEndian(9, 4) + bigEndian(7, 4));
    ASSERT_TRUE(psd);
    EXPECT_EQ(psd->width, 7U);
    EXPECT_EQ(psd->height, 9U);
}

} // namespace
} // namespace quillorn
