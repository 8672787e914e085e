#include "platform/imaging/JPEGHeader.h"

#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using namespace tests;
using Process = JPEGFacts::Process;
using Transform = JPEGFacts::AdobeTransform;

std::optional<JPEGFacts> factsOf(const std::string& bytes) {
    return readJPEGHeader(bytes);
}

TestPixels cmyk(std::size_t width, std::size_t height) {
    return TestPixels{width, height, 4, std::vector<std::uint8_t>(width * height * 4, 100)};
}

TEST(JPEGHeader, TellsSizeAndColours) {
    const auto colour = factsOf(jpegBytes(testPicture(37, 21)));
    ASSERT_TRUE(colour);
    EXPECT_EQ(colour->width, 37U);
    EXPECT_EQ(colour->height, 21U);
    EXPECT_EQ(colour->components, 3);
    EXPECT_EQ(colour->bitsPerComponent, 8);
    EXPECT_EQ(colour->process, Process::baseline);
    EXPECT_TRUE(colour->isComplete);
    EXPECT_TRUE(colour->suitsPDF());
    EXPECT_EQ(factsOf(jpegBytes(greyTestPicture(8, 8)))->components, 1);
    TestJPEGOptions progressive;
    progressive.isProgressive = true;
    const auto scans = factsOf(jpegBytes(testPicture(64, 64), progressive));
    ASSERT_TRUE(scans);
    EXPECT_EQ(scans->process, Process::progressive);
    EXPECT_TRUE(scans->suitsPDF());
}

TEST(JPEGHeader, TakesTheDensityOfTheFirstPlaceThatHasOne) {
    TestJPEGOptions dense;
    dense.dotsPerInch = 300;
    const std::string plain = jpegBytes(testPicture(8, 8));
    const std::string exif = exifContent(1, 150);
    EXPECT_FALSE(factsOf(plain)->density.isUsable());
    EXPECT_EQ(factsOf(jpegBytes(testPicture(8, 8), dense))->density, (ImageDensity{300, 300}));
    EXPECT_EQ(factsOf(withSegment(plain, 0xE1, exif))->density, (ImageDensity{150, 150}));
    EXPECT_EQ(factsOf(withSegment(jpegBytes(testPicture(8, 8), dense), 0xE1, exif))->density,
              (ImageDensity{300, 300}));
    const std::string perCentimetre = exifContent(1, 100, 3);
    EXPECT_NEAR(factsOf(withSegment(plain, 0xE1, perCentimetre))->density.vertical, 254, 1e-9);
}

TEST(JPEGHeader, FindsTheDensityAmongPhotoshopsResources) {
    const std::string resolution = bigEndian(200U << 16U, 4) + bigEndian(1, 2) + bigEndian(1, 2) +
                                   bigEndian(100U << 16U, 4) + bigEndian(1, 2) + bigEndian(1, 2);
    const std::string resources = std::string("Photoshop 3.0\0", 14) + "8BIM" +
                                  bigEndian(0x0404, 2) + std::string("\3abc", 4) + bigEndian(3, 4) +
                                  "xyz" + '\0' + "8BIM" + bigEndian(0x03ED, 2) +
                                  std::string(2, '\0') + bigEndian(16, 4) + resolution;
    const auto facts = factsOf(withSegment(jpegBytes(testPicture(8, 8)), 0xED, resources));
    EXPECT_EQ(facts->density, (ImageDensity{200, 100}));
}

TEST(JPEGHeader, TellsEachOrientation) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        EXPECT_EQ(factsOf(withSegment(jpegBytes(testPicture(8, 8)), 0xE1, exifContent(orientation)))
                      ->orientation,
                  orientation);
    }
    for (const int nonsense : {0, 9, 4711}) {
        EXPECT_EQ(factsOf(withSegment(jpegBytes(testPicture(8, 8)), 0xE1, exifContent(nonsense)))
                      ->orientation,
                  1);
    }
}

