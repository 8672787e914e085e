#include "platform/pdf/PDFDocument.h"

#include "platform/pdf/PaperSize.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using tests::TestPDF;
using Indexes = std::vector<std::size_t>;

class Documents : public testing::Test {
protected:
    std::unique_ptr<PDFDocument> documentOf(const TestPDF& pdf) {
        auto document = PDFDocument::open(pdf.writeTo(m_folder / "in.pdf"));
        EXPECT_TRUE(document.has_value());
        return document ? std::move(*document) : std::make_unique<PDFDocument>();
    }
    std::unique_ptr<PDFDocument> documentOf(std::size_t pages) {
        return documentOf(TestPDF("document", pages));
    }

    /// Which source pages stand in the document, in order.
    static Indexes sourcePagesOf(const PDFDocument& document) {
        Indexes indexes;
        for (const PDFPageReference& reference : document.pageReferences()) {
            indexes.push_back(reference.index);
        }
        return indexes;
    }

    tests::TemporaryFolder m_folder;
};

TEST_F(Documents, OpenWithAllPagesOfTheirFile) {
    const auto document = documentOf(TestPDF("document", 3).setVersion("1.6"));
    EXPECT_EQ(document->pageCount(), 3U);
    EXPECT_EQ(document->majorVersion(), 1);
    EXPECT_EQ(document->minorVersion(), 6);
    EXPECT_FALSE(document->isEncrypted());
    EXPECT_FALSE(document->isLocked());
    EXPECT_TRUE(document->allowsCopying());
    EXPECT_TRUE(document->allowsPrinting());
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{0, 1, 2}));
    EXPECT_EQ(document->pageAtIndex(3), nullptr);
}

TEST_F(Documents, SayWhyAFileDoesNotOpen) {
    const auto document = PDFDocument::open(m_folder / "missing.pdf");
    ASSERT_FALSE(document.has_value());
    EXPECT_EQ(document.error().kind, PDFError::Kind::unreadable);
}

TEST_F(Documents, MadeInMemoryAreEmpty) {
    const PDFDocument document;
    EXPECT_EQ(document.pageCount(), 0U);
    EXPECT_EQ(document.pageAtIndex(0), nullptr);
    EXPECT_EQ(document.majorVersion(), 0);
    EXPECT_FALSE(document.isLocked());
    EXPECT_TRUE(document.allowsCopying());
    EXPECT_TRUE(document.pageReferences().empty());
    EXPECT_EQ(document.source(), nullptr);
}

TEST_F(Documents, HandOutTheSamePageObjectAtEveryCall) {
    const auto document = documentOf(3);
    const auto page = document->pageAtIndex(1);
    EXPECT_EQ(document->pageAtIndex(1), page);
    EXPECT_NE(document->pageAtIndex(0), page);
    EXPECT_EQ(page->document(), document.get());
    EXPECT_EQ(document->indexForPage(*page), 1U);
}

TEST_F(Documents, KnowOnlyTheirOwnPages) {
    const auto first = documentOf(3);
    const auto second = documentOf(3);
    EXPECT_EQ(second->indexForPage(*first->pageAtIndex(1)), PDFDocument::notFound);
    EXPECT_EQ(first->indexForPage(PDFPage()), PDFDocument::notFound);
}

TEST_F(Documents, AdoptAPageThatBelongsToNone) {
    PDFDocument document;
    const auto page = std::make_shared<PDFPage>();
    EXPECT_EQ(page->document(), nullptr);
    EXPECT_EQ(document.insertPageAtIndex(page, 0), page);
    EXPECT_EQ(page->document(), &document);
    EXPECT_EQ(document.pageAtIndex(0), page);
}

