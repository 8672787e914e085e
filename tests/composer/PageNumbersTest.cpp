#include "composer/PageNumbers.h"

#include "platform/pdf/PDFSource.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using Texts = std::vector<std::string>;

class PageNumbersTest : public testing::Test {
protected:
    [[nodiscard]] PDFBox mediaBox(std::size_t page) const {
        const auto source = PDFSource::open(file);
        return source ? (*source)->geometry(page)->mediaBox : PDFBox();
    }

    const tests::TemporaryFolder folder;
    const std::filesystem::path file = folder / "a.pdf";
};

TEST_F(PageNumbersTest, AllPagesGetTheBoxOfTheSecondAndNothingBesidesTheirContents) {
    tests::TestPDF("a", 3)
        .setPageSize(0, 300, 300)
        .setPageSize(1, 400, 500)
        .setRotation(2, 90)
        .addPageEntry(0, "/CropBox [0 0 10 10]")
        .addOutlineEntry("entry", 0)
        .writeTo(file);
    ASSERT_TRUE(drawPageNumber(file).has_value());
    EXPECT_EQ(tests::pageTexts(file), (Texts{"Page 1 of a", "Page 2 of a", "Page 3 of a"}))
        << "and no label";
    EXPECT_EQ(tests::pageRotations(file), (std::vector<int>{0, 0, 0}));
    for (const std::size_t page : {0U, 1U, 2U}) {
        EXPECT_EQ(mediaBox(page), (PDFBox{0, 0, 400, 500}));
    }
    EXPECT_EQ(tests::complaintsAbout(file), "");
    EXPECT_EQ(tests::readFile(file).find("/Outlines"), std::string::npos);
}

TEST_F(PageNumbersTest, ASinglePageKeepsItsBox) {
    tests::TestPDF("a", 1).setPageSize(0, 300, 310).writeTo(file);
    ASSERT_TRUE(drawPageNumber(file).has_value());
    EXPECT_EQ(mediaBox(0), (PDFBox{0, 0, 300, 310}));
    EXPECT_EQ(tests::pageTexts(file), Texts{"Page 1 of a"});
}

TEST_F(PageNumbersTest, WhatIsNoPDFOrLockedStaysAsItIs) {
    tests::writeFile(file, "text");
    EXPECT_FALSE(drawPageNumber(file).has_value());
    EXPECT_EQ(tests::readFile(file), "text");
    tests::encryptPDF(tests::TestPDF("b", 1).writeTo(folder / "b.pdf"), file,
                      {"user", "owner", {}});
    const std::string before = tests::readFile(file);
    EXPECT_FALSE(drawPageNumber(file).has_value());
    EXPECT_EQ(tests::readFile(file), before);
}

TEST_F(PageNumbersTest, TheLabelIsDrawnOnAWhiteField) {
    std::string label = "\n";
    drawQuartzRomanText(label, 7);
    const std::string font = "/Resources << /Font << /Times-Roman << /Type /Font /Subtype /Type1 "
                             "/BaseFont /Times-Roman /Encoding /MacRomanEncoding >> >> >>";
    tests::TestPDF pdf("a", 1);
    const std::size_t content = pdf.addObject("<< /Length " + std::to_string(label.size()) +
                                              " >>\nstream" + label + "endstream");
    pdf.addPageEntry(0, font + " /Contents " + tests::referenceTo(content));
    pdf.writeTo(file);
    EXPECT_EQ(tests::pageTexts(file), Texts{"Page 7"});
    EXPECT_EQ(getTheRGBColorSpace(), "/DeviceRGB");
    EXPECT_NE(label.find("20 20 54 18 re B"), std::string::npos);
    EXPECT_LT(label.find("re B"), label.find("Page 7"));
}

} // namespace
} // namespace quillorn
