#include "app/PageLabelSummary.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn {
namespace {

using Style = PDFPageLabelRange::Style;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(PageLabelSummary, ADocumentWithoutLabelsHasNone) {
    EXPECT_THAT(pageLabels({}, 3), IsEmpty());
    EXPECT_THAT(pageLabelRuns({}, 3), IsEmpty());
}

TEST(PageLabelSummary, EveryPageIsNamedInOrder) {
    const std::vector<PDFPageLabelRange> ranges = {{0, Style::lowerRoman, "", 1},
                                                   {2, Style::decimal, "A-", 7}};
    EXPECT_THAT(pageLabels(ranges, 4), ElementsAre("i", "ii", "A-7", "A-8"));
    EXPECT_THAT(pageLabelRuns(ranges, 4), ElementsAre("1-2: i-ii", "3-4: A-7-A-8"));
}

TEST(PageLabelSummary, ARunOfOnePageIsNoSpan) {
    EXPECT_THAT(pageLabelRuns({{0, Style::none, "Cover", 1}, {1, Style::decimal, "", 1}}, 4),
                ElementsAre("1: Cover", "2-4: 1-3"));
}

TEST(PageLabelSummary, PagesBeforeTheFirstRangeAreARunOfTheirOwn) {
    EXPECT_THAT(pageLabelRuns({{2, Style::upperRoman, "", 1}}, 4),
                ElementsAre("1-2: 1-2", "3-4: I-II"));
}

TEST(PageLabelSummary, RangesBehindTheLastPageDoNotCount) {
    EXPECT_THAT(pageLabelRuns({{0, Style::decimal, "", 1}, {9, Style::upperRoman, "", 1}}, 3),
                ElementsAre("1-3: 1-3"));
    EXPECT_THAT(pageLabelRuns({{0, Style::decimal, "", 1}}, 0), IsEmpty());
}

TEST(PageLabelSummary, PagesWithAnEmptyLabelAreSaidToHaveNone) {
    EXPECT_THAT(pageLabelRuns({{0, Style::none, "", 1}}, 2), ElementsAre("1-2: no label"));
    EXPECT_THAT(pageLabels({{0, Style::none, "", 1}}, 2), ElementsAre("", ""));
}

} // namespace
} // namespace quillorn
