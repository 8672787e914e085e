#include "platform/pdf/PDFGeometry.h"
#include "tests/platform/pdf/SourceTesting.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using tests::RawPDF;

class PageGeometry : public SourceTesting {
protected:
    /// Of a page with these entries.
    PDFPageGeometry of(const std::string& entries) {
        const Source source = open(RawPDF()
                                       .object(1, catalogBody)
                                       .object(2, nodeBody("3 0 R", 1))
                                       .object(3, "<< /Type /Page /Parent 2 0 R " + entries + ">>")
                                       .object(4, "[0 0 400 500]"));
        if (!source) {
            return {};
        }
        const auto geometry = source->geometry(0);
        EXPECT_TRUE(geometry.has_value());
        return geometry.value_or(PDFPageGeometry{});
    }
};

const PDFBox letter{0, 0, 612, 792};

TEST_F(PageGeometry, HasTheDefaultsOfTheStandard) {
    const PDFPageGeometry plain = of("");
    EXPECT_EQ(plain.mediaBox, letter);
    EXPECT_EQ(plain.cropBox, letter);
    EXPECT_EQ(plain.bleedBox, letter);
    EXPECT_EQ(plain.trimBox, letter);
    EXPECT_EQ(plain.artBox, letter);
    EXPECT_EQ(plain.rotation, 0);
    EXPECT_EQ(plain.userUnit, 1);

    const PDFPageGeometry cropped = of("/MediaBox 4 0 R /CropBox [10 20 300 400]");
    EXPECT_EQ(cropped.mediaBox, (PDFBox{0, 0, 400, 500}));
    const PDFBox crop{10, 20, 300, 400};
    EXPECT_EQ(cropped.cropBox, crop);
    EXPECT_EQ(cropped.bleedBox, crop);
    EXPECT_EQ(cropped.trimBox, crop);
    EXPECT_EQ(cropped.artBox, crop);
}

TEST_F(PageGeometry, TellsEachBoxAsStated) {
    const PDFPageGeometry page = of("/MediaBox [-10 -20.5 400 500] /CropBox [1 1 390 390] "
                                    "/BleedBox [2 2 380 380] /TrimBox [3 3 370 370] "
                                    "/ArtBox [4 4 360 360] /Rotate 270 /UserUnit 2.5");
    EXPECT_EQ(page.mediaBox, (PDFBox{-10, -20.5, 400, 500}));
    EXPECT_EQ(page.cropBox, (PDFBox{1, 1, 390, 390}));
    EXPECT_EQ(page.bleedBox, (PDFBox{2, 2, 380, 380}));
    EXPECT_EQ(page.trimBox, (PDFBox{3, 3, 370, 370}));
    EXPECT_EQ(page.artBox, (PDFBox{4, 4, 360, 360}));
    EXPECT_EQ(page.rotation, 270);
    EXPECT_EQ(page.userUnit, 2.5);
}

TEST_F(PageGeometry, PutsCornersInOrder) {
    EXPECT_EQ(of("/MediaBox [400 500 100 200]").mediaBox, (PDFBox{100, 200, 400, 500}));
    EXPECT_EQ(of("/MediaBox [100 500 400 200]").mediaBox, (PDFBox{100, 200, 400, 500}));
}

TEST_F(PageGeometry, TakesNoBoxThatMakesNoSense) {
    for (const char* box : {"[0 0 100]", "[]", "[0 0 (a) 100]", "[0 0 null 100]", "(box)", "<< >>",
                            "99 0 R", "[0 0 0 0]", "[10 10 10 500]", "[10 300 500 300]"}) {
        EXPECT_EQ(of(std::string("/MediaBox ") + box).mediaBox, letter) << box;
        EXPECT_EQ(of(std::string("/MediaBox 4 0 R /CropBox ") + box).cropBox,
                  (PDFBox{0, 0, 400, 500}))
            << box;
        EXPECT_EQ(of(std::string("/CropBox [1 1 9 9] /TrimBox ") + box).trimBox,
                  (PDFBox{1, 1, 9, 9}))
            << box;
    }
    EXPECT_EQ(of("/MediaBox [0 0 100 200 300 400]").mediaBox, (PDFBox{0, 0, 100, 200}));
}

TEST_F(PageGeometry, KeepsAbsurdNumbersFinite) {
    const std::string huge(400, '9');
    const PDFPageGeometry page =
        of("/MediaBox [-" + huge + ".0 0 " + huge + ".0 100] /UserUnit " + huge + ".0");
    EXPECT_LE(page.mediaBox.width(), 1e10);
    EXPECT_LE(page.displaySize().width, 1e20);
    EXPECT_LE(page.userUnit, 1e10);
}

TEST_F(PageGeometry, TakesNoUserUnitThatMakesNoSense) {
    EXPECT_EQ(of("/UserUnit 0").userUnit, 1);
    EXPECT_EQ(of("/UserUnit -3").userUnit, 1);
    EXPECT_EQ(of("/UserUnit (2)").userUnit, 1);
}

TEST_F(PageGeometry, TellsRotationsAsStatedWithinOneTurn) {
    EXPECT_EQ(of("/Rotate 90").rotation, 90);
    EXPECT_EQ(of("/Rotate -90").rotation, -90);
    EXPECT_EQ(of("/Rotate 450").rotation, 90);
    EXPECT_EQ(of("/Rotate 3600").rotation, 0);
    EXPECT_EQ(of("/Rotate 45").rotation, 45);
    EXPECT_EQ(of("/Rotate (90)").rotation, 0);
    EXPECT_EQ(of("/Rotate 9223372036854775807").rotation, 7);
}

TEST(DisplaySize, IsTheVisiblePartTurned) {
    PDFPageGeometry page;
    page.mediaBox = page.cropBox = PDFBox{0, 0, 400, 500};
    EXPECT_EQ(page.displaySize(), (PDFSize{400, 500}));
    page.rotation = 90;
    EXPECT_EQ(page.displaySize(), (PDFSize{500, 400}));
    page.rotation = -90;
    EXPECT_EQ(page.displaySize(), (PDFSize{500, 400}));
    page.rotation = 540;
    EXPECT_EQ(page.displaySize(), (PDFSize{400, 500}));
}

TEST(DisplaySize, ClipsTheCropBoxToTheMediaBox) {
    PDFPageGeometry page;
    page.mediaBox = PDFBox{0, 0, 400, 500};
    page.cropBox = PDFBox{100, 100, 1000, 200};
    EXPECT_EQ(page.displaySize(), (PDFSize{300, 100}));
    page.cropBox = PDFBox{-50, -50, 50, 50};
    EXPECT_EQ(page.displaySize(), (PDFSize{50, 50}));
}

TEST(DisplaySize, IgnoresACropBoxThatMissesTheMediaBox) {
    PDFPageGeometry page;
    page.mediaBox = PDFBox{0, 0, 400, 500};
    page.cropBox = PDFBox{1000, 1000, 2000, 2000};
    EXPECT_EQ(page.displaySize(), (PDFSize{400, 500}));
    page.cropBox = PDFBox{400, 0, 500, 500}; // touches the edge
    EXPECT_EQ(page.displaySize(), (PDFSize{400, 500}));
}

TEST(DisplaySize, IsMeasuredInPointsWhateverTheUserUnit) {
    PDFPageGeometry page;
    page.mediaBox = page.cropBox = PDFBox{0, 0, 400, 500};
    page.userUnit = 2;
    page.rotation = 90;
    EXPECT_EQ(page.displaySize(), (PDFSize{1000, 800}));
}

} // namespace
} // namespace quillorn
