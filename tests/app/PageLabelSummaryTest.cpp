#include "app/PageLabelSummary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn {
namespace {

using Style = PDFPageLabelRange::Style;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<std::string> runsOf(const std::vector<PDFPageLabelRange>& ranges, std::size_t pages) {
    const PageLabelRuns runs = pageLabelRuns(ranges, pages, 100);
    EXPECT_EQ(runs.further, 0U);
    return runs.texts;
}

TEST(PageLabelSummary, ADocumentWithoutLabelsHasNone) {
    EXPECT_THAT(pageLabels({}, 3).value(), IsEmpty());
    EXPECT_THAT(runsOf({}, 3), IsEmpty());
}

TEST(PageLabelSummary, EveryPageIsNamedInOrder) {
    const std::vector<PDFPageLabelRange> ranges = {{0, Style::lowerRoman, "", 1},
                                                   {2, Style::decimal, "A-", 7}};
    EXPECT_THAT(pageLabels(ranges, 4).value(), ElementsAre("i", "ii", "A-7", "A-8"));
    EXPECT_THAT(runsOf(ranges, 4), ElementsAre("1-2: i-ii", "3-4: A-7-A-8"));
}

TEST(PageLabelSummary, ARunOfOnePageIsNoSpan) {
    EXPECT_THAT(runsOf({{0, Style::none, "Cover", 1}, {1, Style::decimal, "", 1}}, 4),
                ElementsAre("1: Cover", "2-4: 1-3"));
}

TEST(PageLabelSummary, PagesBeforeTheFirstRangeAreARunOfTheirOwn) {
    EXPECT_THAT(runsOf({{2, Style::upperRoman, "", 1}}, 4), ElementsAre("1-2: 1-2", "3-4: I-II"));
}

TEST(PageLabelSummary, RangesBehindTheLastPageDoNotCount) {
    EXPECT_THAT(runsOf({{0, Style::decimal, "", 1}, {9, Style::upperRoman, "", 1}}, 3),
                ElementsAre("1-3: 1-3"));
    EXPECT_THAT(runsOf({{0, Style::decimal, "", 1}}, 0), IsEmpty());
}

TEST(PageLabelSummary, PagesWithAnEmptyLabelAreSaidToHaveNone) {
    EXPECT_THAT(runsOf({{0, Style::none, "", 1}}, 2), ElementsAre("1-2: no label"));
    EXPECT_THAT(pageLabels({{0, Style::none, "", 1}}, 2).value(), ElementsAre("", ""));
}

TEST(PageLabelSummary, LabelsBeyondALimitAreNotListed) {
    const std::vector<PDFPageLabelRange> ranges = {{0, Style::none, "four", 1}};
    EXPECT_TRUE(pageLabels(ranges, 5, 20));
    EXPECT_FALSE(pageLabels(ranges, 6, 20));
    EXPECT_FALSE(
        pageLabels({{0, Style::upperLetters, std::string(1000, 'x'), 25'000}}, 10'000'000));
}

TEST(PageLabelSummary, FurtherRunsAreCounted) {
    std::vector<PDFPageLabelRange> ranges;
    for (std::size_t page = 0; page < 5; ++page) {
        ranges.push_back({page, Style::none, "p", 1});
    }
    const PageLabelRuns runs = pageLabelRuns(ranges, 5, 2);
    EXPECT_THAT(runs.texts, ElementsAre("1: p", "2: p"));
    EXPECT_EQ(runs.further, 3U);
}

} // namespace
} // namespace quillorn
