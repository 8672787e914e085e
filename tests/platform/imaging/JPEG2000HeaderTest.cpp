#include "platform/imaging/JPEG2000Header.h"

#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using namespace tests;
using Colour = JPEG2000Facts::Colour;

const std::string signature("\0\0\0\x0CjP  \r\n\x87\n", 12);

std::string box(const std::string& type, const std::string& content) {
    return bigEndian(content.size() + 8, 4) + type + content;
}

/// A codestream's first markers and its end; nothing between.
std::string codestream(int components, int bits = 8, int subsampling = 1) {
    std::string sizes;
    for (int i = 0; i < components; ++i) {
        sizes += bigEndian(static_cast<std::uint64_t>(bits - 1), 1) +
                 bigEndian(static_cast<std::uint64_t>(i > 0 ? subsampling : 1), 1) +
                 bigEndian(static_cast<std::uint64_t>(i > 0 ? subsampling : 1), 1);
    }
    return std::string("\xFF\x4F\xFF\x51") + bigEndian(38 + sizes.size(), 2) + bigEndian(0, 2) +
           bigEndian(110, 4) + bigEndian(70, 4) + bigEndian(10, 4) + bigEndian(20, 4) +
           bigEndian(100, 4) + bigEndian(50, 4) + bigEndian(0, 8) +
           bigEndian(static_cast<std::uint64_t>(components), 2) + sizes + "data\xFF\xD9";
}

std::string enumerated(int space) {
    return box("colr", std::string("\1\0\0", 3) + bigEndian(static_cast<std::uint64_t>(space), 4));
}

std::string jp2(const std::string& headerBoxes, const std::string& stream) {
    return signature + box("ftyp", "jp2 ") + box("jp2h", headerBoxes) + box("jp2c", stream);
}

TEST(JPEG2000Header, TellsSizeAndColours) {
    const auto facts = readJPEG2000Header(jp2(enumerated(16), codestream(3)));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->width, 100U); // without the offset of the image in its grid
    EXPECT_EQ(facts->height, 50U);
    EXPECT_EQ(facts->components, 3);
    EXPECT_EQ(facts->bitsPerComponent, 8);
    EXPECT_EQ(facts->colour, Colour::sRGB);
    EXPECT_TRUE(facts->suitsPDF());
    EXPECT_TRUE(readJPEG2000Header(jp2(enumerated(17), codestream(1, 16)))->suitsPDF());
}

TEST(JPEG2000Header, TellsDisplayDensityBeforeCaptureDensity) {
    const auto resolution = [](int dotsPerMetre) {
        const std::string number = bigEndian(static_cast<std::uint64_t>(dotsPerMetre), 2);
        return number + bigEndian(10, 2) + number + bigEndian(10, 2) + "\1\1";
    };
    const std::string capture = box("resc", resolution(11811));
    const std::string display = box("resd", resolution(5906));
    const auto both =
        readJPEG2000Header(jp2(enumerated(16) + box("res ", capture + display), codestream(3)));
    EXPECT_NEAR(both->density.horizontal, 150, 0.1);
    const auto one = readJPEG2000Header(jp2(box("res ", capture), codestream(3)));
    EXPECT_NEAR(one->density.vertical, 300, 0.1);
}

TEST(JPEG2000Header, LeavesToADecoderWhatViewersDrawDifferently) {
    EXPECT_FALSE(readJPEG2000Header(jp2(enumerated(18), codestream(3)))->suitsPDF()); // sYCC
    EXPECT_FALSE(readJPEG2000Header(jp2(enumerated(16), codestream(4)))->suitsPDF());
    EXPECT_FALSE(readJPEG2000Header(jp2(enumerated(16), codestream(3, 12)))->suitsPDF());
    EXPECT_FALSE(readJPEG2000Header(jp2(enumerated(16), codestream(3, 8, 2)))->suitsPDF());
    EXPECT_FALSE(
        readJPEG2000Header(jp2(enumerated(16) + box("pclr", "x"), codestream(3)))->suitsPDF());
    const std::string alpha = bigEndian(1, 2) + bigEndian(0, 2) + bigEndian(1, 2) + bigEndian(0, 2);
    EXPECT_FALSE(
        readJPEG2000Header(jp2(enumerated(17) + box("cdef", alpha), codestream(1)))->suitsPDF());
    const std::string plain = bigEndian(1, 2) + bigEndian(0, 2) + bigEndian(0, 2) + bigEndian(1, 2);
    EXPECT_TRUE(
        readJPEG2000Header(jp2(enumerated(17) + box("cdef", plain), codestream(1)))->suitsPDF());
}

TEST(JPEG2000Header, KeepsAProfileThatFits) {
    const auto with = [](const std::string& space) {
        return readJPEG2000Header(
            jp2(box("colr", std::string("\2\0\0", 3) + hollowProfile(space)), codestream(3)));
    };
    EXPECT_TRUE(with("RGB ")->suitsPDF());
    EXPECT_EQ(with("RGB ")->iccProfile.size(), 200U);
    EXPECT_FALSE(with("GRAY")->suitsPDF());
}

TEST(JPEG2000Header, SeesThatTheEndIsMissing) {
    const std::string whole = jp2(enumerated(16), codestream(3));
    for (std::size_t lost = 1; lost < 6; ++lost) {
        const auto facts = readJPEG2000Header(whole.substr(0, whole.size() - lost));
        ASSERT_TRUE(facts);
        EXPECT_FALSE(facts->suitsPDF()) << lost;
    }
}

TEST(JPEG2000Header, MakesAFileOfABareCodestream) {
    const auto bare = readJPEG2000Header(codestream(1));
    ASSERT_TRUE(bare);
    EXPECT_TRUE(bare->isBareCodestream);
    EXPECT_TRUE(bare->suitsPDF());
    const std::vector<char> boxes = jp2BoxesBefore(*bare);
    const auto file = readJPEG2000Header(std::string(boxes.begin(), boxes.end()) + codestream(1));
    ASSERT_TRUE(file);
    EXPECT_FALSE(file->isBareCodestream);
    EXPECT_EQ(file->colour, Colour::grey);
    EXPECT_EQ(file->width, 100U);
    EXPECT_TRUE(file->suitsPDF());
}

TEST(JPEG2000Header, EndsWithBoxesThatDoNot) {
    EXPECT_FALSE(readJPEG2000Header(""));
    EXPECT_FALSE(readJPEG2000Header("\xFF\x4F"));
    EXPECT_FALSE(readJPEG2000Header(signature + std::string("\0\0\0\4abcd", 8))->hasSize());
    EXPECT_FALSE(readJPEG2000Header(signature + std::string("\0\0\0\1abcd", 8))->hasSize());
    EXPECT_FALSE(
        readJPEG2000Header(signature + bigEndian(1, 4) + "jp2h" + bigEndian(~0ULL, 8))->hasSize());
}

} // namespace
} // namespace quillorn
