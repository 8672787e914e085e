#include "platform/render/worker/JPEGReduction.h"
#include "tests/fakes/TestImage.h"
#include "tests/platform/render/RenderTesting.h"

#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>

namespace quillorn {
namespace {

/// A page of one JPEG, as scanners make it, is drawn in a way of its own; every test compares it
/// with what is drawn when an operator without effect keeps it from that.
class ScanPictureTest : public RenderTesting {
protected:
    static constexpr double usual = 3;    ///< levels, on average
    static constexpr int far = 40;        ///< levels
    static constexpr double edges = 0.05; ///< of the pixels, which may be far off: edges of the
                                          ///< image and in it come out up to a pixel apart

    struct Scan {
        std::string jpeg = tests::jpegBytes(tests::testPicture(800, 400));
        std::string imageEntries = "/ColorSpace /DeviceRGB";
        std::string place = "200 0 0 100 0 0 cm";
        std::string pageEntries = "/MediaBox [0 0 200 100]";
        std::string textBehind; ///< after the image
        std::string widthAndHeight = "/Width 800 /Height 400";
    };

    Picture drawnScan(const Scan& scan, const std::string& idle, std::uint32_t side, int rotation) {
        tests::RawPDF pdf =
            pagePDF(scan.pageEntries + " /Resources << /XObject << /Scan 5 0 R >> >>",
                    idle + " q " + scan.place + " /Scan Do Q " + scan.textBehind);
        pdf.stream(5,
                   "/Type /XObject /Subtype /Image /BitsPerComponent 8 /Filter /DCTDecode " +
                       scan.widthAndHeight + " " + scan.imageEntries,
                   scan.jpeg);
        return drawn(requestOf(open(pdf), 0, side, rotation));
    }

