#include "platform/imaging/TIFFHeader.h"

#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using namespace tests;

struct Entry {
    std::uint64_t tag;
    std::uint64_t type;
    std::uint64_t count;
    std::string value; ///< as it stands in the entry, filled up by the test
};

/// A classic TIFF with one directory at offset 8.
std::string bigEndianTIFF(const std::vector<Entry>& entries, const std::string& rest = {}) {
    std::string bytes = "MM" + bigEndian(42, 2) + bigEndian(8, 4) + bigEndian(entries.size(), 2);
    for (const Entry& entry : entries) {
        std::string value = entry.value;
        value.resize(4, '\0');
        bytes +=
            bigEndian(entry.tag, 2) + bigEndian(entry.type, 2) + bigEndian(entry.count, 4) + value;
    }
    return bytes + bigEndian(0, 4) + rest;
}

TEST(TIFFHeader, ReadsTheFirstDirectory) {
    const std::size_t behind = 8 + 2 + 7 * 12 + 4;
    const std::string bytes =
        bigEndianTIFF({{256, 4, 1, bigEndian(640, 4)},
                       {257, 3, 1, bigEndian(480, 2)},
                       {258, 3, 3, bigEndian(behind + 16, 4)},
                       {262, 3, 1, bigEndian(5, 2)},
                       {274, 3, 1, bigEndian(7, 2)},
                       {282, 5, 1, bigEndian(behind, 4)},
                       {283, 5, 1, bigEndian(behind + 8, 4)}},
                      bigEndian(600, 4) + bigEndian(2, 4) + bigEndian(200, 4) + bigEndian(1, 4) +
                          bigEndian(16, 2) + bigEndian(16, 2) + bigEndian(16, 2));
    const auto facts = readTIFFHeader(bytes);
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->width, 640U);
    EXPECT_EQ(facts->height, 480U);
    EXPECT_EQ(facts->bitsPerComponent, 16);
    EXPECT_EQ(facts->photometric, 5);
    EXPECT_EQ(facts->orientation, 7);
    EXPECT_EQ(facts->density, (ImageDensity{300, 200})); // inches unless it says otherwise
}

TEST(TIFFHeader, ReadsBigTIFF) {
    const auto entry = [](std::uint64_t tag, std::uint64_t type, std::uint64_t value) {
        return littleEndian(tag, 2) + littleEndian(type, 2) + littleEndian(1, 8) +
               littleEndian(value, 8);
    };
    const auto facts = readTIFFHeader(
        "II" + littleEndian(43, 2) + littleEndian(8, 2) + littleEndian(0, 2) + littleEndian(16, 8) +
        littleEndian(3, 8) + entry(256, 16, 70000) + entry(257, 4, 5) + entry(274, 3, 3));
    ASSERT_TRUE(facts);
    EXPECT_EQ(facts->width, 70000U);
    EXPECT_EQ(facts->height, 5U);
    EXPECT_EQ(facts->orientation, 3);
}

TEST(TIFFHeader, ANumberWithoutUnitIsNoDensity) {
    const std::size_t behind = 8 + 2 + 3 * 12 + 4;
    const auto facts = readTIFFHeader(bigEndianTIFF({{282, 5, 1, bigEndian(behind, 4)},
                                                     {283, 5, 1, bigEndian(behind, 4)},
                                                     {296, 3, 1, bigEndian(1, 2)}},
                                                    bigEndian(300, 4) + bigEndian(1, 4)));
    ASSERT_TRUE(facts);
    EXPECT_FALSE(facts->density.isUsable());
}

TEST(TIFFHeader, SurvivesWhatPointsNowhere) {
    EXPECT_FALSE(readTIFFHeader(""));
    EXPECT_FALSE(readTIFFHeader("II"));
    EXPECT_FALSE(readTIFFHeader("MM" + bigEndian(41, 2) + bigEndian(8, 4)));
    const auto nowhere = readTIFFHeader("MM" + bigEndian(42, 2) + bigEndian(~0U, 4));
    ASSERT_TRUE(nowhere);
    EXPECT_FALSE(nowhere->hasSize());
    const auto facts = readTIFFHeader(bigEndianTIFF({{256, 4, 5, bigEndian(~0U, 4)},
                                                     {257, 99, 1, bigEndian(7, 4)},
                                                     {282, 5, 1, bigEndian(~0U, 4)},
                                                     {274, 3, 0, bigEndian(6, 2)}}));
    ASSERT_TRUE(facts);
    EXPECT_FALSE(facts->hasSize());
    EXPECT_EQ(facts->orientation, 1);
}

} // namespace
} // namespace quillorn
