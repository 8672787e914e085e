#include "platform/pdf/PageRange.h"

#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using Pages = std::vector<std::size_t>;

Pages pagesOf(const std::string& range, std::size_t count = 10) {
    auto pages = parsePageRange(range, count);
    EXPECT_TRUE(pages.has_value()) << range << ": " << (pages ? "" : pages.error());
    return pages.value_or(Pages{});
}

TEST(PageRange, ReadsNumbersFromOne) {
    EXPECT_EQ(pagesOf("1"), Pages{0});
    EXPECT_EQ(pagesOf("10"), Pages{9});
    EXPECT_EQ(pagesOf("3,1,3"), (Pages{2, 0, 2}));
}

TEST(PageRange, ReadsRangesInBothDirections) {
    EXPECT_EQ(pagesOf("2-4"), (Pages{1, 2, 3}));
    EXPECT_EQ(pagesOf("4-2"), (Pages{3, 2, 1}));
    EXPECT_EQ(pagesOf("5-5"), Pages{4});
    EXPECT_EQ(pagesOf("1-2,9-10,1"), (Pages{0, 1, 8, 9, 0}));
}

TEST(PageRange, CountsFromTheEnd) {
    EXPECT_EQ(pagesOf("z"), Pages{9});
    EXPECT_EQ(pagesOf("r1"), Pages{9});
    EXPECT_EQ(pagesOf("r3-r1"), (Pages{7, 8, 9}));
    EXPECT_EQ(pagesOf("8-z"), (Pages{7, 8, 9}));
    EXPECT_EQ(pagesOf("z-8"), (Pages{9, 8, 7}));
    EXPECT_EQ(pagesOf("z", 1), Pages{0});
}

TEST(PageRange, PicksOddAndEvenPositions) {
    EXPECT_EQ(pagesOf("1-6:odd"), (Pages{0, 2, 4}));
    EXPECT_EQ(pagesOf("1-6:even"), (Pages{1, 3, 5}));
    EXPECT_EQ(pagesOf("2-6:odd"), (Pages{1, 3, 5})) << "positions in the list, not page numbers";
}

TEST(PageRange, RefusesWhatIsNoRange) {
    for (const char* range : {"", "a", "1-", "-1", "1,,2", "1,", ",1", "1-2-3", "1:", "1:third",
                              "1.5", " ", "r", "rz", "--", "1;2", "0x1"}) {
        const auto pages = parsePageRange(range, 10);
        ASSERT_FALSE(pages.has_value()) << range;
        EXPECT_FALSE(pages.error().empty());
        EXPECT_EQ(pages.error().find('\n'), std::string::npos);
    }
}

TEST(PageRange, RefusesPagesThatAreNotThere) {
    for (const char* range : {"0", "11", "1-11", "r11", "r0", "5-0", "99999999999999999999",
                              "1-2000000000", "4294967297"}) {
        EXPECT_FALSE(parsePageRange(range, 10).has_value()) << range;
    }
}

TEST(PageRange, OfADocumentWithoutPagesIsRefused) {
    for (const char* range : {"1", "z", "r1", "1-z", "0", "1-2000000000"}) {
        EXPECT_FALSE(parsePageRange(range, 0).has_value()) << range;
    }
}

TEST(PageRange, OfMorePagesThanThereCanBeIsRefused) {
    EXPECT_FALSE(parsePageRange("1", std::numeric_limits<std::size_t>::max()).has_value());
}

} // namespace
} // namespace quillorn