    void expectSame(const Scan& scan, std::uint32_t side = 100, int rotation = 0) {
        const Picture quick = drawnScan(scan, "", side, rotation);
        const Picture slow = drawnScan(scan, "0 0 0 rg", side, rotation);
        ASSERT_EQ(stateOf(quick), "drawn");
        ASSERT_EQ(stateOf(slow), "drawn");
        ASSERT_EQ(quick->width, slow->width);
        ASSERT_EQ(quick->height, slow->height);
        double farOff = 0;
        double sum = 0;
        for (std::size_t i = 0; i < quick->pixels.size(); ++i) {
            for (const unsigned shift : {0U, 8U, 16U}) {
                const int one = static_cast<int>(quick->pixels[i] >> shift & 0xffU);
                const int other = static_cast<int>(slow->pixels[i] >> shift & 0xffU);
                farOff += std::abs(one - other) > far ? 1 : 0;
                sum += std::abs(one - other);
            }
        }
        const auto samples = static_cast<double>(quick->pixels.size() * 3);
        EXPECT_LE(farOff / samples, edges);
        EXPECT_LE(sum / samples, usual);
    }
};

TEST_F(ScanPictureTest, LooksAsDrawnInTheUsualWay) {
    expectSame({});
    expectSame({}, 300);
    expectSame({}, 1000);
}

TEST_F(ScanPictureTest, StandsAsThePageIsTurned) {
    for (const int rotation : {90, 180, 270}) {
        expectSame({}, 100, rotation);
        Scan turned;
        turned.pageEntries += " /Rotate " + std::to_string(rotation);
        expectSame(turned);
    }
}

TEST_F(ScanPictureTest, ImagesMayBeMirroredAndTurnedThemselves) {
    for (const std::string place :
         {"-200 0 0 100 200 0 cm", "200 0 0 -100 0 100 cm", "0 100 -200 0 200 0 cm",
          "0 -100 200 0 0 100 cm", "0 100 200 0 0 0 cm", "0 -100 -200 0 200 100 cm"}) {
        Scan scan;
        scan.place = place;
        expectSame(scan);
    }
}

TEST_F(ScanPictureTest, TheImageMayLeaveAMarginAndReachOverTheEdge) {
    Scan scan;
    scan.place = "1 0 0 1 30 20 cm 100 0 0 50 0 0 cm";
    expectSame(scan);
    scan.place = "300 0 0 150 -50 -20 cm";
    expectSame(scan);
    scan.pageEntries = "/MediaBox [-20 -10 180 90] /CropBox [20 10 120 60]";
    expectSame(scan);
}

TEST_F(ScanPictureTest, AnImageThatLeansIsDrawnLeaning) {
    Scan scan;
    scan.place = "150 30 -30 80 40 0 cm";
    expectSame(scan);
}

TEST_F(ScanPictureTest, GreyInvertedAndProgressiveImagesHaveTheirColours) {
    Scan grey;
    grey.jpeg = tests::jpegBytes(tests::greyTestPicture(800, 400));
    grey.imageEntries = "/ColorSpace /DeviceGray";
    expectSame(grey);
    Scan inverted;
    inverted.imageEntries += " /Decode [1 0 1 0 1 0]";
    expectSame(inverted);
    Scan progressive;
    progressive.jpeg = tests::jpegBytes(tests::testPicture(800, 400), {.isProgressive = true});
    expectSame(progressive);
    Scan calibrated;
    calibrated.imageEntries = "/ColorSpace [/CalRGB << /WhitePoint [0.9505 1 1.089] "
                              "/Gamma [1.2 1.2 1.2] >>]";
    expectSame(calibrated);
}

TEST_F(ScanPictureTest, InvisibleTextStaysInvisibleAndVisibleTextIsSeen) {
    Scan scan;
    scan.textBehind = "BT 3 Tr /Helvetica 40 Tf 10 30 Td (words) Tj ET";
    expectSame(scan);
    scan.textBehind = "BT 3 Tr ET 0 0 1 rg 0 0 100 100 re f";
    const Picture covered = drawnScan(scan, "", 100, 0);
    EXPECT_EQ(colourAt(covered, 100, 500), "blue");
}

TEST_F(ScanPictureTest, WhatCoversTheImageIsSeen) {
    Scan scan;
    scan.pageEntries += " /Annots [6 0 R]";
    tests::RawPDF pdf = pagePDF(scan.pageEntries + " /Resources << /XObject << /Scan 5 0 R >> >>",
                                "q 200 0 0 100 0 0 cm /Scan Do Q");
    pdf.stream(5,
               "/Type /XObject /Subtype /Image /BitsPerComponent 8 /Filter /DCTDecode "
               "/Width 800 /Height 400 /ColorSpace /DeviceRGB",
               scan.jpeg)
        .object(6, "<< /Type /Annot /Subtype /Stamp /F 4 /Rect [0 0 200 100] /AP << /N 7 0 R >> >>")
        .stream(7, "/Type /XObject /Subtype /Form /BBox [0 0 200 100]",
                "0 1 0 rg 0 0 200 100 re f");

    EXPECT_EQ(corners(drawn(requestOf(open(pdf), 0))), "green green green green");
}

TEST_F(ScanPictureTest, DamagedImagesEndLikeAnyOther) {
    Scan cut;
    cut.jpeg.resize(cut.jpeg.size() / 2);
    EXPECT_EQ(stateOf(drawnScan(cut, "", 100, 0)), "drawn");
    Scan empty;
    empty.jpeg.clear();
    EXPECT_EQ(stateOf(drawnScan(empty, "", 100, 0)), "drawn");
    Scan wrong;
    wrong.imageEntries = "/ColorSpace /DeviceGray";
    EXPECT_EQ(stateOf(drawnScan(wrong, "", 100, 0)), "drawn");
}

TEST(JPEGReduction, KeepsAsManyPixelsAsAreAskedFor) {
    const std::string jpeg = tests::jpegBytes(tests::testPicture(800, 400));
    const auto decode = [&jpeg](std::size_t width, std::size_t height) {
        const auto raster = render::decodeReduced(
            std::span(reinterpret_cast<const unsigned char*>(jpeg.data()), jpeg.size()), width,
            height);
        return raster ? std::to_string(raster->width) + "x" + std::to_string(raster->height)
                      : "nothing";
    };

    EXPECT_EQ(decode(100, 50), "100x50");
    EXPECT_EQ(decode(101, 50), "200x100");
    EXPECT_EQ(decode(100, 120), "400x200");
    EXPECT_EQ(decode(401, 1), "800x400");
    EXPECT_EQ(decode(5000, 5000), "800x400");
}

TEST(JPEGReduction, RefusesWhatIsNoJPEGOfOneOrThreeColours) {
    const auto isDecoded = [](const std::string& data) {
        return render::decodeReduced(
                   std::span(reinterpret_cast<const unsigned char*>(data.data()), data.size()), 10,
                   10)
            .has_value();
    };

    EXPECT_FALSE(isDecoded(""));
    EXPECT_FALSE(isDecoded("no picture at all"));
    tests::TestPixels cmyk{16, 16, 4, std::vector<std::uint8_t>(1024, 7)};
    EXPECT_FALSE(isDecoded(tests::jpegBytes(cmyk)));
}

} // namespace
} // namespace quillorn