TEST(JPEGHeader, TellsHowColoursAreCoded) {
    EXPECT_EQ(factsOf(jpegBytes(testPicture(8, 8)))->adobeTransform, Transform::none);
    EXPECT_FALSE(factsOf(jpegBytes(testPicture(8, 8)))->namesRGB);
    EXPECT_NE(factsOf(jpegBytes(cmyk(8, 8)))->adobeTransform, Transform::none);
    TestJPEGOptions unmarked;
    unmarked.writesAdobeMarker = false;
    EXPECT_EQ(factsOf(jpegBytes(cmyk(8, 8), unmarked))->adobeTransform, Transform::none);
    unmarked.storesRGB = true;
    EXPECT_TRUE(factsOf(jpegBytes(testPicture(8, 8), unmarked))->namesRGB);
}

TEST(JPEGHeader, PutsAProfileInPartsTogether) {
    const std::string profile = hollowProfile("RGB ");
    const auto part = [&](int number, int count, const std::string& content) {
        return std::string("ICC_PROFILE\0", 12) + static_cast<char>(number) +
               static_cast<char>(count) + content;
    };
    const std::string jpeg = jpegBytes(testPicture(8, 8));
    // Added in front of each other, so the second part comes first.
    const std::string two = withSegment(withSegment(jpeg, 0xE2, part(1, 2, profile.substr(0, 90))),
                                        0xE2, part(2, 2, profile.substr(90)));
    const auto facts = factsOf(two);
    EXPECT_EQ(std::string(facts->iccProfile.begin(), facts->iccProfile.end()), profile);
    EXPECT_TRUE(factsOf(withSegment(jpeg, 0xE2, part(1, 2, profile)))->iccProfile.empty());
    EXPECT_TRUE(
        factsOf(withSegment(jpeg, 0xE2, part(1, 1, hollowProfile("CMYK"))))->iccProfile.empty());
}

TEST(JPEGHeader, SeesThatTheEndIsMissing) {
    const std::string whole = jpegBytes(testPicture(64, 64));
    EXPECT_TRUE(factsOf(whole + "trailing bytes")->isComplete);
    for (std::size_t lost = 1; lost < 60; ++lost) {
        const auto facts = factsOf(whole.substr(0, whole.size() - lost));
        ASSERT_TRUE(facts) << lost;
        EXPECT_FALSE(facts->isComplete) << lost;
        EXPECT_FALSE(facts->suitsPDF()) << lost;
    }
}

TEST(JPEGHeader, IsNotFooledByAPictureInsideAnother) {
    // A thumbnail in a segment has its own frame and end.
    const std::string inner = jpegBytes(testPicture(4, 4));
    const auto facts = factsOf(withSegment(jpegBytes(testPicture(64, 48)), 0xE3, inner));
    EXPECT_EQ(facts->width, 64U);
    EXPECT_EQ(facts->height, 48U);
}

TEST(JPEGHeader, AnswersNothingForWhatIsNoJPEG) {
    const std::string whole = jpegBytes(testPicture(8, 8));
    EXPECT_FALSE(factsOf(""));
    EXPECT_FALSE(factsOf("\xFF\xD8"));
    EXPECT_FALSE(factsOf("GIF89a"));
    EXPECT_FALSE(factsOf(whole.substr(0, 20)));
    const std::size_t frame = whole.find("\xFF\xC0");
    ASSERT_NE(frame, std::string::npos);
    std::string noHeight = whole;
    noHeight.replace(frame + 5, 2, std::string(2, '\0'));
    EXPECT_FALSE(factsOf(noHeight));
    std::string twelveBits = whole;
    twelveBits[frame + 4] = 12;
    EXPECT_FALSE(factsOf(twelveBits)->suitsPDF());
    std::string arithmetic = whole;
    arithmetic[frame + 1] = '\xC9';
    EXPECT_FALSE(factsOf(arithmetic)->suitsPDF());
}

} // namespace
} // namespace quillorn
