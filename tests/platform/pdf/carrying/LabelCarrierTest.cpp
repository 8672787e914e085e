#include "tests/platform/pdf/carrying/Composition.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;

/// The labels of the file written last, in order; nothing when the file has none of its own.
std::vector<std::string> labels(const Composition& composition) {
    const auto source = composition.open(composition.folder() / "out.pdf");
    const auto ranges = source->labelRanges();
    EXPECT_TRUE(ranges);
    std::vector<std::string> all;
    for (std::size_t page = 0; ranges && !ranges->empty() && page < source->pageCount(); ++page) {
        all.push_back(pageLabelText(*ranges, page));
    }
    return all;
}

/// i, ii, 1, 2, A-1
TestPDF labelled() {
    return TestPDF("labelled", 5).setLabels("0 << /S /r >> 2 << /S /D >> 4 << /S /D /P (A-) >>");
}

TEST(PageLabels, StayWithTheirPages) {
    Composition composition;
    const auto source = composition.source("l.pdf", labelled());
    composition.add(source, {5, 4, 2, 1, 3}).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("A-1", "2", "ii", "i", "1"));
}

TEST(PageLabels, OfRepeatedPagesAreRepeated) {
    Composition composition;
    const auto source = composition.source("l.pdf", labelled());
    composition.add(source, {2, 2, 3, 2}).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("ii", "ii", "1", "ii"));
}

TEST(PageLabels, OfAFileWithoutThemAreItsPageNumbers) {
    Composition composition;
    const auto with = composition.source("l.pdf", labelled());
    const auto without = composition.source("w.pdf", TestPDF("without", 9));
    composition.add(with, {1, 5}).add(without, {9, 8}).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("i", "A-1", "9", "8"));
}

TEST(PageLabels, AreNotMadeUp) {
    Composition composition;
    const auto source = composition.source("w.pdf", TestPDF("without", 3));
    EXPECT_FALSE(composition.add(source, {3, 2, 1}).write().catalog().contains("/PageLabels"));
}

TEST(PageLabels, OfBlankPagesAreTheirPositions) {
    Composition composition;
    const auto source = composition.source("l.pdf", labelled());
    composition.add(source, {1}).addBlank().add(source, {2}).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("i", "2", "ii"));
}

TEST(PageLabels, BeforeTheFirstRangeAreThePositions) {
    Composition composition;
    const auto source =
        composition.source("late.pdf", TestPDF("late", 4).setLabels("2 << /S /A /St 3 >>"));
    composition.add(source).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("1", "2", "C", "D"));
}

TEST(PageLabels, OfAPageThatStandsTwiceInItsOwnFileStayApart) {
    // The second page of the tree is the first page's object once more.
    TestPDF document("twice", 2);
    std::string bytes = document.setLabels("0 << /S /r >>").bytes();
    const std::string kids = "[4 0 R 6 0 R]";
    bytes.replace(bytes.find(kids), kids.size(), "[4 0 R 4 0 R]");
    Composition composition;
    writeFile(composition.folder() / "twice.pdf", bytes);
    const auto source = composition.open(composition.folder() / "twice.pdf");
    ASSERT_EQ(source->pageCount(), 2U);
    EXPECT_EQ(composition.add(source).write().pageCount(), 2U);
    EXPECT_THAT(labels(composition), ElementsAre("i", "ii"));
    composition.add(source, {2}).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("ii"));
}

TEST(PageLabels, WithPrefixesOnlyStayEqual) {
    Composition composition;
    const auto source = composition.source(
        "cover.pdf", TestPDF("cover", 4).setLabels("0 << /P (Cover) >> 2 << /S /D >>"));
    composition.add(source, {3, 1, 2, 4}).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("1", "Cover", "Cover", "2"));
}

TEST(PageLabels, KeepTextInAnyScript) {
    Composition composition;
    const auto source = composition.source(
        "s.pdf", TestPDF("script", 1).setLabels("0 << /S /D /P <FEFF7B2C00B7> >>"));
    composition.add(source).writeChecked();
    EXPECT_THAT(labels(composition), ElementsAre("第·1"));
}

TEST(PageLabels, GoOnFromTheLargestNumber) {
    Composition composition;
    const auto source = composition.source(
        "large.pdf", TestPDF("large", 3).setLabels("0 << /S /D /St 2147483647 >>"));
    const WrittenPDF file = composition.add(source, {1, 2, 3}).write();
    EXPECT_EQ(file.entry(file.entry(file.catalog(), "/PageLabels"), "/Nums").size(), 2U);
}

TEST(PageLabels, OfThousandsOfPagesWithALongPrefixTakeItsRoomOnce) {
    constexpr std::size_t pages = 2'000;
    const std::string prefix(900, 'p');
    Composition composition;
    const auto source = composition.source(
        "long.pdf", TestPDF("long", pages).setLabels("0 << /S /D /P (" + prefix + ") >>"));
    std::vector<std::size_t> odd;
    for (std::size_t page = 1; page <= pages; page += 2) {
        odd.push_back(page);
    }
    composition.add(source, odd).writeChecked();
    EXPECT_LT(composition.report().bytes, source->fileSize() / 2);
    const auto ranges = composition.open(composition.folder() / "out.pdf")->labelRanges();
    ASSERT_TRUE(ranges);
    EXPECT_EQ(pageLabelText(*ranges, 0), prefix + "1");
    EXPECT_EQ(pageLabelText(*ranges, 999), prefix + "1999");
}

} // namespace
} // namespace quillorn::tests
