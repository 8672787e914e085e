#include "platform/imaging/PNGHeader.h"

#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using namespace tests;
using Kind = PNGFacts::Kind;

TEST(PNGHeader, TellsWhatTheChunksSay) {
    const std::string bytes = TestPNG(testPicture(9, 7))
                                  .chunk("pHYs", bigEndian(11811, 4) + bigEndian(5906, 4) + "\1")
                                  .chunk("eXIf", exifContent(6).substr(6))
                                  .bytes();
    const auto facts = readPNGHeader(bytes);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->kind, Kind::rgb);
    EXPECT_EQ(facts->width, 9U);
    EXPECT_EQ(facts->height, 7U);
    EXPECT_EQ(facts->rowBytes(), 27U);
    EXPECT_NEAR(facts->density.horizontal, 300, 0.1);
    EXPECT_NEAR(facts->density.vertical, 150, 0.1);
    EXPECT_EQ(facts->orientation, 6);
    EXPECT_TRUE(facts->suitsPDF());
    EXPECT_TRUE(hasWholeImageData(*facts));
}

TEST(PNGHeader, ADensityWithoutUnitIsNone) {
    const std::string bytes =
        TestPNG(testPicture(9, 7)).chunk("pHYs", bigEndian(2, 4) + bigEndian(1, 4) + '\0').bytes();
    EXPECT_FALSE(readPNGHeader(bytes)->density.isUsable());
}

TEST(PNGHeader, LeavesAlphaAndTransparencyToADecoder) {
    TestPixels withAlpha = testPicture(2, 2);
    withAlpha.channels = 4;
    withAlpha.samples.resize(16, 128);
    EXPECT_FALSE(readPNGHeader(TestPNG(withAlpha).bytes())->suitsPDF());
    const std::string keyed =
        TestPNG(testPicture(2, 2)).chunk("tRNS", std::string(6, '\0')).bytes();
    EXPECT_FALSE(readPNGHeader(keyed)->suitsPDF());
}

TEST(PNGHeader, APaletteNeedsItsColours) {
    const TestPNG plain(4, 1, 2, 3, "\x1B");
    EXPECT_FALSE(readPNGHeader(plain.bytes())->suitsPDF());
    for (const auto& [size, suits] :
         {std::pair<std::size_t, bool>{12, true}, {3, true}, {4, false}, {15, false}, {0, false}}) {
        TestPNG png = plain;
        png.chunk("PLTE", std::string(size, 'c'));
        EXPECT_EQ(readPNGHeader(png.bytes())->suitsPDF(), suits) << size;
    }
}

TEST(PNGHeader, SeesEachWayInWhichTheImageDataIsNotWhole) {
    const std::string good = TestPNG(testPicture(64, 64)).bytes();
    ASSERT_TRUE(hasWholeImageData(*readPNGHeader(good)));
    for (const std::size_t lost : {20U, 25U, 100U, 400U}) {
        const std::string cut = good.substr(0, good.size() - lost);
        EXPECT_FALSE(hasWholeImageData(*readPNGHeader(cut))) << lost;
    }
    const std::string rows(30, 'x');
    // More rows than stated, fewer rows, and a filter that does not exist.
    const std::string many = TestPNG(10, 3, 8, 0, rows).bytes();
    std::string fewer = many;
    fewer.replace(20, 4, bigEndian(2, 4));
    EXPECT_FALSE(hasWholeImageData(*readPNGHeader(fewer)));
    std::string more = many;
    more.replace(20, 4, bigEndian(4, 4));
    EXPECT_FALSE(hasWholeImageData(*readPNGHeader(more)));
    std::string narrow = many;
    narrow.replace(16, 4, bigEndian(1, 4));
    EXPECT_FALSE(hasWholeImageData(*readPNGHeader(narrow)));
}

TEST(PNGHeader, UnpacksAProfileThatFits) {
    const auto with = [](const std::string& profile) {
        return TestPNG(testPicture(2, 2))
            .chunk("iCCP", std::string("name\0\0", 6) + deflated(profile))
            .bytes();
    };
    const std::string profile = hollowProfile("RGB ");
    const std::string good = with(profile);
    const std::vector<char> unpacked = unpackedProfile(*readPNGHeader(good));
    EXPECT_EQ(std::string(unpacked.begin(), unpacked.end()), profile);
    const std::string wrong = with(hollowProfile("GRAY"));
    EXPECT_TRUE(unpackedProfile(*readPNGHeader(wrong)).empty());
    const std::string bomb = with(hollowProfile("RGB ", 20U << 20U));
    EXPECT_TRUE(unpackedProfile(*readPNGHeader(bomb)).empty());
    const std::string none = TestPNG(testPicture(2, 2)).bytes();
    EXPECT_TRUE(unpackedProfile(*readPNGHeader(none)).empty());
}

TEST(PNGHeader, AnswersNothingForWhatIsNoPNG) {
    const std::string good = TestPNG(testPicture(2, 2)).bytes();
    EXPECT_FALSE(readPNGHeader(""));
    EXPECT_FALSE(readPNGHeader(good.substr(0, 20)));
    EXPECT_FALSE(readPNGHeader(TestPNG(0, 0, 8, 2, "").bytes()));
    EXPECT_FALSE(readPNGHeader(TestPNG(2, 2, 3, 2, "abcdefghijkl").bytes()));
    EXPECT_FALSE(readPNGHeader(TestPNG(2, 2, 8, 1, "abcdefghijkl").bytes()));
    EXPECT_FALSE(readPNGHeader(good.substr(0, 8) + good.substr(33))); // no header chunk
}

} // namespace
} // namespace quillorn