TEST_F(Documents, CopyAPageThatBelongsToAnother) {
    const auto source = documentOf(3);
    PDFDocument output;
    const auto page = source->pageAtIndex(1);
    page->setLabel("here");
    page->addRotation(90);
    const auto copied = output.insertPageAtIndex(page, 0);
    EXPECT_NE(copied, page);
    EXPECT_EQ(copied->label(), "here");
    EXPECT_EQ(copied->addedRotation(), 90);
    EXPECT_EQ(copied->reference().source, page->reference().source);
    EXPECT_EQ(copied->reference().index, 1U);
    EXPECT_EQ(source->pageCount(), 3U);
    EXPECT_EQ(page->document(), source.get());
    EXPECT_EQ(copied->document(), &output);

    copied->addRotation(90);
    copied->setLabel("there");
    EXPECT_EQ(page->addedRotation(), 90);
    EXPECT_EQ(page->label(), "here");
}

TEST_F(Documents, CopyAPageThatStandsInThemAlready) {
    const auto document = documentOf(2);
    const auto page = document->pageAtIndex(0);
    const auto copied = document->insertPageAtIndex(page, 2);
    EXPECT_NE(copied, page);
    EXPECT_EQ(document->indexForPage(*page), 0U);
    EXPECT_EQ(document->indexForPage(*copied), 2U);
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{0, 1, 0}));
}

TEST_F(Documents, TellTheSameSourcePageApartWhereItStandsTwice) {
    const auto source = documentOf(1);
    PDFDocument output;
    const auto first = output.insertPageAtIndex(source->pageAtIndex(0), 0);
    const auto second = output.insertPageAtIndex(source->pageAtIndex(0), 0);
    EXPECT_EQ(output.indexForPage(*first), 1U);
    EXPECT_EQ(output.indexForPage(*second), 0U);
    EXPECT_EQ(output.removePageAtIndex(0), second);
    EXPECT_EQ(output.indexForPage(*first), 0U);
    EXPECT_EQ(output.indexForPage(*second), PDFDocument::notFound);
}

TEST_F(Documents, InsertBeforeThePositionOrAtTheEnd) {
    const auto source = documentOf(4);
    PDFDocument output;
    output.insertPageAtIndex(source->pageAtIndex(0), 0);
    output.insertPageAtIndex(source->pageAtIndex(1), 0);
    output.insertPageAtIndex(source->pageAtIndex(2), 1);
    output.insertPageAtIndex(source->pageAtIndex(3), 99);
    EXPECT_EQ(sourcePagesOf(output), (Indexes{1, 2, 0, 3}));
}

TEST_F(Documents, TakeOutPages) {
    const auto document = documentOf(3);
    const auto page = document->removePageAtIndex(1);
    ASSERT_TRUE(page);
    EXPECT_EQ(page->reference().index, 1U);
    EXPECT_EQ(page->document(), nullptr);
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{0, 2}));
    EXPECT_EQ(document->removePageAtIndex(2), nullptr);
    EXPECT_EQ(document->pageCount(), 2U);

    EXPECT_EQ(document->insertPageAtIndex(page, 0), page) << "a page taken out is free again";
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{1, 0, 2}));
}

TEST_F(Documents, MovePagesInBothDirections) {
    const auto document = documentOf(5);
    const auto page = document->pageAtIndex(1);
    document->movePage(1, 3);
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{0, 2, 3, 1, 4}));
    EXPECT_EQ(document->indexForPage(*page), 3U);
    document->movePage(3, 0);
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{1, 0, 2, 3, 4}));
    EXPECT_EQ(document->pageAtIndex(0), page);
    document->movePage(0, 4);
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{0, 2, 3, 4, 1}));
    document->movePage(2, 2);
    document->movePage(5, 0);
    document->movePage(0, 5);
    EXPECT_EQ(sourcePagesOf(*document), (Indexes{0, 2, 3, 4, 1}));
    EXPECT_EQ(page->document(), document.get());
}

TEST_F(Documents, LetGoOfTheirPagesAtTheEnd) {
    std::shared_ptr<PDFPage> page;
    {
        const auto document = documentOf(3);
        page = document->pageAtIndex(2);
    }
    EXPECT_EQ(page->document(), nullptr);
    EXPECT_EQ(page->rotation(), 0) << "the page still reads its source";
    PDFDocument other;
    EXPECT_EQ(other.insertPageAtIndex(page, 0), page);
}

