#include "model/PageItem.h"

#include "model/PDFPageEx.h"
#include "platform/pdf/PDFDocument.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace quillorn {
namespace {

constexpr int largestDraw = std::numeric_limits<int>::max(); // what glibc calls RAND_MAX

template <class Item>
class EveryKindOfPageItem : public testing::Test {};
using Kinds = testing::Types<ImageItemFir, ImageItemSec, blankItem>;
TYPED_TEST_SUITE(EveryKindOfPageItem, Kinds);

TYPED_TEST(EveryKindOfPageItem, KnowsItsPathFileNameAndPage) {
    const auto page = std::make_shared<PDFPageEx>();
    const TypeParam item("/a/b/report.pdf", page);
    EXPECT_EQ(item.imagePath(), "/a/b/report.pdf");
    EXPECT_EQ(item.filename(), "report.pdf");
    EXPECT_EQ(item.page(), page);
}

TYPED_TEST(EveryKindOfPageItem, IsDrawnAsThePdfPageThatItHolds) {
    const auto page = std::make_shared<PDFPageEx>();
    const TypeParam item("report.pdf", page);
    EXPECT_EQ(item.imageRepresentation(), page);
    EXPECT_EQ(item.imageRepresentationType(), "IKImageBrowserPDFPageRepresentationType");
}

TYPED_TEST(EveryKindOfPageItem, KeepsCopiesOfItsTexts) {
    TypeParam item("/a/one.pdf", nullptr);
    std::string text = "/b/two.pdf";
    item.setImagePath(text);
    text = "changed";
    EXPECT_EQ(item.imagePath(), "/b/two.pdf");
    EXPECT_EQ(item.filename(), "one.pdf") << "only a new item takes its name from the path";
    text = "three.pdf";
    item.setFilename(text);
    text = "changed";
    EXPECT_EQ(item.filename(), "three.pdf");
}

TYPED_TEST(EveryKindOfPageItem, SharesItsPageInsteadOfCopyingIt) {
    TypeParam item("a.pdf", nullptr);
    const auto page = std::make_shared<PDFPageEx>();
    item.setPage(page);
    page->setLabel("later");
    EXPECT_EQ(item.page()->label(), "later");
    EXPECT_EQ(page.use_count(), 2);
}

TYPED_TEST(EveryKindOfPageItem, HasADecimalIdentifierThatStays) {
    const TypeParam item("a.pdf", nullptr);
    EXPECT_THAT(item.imageUID(), testing::MatchesRegex("-?[0-9]+"));
    EXPECT_EQ(item.imageUID(), item.imageUID());
}

TYPED_TEST(EveryKindOfPageItem, DrawsItsIdentifierFromThreeRandomNumbers) {
    std::srand(7);
    const int a = std::rand();
    const int b = std::rand();
    const int c = std::rand();
    std::srand(7);
    const TypeParam item("a.pdf", nullptr);
    EXPECT_EQ(item.imageUID(), std::to_string(pageItemIdentifier(a, b, c)));
}

TYPED_TEST(EveryKindOfPageItem, CanBeReadWhileAnotherThreadSetsIt) {
    TypeParam item("start.pdf", std::make_shared<PDFPageEx>());
    constexpr int rounds = 2000;
    std::thread writer([&item]() {
        for (int i = 0; i < rounds; ++i) {
            item.setImagePath(i % 2 == 0 ? "/a/even.pdf" : "/a/a-much-longer-odd-name.pdf");
            item.setFilename(i % 2 == 0 ? "even.pdf" : "a-much-longer-odd-name.pdf");
            item.setPage(std::make_shared<PDFPageEx>());
        }
    });
    int whole = 0;
    for (int i = 0; i < rounds; ++i) {
        const std::string path = item.imagePath();
        const std::string name = item.filename();
        whole += static_cast<int>((path.ends_with(".pdf") && name.ends_with(".pdf")) &&
                                  item.page() != nullptr);
    }
    writer.join();
    EXPECT_EQ(whole, rounds);
}

TEST(PageItem, AFreshPageHasAnEmptyLabelSoItsItemHasAnEmptyTitle) {
    const auto page = std::make_shared<PDFPageEx>();
    EXPECT_EQ(page->label(), "");
    EXPECT_EQ(ImageItemFir("a.pdf", page).imageTitle(), "");
    EXPECT_EQ(ImageItemSec("a.pdf", page).imageTitle(), "");
}

TEST(PageItem, ItemsOfBothPanesShowTheLabelOfTheirPage) {
    const auto page = std::make_shared<PDFPageEx>();
    page->setLabel("3-report");
    EXPECT_EQ(ImageItemFir("a.pdf", page).imageTitle(), "3-report");
    EXPECT_EQ(ImageItemSec("a.pdf", page).imageTitle(), "3-report");
}

TEST(PageItem, APlaceholderSaysBlankWhateverItsPageIsCalled) {
    const auto page = std::make_shared<PDFPageEx>();
    page->setLabel("3-report");
    EXPECT_EQ(blankItem("a.pdf", page).imageTitle(), "blank");
    EXPECT_EQ(blankItem("a.pdf", nullptr).imageTitle(), "blank");
}

TEST(PageItem, TheThreeKindsAreDistinctTypes) {
    EXPECT_FALSE((std::is_convertible_v<ImageItemFir*, ImageItemSec*>));
    EXPECT_FALSE((std::is_convertible_v<ImageItemSec*, ImageItemFir*>));
    EXPECT_FALSE((std::is_convertible_v<blankItem*, ImageItemSec*>));
    EXPECT_TRUE((std::is_convertible_v<blankItem*, PageItem*>));
}

TEST(PageItem, IdentifiersSpanTheirWholeRangeWithTruncatingDivision) {
    EXPECT_EQ(pageItemIdentifier(0, 0, largestDraw), -715'827'882);
    EXPECT_EQ(pageItemIdentifier(largestDraw, largestDraw, 0), 1'431'655'764);
    EXPECT_EQ(pageItemIdentifier(7, 11, 5), 3 + 1 - 1);
    EXPECT_EQ(pageItemIdentifier(1, 5, 2), 0);
}

TEST(PageItem, ANegativeIdentifierBeginsWithAMinusSign) {
    // One draw in five is negative; a hundred without any would be a wrong formula.
    std::vector<std::string> negative;
    for (int i = 0; i < 100; ++i) {
        const std::string text = ImageItemFir("a.pdf", nullptr).imageUID();
        if (std::stol(text) < 0) {
            negative.push_back(text);
        }
    }
    ASSERT_FALSE(negative.empty());
    for (const std::string& text : negative) {
        EXPECT_EQ(text.front(), '-');
    }
}

TEST(PageItem, PagesOfADocumentAreTheLabelledPages) {
    const tests::TemporaryFolder folder;
    tests::TestPDF("report", 2).writeTo(folder / "report.pdf");
    const auto document = PDFDocument::open(folder / "report.pdf");
    ASSERT_TRUE(document) << document.error().reason;
    const std::shared_ptr<PDFPageEx> page = (*document)->pageAtIndex(1);
    page->setLabel("2-report");
    const ImageItemFir item((folder / "report.pdf").string(), page);
    EXPECT_EQ(item.imageTitle(), "2-report");
    EXPECT_EQ(item.page(), (*document)->pageAtIndex(1)) << "shared with the document";
}

} // namespace
} // namespace quillorn
