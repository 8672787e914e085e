#include "platform/pdf/ImagePage.h"

#include "platform/pdf/PDFDocument.h"
#include "tests/fakes/HostilePDF.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/PDFImages.h"
#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestImage.h"
#include "tests/fakes/TestPDF.h"

#include <gtest/gtest.h>
#include <stop_token>
#include <string>

namespace quillorn {
namespace {

using namespace tests;

class ImagePageTest : public testing::Test {
protected:
    /// Four pixels of grey: black, white; white, black.
    [[nodiscard]] PDFImage fourPixels() const {
        PDFImage image;
        image.width = 2;
        image.height = 2;
        image.components = 1;
        image.data = rows;
        return image;
    }
    static PDFImagePage pageOf(const std::variant<PDFImage, PDFDrawing>& content, PDFSize size) {
        return PDFImagePage{content, 1, size, PDFBox{-10, -20, 90, 80}};
    }

    const TemporaryFolder folder;
    const std::filesystem::path target = folder / "page.pdf";
    const std::string rows = deflated(std::string("\0\0\xFF\0\xFF\0", 6));
};

TEST_F(ImagePageTest, TheImageLiesAtTheOriginAndThePageAroundIt) {
    ASSERT_TRUE(writeImagePage(pageOf(fourPixels(), {40, 20}), target));
    EXPECT_EQ(complaintsAbout(target), "");
    const auto document = PDFDocument::open(target);
    ASSERT_TRUE(document);
    ASSERT_EQ((*document)->pageCount(), 1U);
    EXPECT_EQ((*document)->pageAtIndex(0)->geometry()->mediaBox, (PDFBox{-10, -20, 90, 80}));
    // Seen from the top left, the image begins 10 to the right, and 80 - 20 down.
    const TestPixels page = drawnPage(target);
    EXPECT_EQ(page.width, 100U);
    const TestPixels image = cropped(page, 10, 60, 40, 20);
    EXPECT_EQ(image.at(5, 5, 0), 0);
    EXPECT_EQ(image.at(35, 5, 0), 255);
    EXPECT_EQ(image.at(5, 15, 0), 255);
    EXPECT_EQ(image.at(35, 15, 0), 0);
}

TEST_F(ImagePageTest, NumbersAreWrittenWithoutExponents) {
    PDFImagePage page = pageOf(fourPixels(), {500, 5e6});
    page.mediaBox = PDFBox{-47.5, 2'499'600, 547.5, 2'500'400};
    ASSERT_TRUE(writeImagePage(page, target));
    EXPECT_EQ(complaintsAbout(target), "");
    page.imageSize = {1e-7, 1e-7};
    ASSERT_TRUE(writeImagePage(page, target));
    EXPECT_EQ(complaintsAbout(target), "");
    EXPECT_EQ(readFile(target).find("e-"), std::string::npos);
}

TEST_F(ImagePageTest, AMaskLetsThePageShow) {
    const std::string masks = deflated(std::string("\0\xFF\xFF\0\0\0", 6));
    PDFImage mask = fourPixels();
    mask.data = masks;
    PDFImage image = fourPixels();
    image.softMask = &mask;
    ASSERT_TRUE(writeImagePage(pageOf(image, {40, 20}), target));
    EXPECT_EQ(complaintsAbout(target), "");
    const TestPixels seen = cropped(drawnPage(target), 10, 60, 40, 20);
    EXPECT_EQ(seen.at(5, 5, 0), 0);
    EXPECT_EQ(seen.at(35, 15, 0), 255); // black, but not there
}

TEST_F(ImagePageTest, AnInvertedImageIsSeenTheOtherWayRound) {
    PDFImage image = fourPixels();
    image.isInverted = true;
    ASSERT_TRUE(writeImagePage(pageOf(image, {40, 20}), target));
    EXPECT_EQ(cropped(drawnPage(target), 10, 60, 40, 20).at(5, 5, 0), 255);
}

TEST_F(ImagePageTest, ADrawingIsScaledToItsSize) {
    const std::string pdf = TestPDF("drawing", 2).setPageSize(0, 400, 300).bytes();
    ASSERT_TRUE(writeImagePage(pageOf(PDFDrawing{pdf}, {80, 60}), target));
    EXPECT_EQ(complaintsAbout(target), "");
    EXPECT_EQ(pageTexts(target), std::vector<std::string>{"Page 1 of drawing"});
}

/// A page whose resources have more entries, and what else the document shall hold.
RawPDF drawingWith(const std::string& resources) {
    return RawPDF()
        .object(1, "<< /Type /Catalog /Pages 2 0 R >>")
        .object(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
        .object(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 40 30] /Contents 4 0 R "
                   "/Resources << " +
                       resources + " >> >>")
        .stream(4, "/Filter /FlateDecode", deflated("1 0 0 rg 0 0 40 30 re f\n"));
}

// A worker that was taken over can answer with any of the following.
TEST_F(ImagePageTest, AChainOfReferencesInADrawingIsFollowedToItsEnd) {
    constexpr int last = 60'000;
    RawPDF pdf = drawingWith("/Properties << /X 10 0 R >>");
    for (int i = 10; i < last; ++i) {
        pdf.object(i, "<< /N " + std::to_string(i + 1) + " 0 R >>");
    }
    pdf.object(last, "(end)");
    const std::string bytes = pdf.bytes();
    ASSERT_TRUE(writeImagePage(pageOf(PDFDrawing{bytes}, {80, 60}), target));
    EXPECT_EQ(cropped(drawnPage(target), 10, 20, 80, 60).at(5, 5, 1), 0);
}

TEST_F(ImagePageTest, ADrawingOfMoreObjectsThanAnyNeedsIsRefused) {
    std::string many;
    for (int i = 0; i < 9'000'000; ++i) {
        many += "[]";
    }
    const std::string bytes =
        drawingWith("/Properties << /X 10 0 R >>").object(10, "[" + many + "]").bytes();
    const auto written = writeImagePage(pageOf(PDFDrawing{bytes}, {80, 60}), target);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().reason, "it consists of too many objects");
    EXPECT_TRUE(folder.names().empty());
}

TEST_F(ImagePageTest, ADrawingThatHasToBeUnpackedIsRefused) {
    for (const RawPDF& pdf : {PackedPDF().pdf(), PackedPDF().padding(1U << 20U).pdf()}) {
        const std::string bytes = pdf.bytes();
        EXPECT_FALSE(writeImagePage(pageOf(PDFDrawing{bytes}, {80, 60}), target));
    }
    EXPECT_TRUE(folder.names().empty());
}

TEST_F(ImagePageTest, ADamagedDrawingIsNotRepaired) {
    const std::string whole = drawingWith("").bytes();
    std::string moved = whole;
    moved.insert(whole.find("2 0 obj"), "      ");
    std::string withoutPage = whole;
    withoutPage.replace(withoutPage.find("/Kids [3"), 8, "/Kids [7");
    std::string withoutContents = whole;
    withoutContents.replace(withoutContents.find("/Contents 4"), 11, "/Contents 1");
    for (const std::string& bytes :
         {whole.substr(0, whole.size() / 2), moved, withoutPage, withoutContents}) {
        EXPECT_FALSE(writeImagePage(pageOf(PDFDrawing{bytes}, {80, 60}), target));
    }
    EXPECT_TRUE(folder.names().empty());
    EXPECT_TRUE(writeImagePage(pageOf(PDFDrawing{whole}, {80, 60}), target));
}

TEST_F(ImagePageTest, ADrawingStaysAsPackedAsItWas) {
    const std::string contents = deflated("1 0 0 rg 0 0 40 30 re f\n" + std::string(100'000, ' '));
    const std::string bytes = drawingWith("").stream(4, "/Filter /FlateDecode", contents).bytes();
    ASSERT_TRUE(writeImagePage(pageOf(PDFDrawing{bytes}, {80, 60}), target));
    EXPECT_EQ(complaintsAbout(target), "");
    EXPECT_NE(readFile(target).find(contents), std::string::npos);
}

TEST_F(ImagePageTest, WhatIsNoDrawingIsRefusedAndNothingIsWritten) {
    const auto written = writeImagePage(pageOf(PDFDrawing{rows}, {80, 60}), target);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().kind, PDFError::Kind::notPDF);
    const std::string empty = TestPDF("empty", 0).bytes();
    EXPECT_FALSE(writeImagePage(pageOf(PDFDrawing{empty}, {80, 60}), target));
    EXPECT_TRUE(folder.names().empty());
}

TEST_F(ImagePageTest, AFailedOrStoppedWriteLeavesTheOldFile) {
    writeFile(target, "old");
    std::stop_source stop;
    stop.request_stop();
    const auto stopped = writeImagePage(pageOf(fourPixels(), {40, 20}), target, stop.get_token());
    ASSERT_FALSE(stopped);
    EXPECT_EQ(stopped.error().kind, PDFError::Kind::cancelled);
    EXPECT_EQ(readFile(target), "old");
    const auto nowhere = writeImagePage(pageOf(fourPixels(), {40, 20}), folder / "gone" / "a.pdf");
    ASSERT_FALSE(nowhere);
    EXPECT_EQ(nowhere.error().kind, PDFError::Kind::cannotWrite);
}

} // namespace
} // namespace quillorn