TEST_F(Documents, TurnPagesAsFarAsTheyWereTold) {
    const auto document = documentOf(TestPDF("turned", 2).setRotation(0, 90));
    const auto page = document->pageAtIndex(0);
    EXPECT_EQ(page->rotation(), 90);
    page->addRotation(270);
    page->addRotation(90);
    EXPECT_EQ(page->rotation(), 450);
    EXPECT_EQ(page->addedRotation(), 360);
    page->addRotation(-720);
    EXPECT_EQ(page->rotation(), -270);
    page->setRotation(540);
    EXPECT_EQ(page->rotation(), 540);
    EXPECT_EQ(page->geometry()->rotation, 540);
    EXPECT_EQ(document->pageReferences()[0].addedRotation, 450);
    EXPECT_EQ(document->pageAtIndex(1)->rotation(), 0);
}

TEST_F(Documents, MakeBlankPagesOfTheDefaultPaper) {
    const PDFPage page;
    const auto geometry = page.geometry();
    ASSERT_TRUE(geometry.has_value());
    EXPECT_EQ(geometry->displaySize(), defaultPaperSize());
    EXPECT_EQ(geometry->mediaBox, geometry->cropBox);
    EXPECT_EQ(page.rotation(), 0);
    EXPECT_EQ(page.label(), "");
}

TEST_F(Documents, LockedOnesHaveNoPagesUntilTheyAreUnlocked) {
    const auto plain = TestPDF("secret", 3).writeTo(m_folder / "plain.pdf");
    tests::encryptPDF(plain, m_folder / "in.pdf",
                      {"user", "owner", {"--extract=n", "--print=none"}});
    auto document = PDFDocument::open(m_folder / "in.pdf");
    ASSERT_TRUE(document.has_value());
    EXPECT_TRUE((*document)->isLocked());
    EXPECT_TRUE((*document)->isEncrypted());
    EXPECT_FALSE((*document)->allowsCopying());
    EXPECT_FALSE((*document)->allowsPrinting());
    EXPECT_EQ((*document)->pageCount(), 0U);

    const auto wrong = (*document)->unlockWithPassword("wrong");
    ASSERT_FALSE(wrong.has_value());
    EXPECT_EQ(wrong.error().kind, PDFError::Kind::wrongPassword);
    EXPECT_TRUE((*document)->isLocked());

    ASSERT_TRUE((*document)->unlockWithPassword("user").has_value());
    EXPECT_FALSE((*document)->isLocked());
    EXPECT_TRUE((*document)->isEncrypted());
    EXPECT_EQ((*document)->pageCount(), 3U);
    EXPECT_FALSE((*document)->allowsCopying());
    EXPECT_FALSE((*document)->allowsPrinting());

    ASSERT_TRUE((*document)->unlockWithPassword("owner").has_value());
    EXPECT_TRUE((*document)->allowsCopying());
    EXPECT_TRUE((*document)->allowsPrinting());
}

TEST_F(Documents, LetGoOfThePagesThatUnlockingReplaces) {
    const auto document = documentOf(2);
    const auto page = document->pageAtIndex(0);
    ASSERT_TRUE(document->unlockWithPassword("any").has_value());
    EXPECT_EQ(page->document(), nullptr);
    EXPECT_EQ(document->pageCount(), 2U);
    EXPECT_NE(document->pageAtIndex(0), page);
}

TEST_F(Documents, WithoutAFileNeedNoUnlocking) {
    PDFDocument document;
    document.insertPageAtIndex(std::make_shared<PDFPage>(), 0);
    EXPECT_TRUE(document.unlockWithPassword("any").has_value());
    EXPECT_EQ(document.pageCount(), 1U);
}

TEST_F(Documents, OfTenThousandPagesMakePageObjectsOnDemand) {
    const auto document = documentOf(10'000);
    EXPECT_EQ(document->pageCount(), 10'000U);
    const auto page = document->pageAtIndex(9'999);
    document->movePage(9'999, 0);
    EXPECT_EQ(document->indexForPage(*page), 0U);
    EXPECT_EQ(document->pageReferences()[1].index, 0U);
}

} // namespace
} // namespace quillorn
