#include "tests/fakes/TestPDF.h"
#include "tests/platform/render/RenderTesting.h"

#include <cstddef>
#include <string>

namespace quillorn {
namespace {

using PagePictureTest = RenderTesting;

TEST_F(PagePictureTest, FillsTheFrameInThePagesProportions) {
    const Picture wide = drawn(requestOf(open(cornersPDF("/MediaBox [0 0 200 100]")), 0));

    ASSERT_EQ(stateOf(wide), "drawn");
    EXPECT_EQ(wide->width, 100U);
    EXPECT_EQ(wide->height, 50U);
    EXPECT_EQ(corners(wide), "red green blue yellow");
}

TEST_F(PagePictureTest, StandsAsThePageIsTurned) {
    const std::string box = "/MediaBox [0 0 200 100] ";
    start();

    const Picture right = drawn(requestOf(open(cornersPDF(box + "/Rotate 90")), 0));
    EXPECT_EQ(corners(right), "blue red yellow green");
    EXPECT_EQ(right->width, 50U);
    EXPECT_EQ(right->height, 100U);
    EXPECT_EQ(corners(drawn(requestOf(open(cornersPDF(box + "/Rotate 180")), 0))),
              "yellow blue green red");
    EXPECT_EQ(corners(drawn(requestOf(open(cornersPDF(box + "/Rotate -90")), 0))),
              "green yellow red blue");
}

TEST_F(PagePictureTest, IsTurnedFurtherByWhatTheUserAdded) {
    const Source source = open(cornersPDF("/MediaBox [0 0 200 100] /Rotate 90"));

    EXPECT_EQ(corners(drawn(requestOf(source, 0, 100, 90))), "yellow blue green red");
    EXPECT_EQ(corners(drawn(requestOf(source, 0, 100, 270))), "red green blue yellow");
}

TEST_F(PagePictureTest, RotationsBeyondAFullTurnAreTheSamePicture) {
    const Source source = open(cornersPDF("/MediaBox [0 0 200 100]"));
    const auto at = [&source](int degrees) {
        return ThumbnailRequest::of(PDFPageReference{source, 0, degrees, {}}, 100, 100);
    };

    EXPECT_EQ(at(450), at(90));
    EXPECT_EQ(at(-90), at(270));
    EXPECT_EQ(at(-720), at(0));
    EXPECT_EQ(at(100), at(90));
}

TEST_F(PagePictureTest, ShowsWhatTheCropBoxShows) {
    const Picture upperRight =
        drawn(requestOf(open(cornersPDF("/MediaBox [0 0 200 100] /CropBox [100 50 200 100]")), 0));

    EXPECT_EQ(corners(upperRight), "green green green green");
    EXPECT_EQ(upperRight->width, 100U);
    EXPECT_EQ(upperRight->height, 50U);
}

TEST_F(PagePictureTest, ABoxAwayFromTheOriginIsNoShift) {
    const Picture picture = drawn(
        requestOf(open(cornersPDF("/MediaBox [-100 -50 200 100] /CropBox [0 0 200 100]")), 0));

    EXPECT_EQ(corners(picture), "red green blue yellow");
}

TEST_F(PagePictureTest, ACropBoxOutsideThePageCountsAsThePage) {
    start();
    for (const std::string crop : {"[500 500 600 600]", "[10 10 10 90]", "[0 0 0 0]"}) {
        const Picture picture =
            drawn(requestOf(open(cornersPDF("/MediaBox [0 0 200 100] /CropBox " + crop)), 0));

        EXPECT_EQ(corners(picture), "red green blue yellow") << crop;
    }
}

TEST_F(PagePictureTest, AVeryThinPageIsOnePixelThin) {
    const Picture picture = drawn(requestOf(open(cornersPDF("/MediaBox [0 0 20000 1]")), 0));

    ASSERT_EQ(stateOf(picture), "drawn");
    EXPECT_EQ(picture->width, 100U);
    EXPECT_EQ(picture->height, 1U);
}

TEST_F(PagePictureTest, TextIsDrawnInAFontOfTheSystem) {
    const auto path = tests::TestPDF("words", 1).writeTo(m_folder / "words.pdf");

    const Picture picture = drawn(requestOf(open(path), 0, 800));

    ASSERT_EQ(stateOf(picture), "drawn");
    const auto dark = std::ranges::count_if(
        picture->pixels, [](std::uint32_t pixel) { return (pixel & 0xffU) < 100; });
    EXPECT_GT(dark, 100);
    EXPECT_EQ(colourAt(picture, 990, 990), "white");
}

TEST_F(PagePictureTest, FormFieldsAreSeen) {
    tests::RawPDF pdf = pagePDF("/MediaBox [0 0 200 100] /Annots [5 0 R]", "");
    pdf.object(5, "<< /Type /Annot /Subtype /Widget /FT /Tx /T (name) /F 4 /Rect [0 0 200 100] "
                  "/AP << /N 6 0 R >> >>")
        .stream(6, "/Type /XObject /Subtype /Form /BBox [0 0 200 100]",
                "0 1 0 rg 0 0 200 100 re f");

    EXPECT_EQ(corners(drawn(requestOf(open(pdf), 0))), "green green green green");
}

TEST_F(PagePictureTest, LockedDocumentsAreDrawnWithTheirPassword) {
    const auto plain = cornersPDF("/MediaBox [0 0 200 100]").writeTo(m_folder / "plain.pdf");
    const auto locked = tests::encryptPDF(plain, m_folder / "locked.pdf", {"böses", "owner", {}});
    const Source source = open(locked);
    start();

    EXPECT_EQ(stateOf(drawn(requestOf(source, 0))), "undrawable");
    for (const std::string password : {"böses", "owner"}) {
        const auto unlocked = source->unlocked(password);
        ASSERT_TRUE(unlocked.has_value());
        EXPECT_EQ(corners(drawn(requestOf(*unlocked, 0))), "red green blue yellow") << password;
    }
}

TEST_F(PagePictureTest, AFileThatIsGoneFromItsFolderIsStillDrawn) {
    const auto path = cornersPDF("/MediaBox [0 0 200 100]").writeTo(m_folder / "gone.pdf");
    const Source source = open(path);
    std::filesystem::remove(path);

    EXPECT_EQ(corners(drawn(requestOf(source, 0))), "red green blue yellow");
}

TEST_F(PagePictureTest, AFileThatWasRewrittenIsNotMistakenForWhatItWas) {
    const auto path = cornersPDF("/MediaBox [0 0 200 100]").writeTo(m_folder / "changed.pdf");
    const Source source = open(path);
    cornersPDF("/MediaBox [0 0 100 50] /Rotate 90").writeTo(path);

    EXPECT_EQ(stateOf(drawn(requestOf(source, 0))), "undrawable");
}

TEST_F(PagePictureTest, APageThatIsNotThereIsUndrawable) {
    const Source source = open(cornersPDF("/MediaBox [0 0 200 100]"));

    EXPECT_EQ(stateOf(drawn(requestOf(source, 7))), "undrawable");
    EXPECT_EQ(stateOf(drawn(requestOf(source, 0, 0))), "undrawable");
    EXPECT_EQ(stateOf(drawn(requestOf(source, 0, 1'000'000))), "undrawable");
    EXPECT_EQ(stateOf(drawn(requestOf(source, 0))), "drawn");
}

} // namespace
} // namespace quillorn
