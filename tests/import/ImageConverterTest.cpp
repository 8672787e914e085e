#include "import/ImageConverter.h"

#include "tests/fakes/PDFContents.h"
#include "tests/fakes/PDFImages.h"
#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestImage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn {
namespace {

using namespace tests;

constexpr std::size_t pageWidth = 595;
constexpr std::size_t pageHeight = 800;

class ImageConverterTest : public testing::Test {
protected:
    ImageConverterTest() {
        std::filesystem::create_directory(sources);
        std::filesystem::create_directory(cache);
    }
    /// The PDF that an image file of this content becomes; a failure and an empty path if none.
    std::string converted(const std::string& name, const std::string& bytes) const {
        writeFile(sources / name, bytes);
        return converted(sources / name);
    }
    [[nodiscard]] std::string converted(const std::filesystem::path& source) const {
        const auto pdf = converter().image2PDF(source.string());
        if (!pdf) {
            ADD_FAILURE() << source << ": " << pdf.error().reason;
            return {};
        }
        EXPECT_EQ(complaintsAbout(*pdf), "") << source;
        return *pdf;
    }
    [[nodiscard]] ImageConverter converter() const {
        return ImageConverter(ImageReader(QUILLORN_WORKER_FOLDER), cache);
    }
    static PDFBox mediaBoxOf(const std::string& pdf) {
        const auto document = PDFDocument::open(pdf);
        EXPECT_TRUE(document);
        EXPECT_EQ((*document)->pageCount(), 1U);
        return (*document)->pageAtIndex(0)->geometry()->mediaBox;
    }
    /// What is seen in the middle of the page. Odd widths and even heights lie on whole pixels.
    static TestPixels middle(const std::string& pdf, std::size_t width, std::size_t height) {
        return cropped(drawnPage(pdf), (pageWidth - width) / 2, (pageHeight - height) / 2, width,
                       height);
    }
    [[nodiscard]] std::filesystem::path picture() const {
        writeFile(sources / "picture.png", TestPNG(testPicture(61, 42)).bytes());
        return sources / "picture.png";
    }

    const TemporaryFolder folder;
    const std::filesystem::path sources = folder / "sources";
    const std::filesystem::path cache = folder / "cache";
};

void expectSize(PDFSize actual, double width, double height) {
    EXPECT_NEAR(actual.width, width, 1e-9);
    EXPECT_NEAR(actual.height, height, 1e-9);
}

TEST(DrawnImageSize, StaysBelowBothLimits) {
    expectSize(drawnImageSize({300, 400}), 300, 400);
    expectSize(drawnImageSize({449.9, 499.9}), 449.9, 499.9);
    expectSize(drawnImageSize({1, 1}), 1, 1);
}

TEST(DrawnImageSize, IsFiveHundredWideAtAndAboveEither) {
    expectSize(drawnImageSize({400, 600}), 500, 750);
    expectSize(drawnImageSize({460, 100}), 500, 100 * 500 / 460.0);
    expectSize(drawnImageSize({1000, 2000}), 500, 1000);
    expectSize(drawnImageSize({450, 10}), 500, 10 * 500 / 450.0);
    expectSize(drawnImageSize({100, 500}), 500, 2500);
    expectSize(drawnImageSize({1, 10000}), 500, 5'000'000);
}

TEST(SetImageSizeInPDF, PutsTheImageIntoTheMiddleOfTheFixedPage) {
    const auto boxFor = [](PDFSize size) {
        PDFImagePage page;
        setImageSizeInPDF(page, size);
        return page.mediaBox;
    };
    EXPECT_EQ(boxFor({300, 400}), (PDFBox{-147.5, -200, 447.5, 600}));
    EXPECT_EQ(boxFor({500, 750}), (PDFBox{-47.5, -25, 547.5, 775}));
    EXPECT_EQ(boxFor({500, 1000}), (PDFBox{-47.5, 100, 547.5, 900}));
}

TEST_F(ImageConverterTest, ASmallImageKeepsItsSize) {
    const std::string pdf = converted("a.png", TestPNG(testPicture(300, 400)).bytes());
    EXPECT_EQ(mediaBoxOf(pdf), (PDFBox{-147.5, -200, 447.5, 600}));
}

TEST_F(ImageConverterTest, AHighImageIsScaledToAWidth) {
    const std::string pdf = converted("a.png", TestPNG(testPicture(400, 600)).bytes());
    EXPECT_EQ(mediaBoxOf(pdf), (PDFBox{-47.5, -25, 547.5, 775}));
}

TEST_F(ImageConverterTest, AWideImageIsScaledToo) {
    const PDFBox box = mediaBoxOf(converted("a.png", TestPNG(testPicture(460, 100)).bytes()));
    EXPECT_NEAR(box.left, -47.5, 1e-4);
    EXPECT_NEAR(box.bottom, (800 - 100 * 500 / 460.0) / -2, 1e-4);
    EXPECT_NEAR(box.height(), 800, 1e-4);
}

TEST_F(ImageConverterTest, OfAnImageThatStaysTooHighTopAndBottomAreCutAlike) {
    // 100 rows of each colour: red at the top, blue at the bottom; black between.
    TestPixels pixels{100, 200, 3, {}};
    for (std::size_t y = 0; y < 200; ++y) {
        for (std::size_t x = 0; x < 100; ++x) {
            const bool isTop = y < 20;
            const bool isBottom = y >= 180;
            pixels.samples.insert(pixels.samples.end(),
                                  {static_cast<std::uint8_t>(isTop ? 255 : 0), 0,
                                   static_cast<std::uint8_t>(isBottom ? 255 : 0)});
        }
    }
    const std::string pdf = converted(
        "a.png",
        TestPNG(pixels).chunk("pHYs", bigEndian(283, 4) + bigEndian(283, 4) + "\1").bytes());
    // 1,001.6 x 2,003 points become 500 x 1,000: 100 points at each end are exactly the coloured.
    EXPECT_NEAR(mediaBoxOf(pdf).bottom, 100, 0.01);
    const TestPixels page = drawnPage(pdf);
    EXPECT_EQ(page.width, pageWidth);
    EXPECT_EQ(page.height, pageHeight);
    EXPECT_EQ(page.at(297, 2, 0), 0);
    EXPECT_EQ(page.at(297, 797, 2), 0);
    EXPECT_EQ(page.at(10, 400, 0), 255); // the margin
}

TEST_F(ImageConverterTest, DensityMakesTheSize) {
    TestJPEGOptions dense;
    dense.dotsPerInch = 300;
    const std::string pdf = converted("a.jpg", jpegBytes(testPicture(1250, 1500), dense));
    EXPECT_EQ(mediaBoxOf(pdf), (PDFBox{-147.5, -220, 447.5, 580})); // 300 x 360
}

TEST_F(ImageConverterTest, ThePDFHasTheNameOfTheImageAndReplacesAnEarlierOne) {
    writeFile(cache / "photo.jpg", "earlier");
    const std::string pdf = converted("photo.jpg", jpegBytes(testPicture(10, 10)));
    EXPECT_EQ(pdf, (cache / "photo.jpg").string());
    EXPECT_TRUE(readFile(pdf).starts_with("%PDF-"));
    EXPECT_THAT(namesIn(cache), testing::ElementsAre("photo.jpg"));
    EXPECT_THAT(namesIn(sources), testing::ElementsAre("photo.jpg"));
}

TEST_F(ImageConverterTest, ThePageOfAnImageIsCalledByItsName) {
    const std::string pdf = converted("photo.jpg", jpegBytes(testPicture(10, 10)));
    auto document = PDFIntake().open(pdf);
    ASSERT_TRUE(document);
    labelImportedPages(**document, pdf, false);
    EXPECT_EQ((*document)->pageAtIndex(0)->label(), "photo.jpg");
}

TEST_F(ImageConverterTest, JPEGDataGoesIntoThePDFByteForByte) {
    TestJPEGOptions progressive;
    progressive.isProgressive = true;
    const TestPixels cmyk{16, 16, 4, std::vector<std::uint8_t>(1024, 90)};
    for (const std::string& bytes :
         {jpegBytes(testPicture(64, 48)), jpegBytes(greyTestPicture(64, 48)),
          jpegBytes(testPicture(64, 48), progressive), jpegBytes(cmyk),
          withSegment(jpegBytes(testPicture(64, 48)), 0xE1, exifContent(6)) + "trailer"}) {
        EXPECT_EQ(imageFilesIn(converted("a.jpg", bytes)), std::vector<std::string>{bytes});
    }
}

TEST_F(ImageConverterTest, EachOrientationIsSeenUpright) {
    const TestPixels stored = testPicture(61, 43);
    TestJPEGOptions best;
    best.quality = 100;
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const std::string bytes =
            withSegment(jpegBytes(stored, best), 0xE1, exifContent(orientation));
        TestPixels seen = turned(stored, orientation);
        const TestPixels page = drawnPage(converted("a.jpg", bytes));
        // Both sizes are odd, so the image lies between two rows: the inner ones are compared.
        const TestPixels actual =
            cropped(page, (595 - seen.width) / 2 + 2, (800 - seen.height) / 2 + 2, seen.width - 4,
                    seen.height - 4);
        const TestPixels expected = cropped(seen, 2, 2, seen.width - 4, seen.height - 4);
        EXPECT_LT(differenceOf(actual, expected).average, 6) << orientation;
        for (int other = 1; other <= 8; ++other) {
            const TestPixels wrong = turned(stored, other);
            if (other != orientation && wrong.width == seen.width) {
                EXPECT_GT(
                    differenceOf(actual, cropped(wrong, 2, 2, wrong.width - 4, wrong.height - 4))
                        .average,
                    12)
                    << orientation << " looks like " << other;
            }
        }
    }
}

TEST_F(ImageConverterTest, CMYKIsSeenInItsColours) {
    // libjpeg hands the samples on as they are, so the inverted ones are given inverted.
    const auto filled = [](std::uint8_t c, std::uint8_t m, std::uint8_t y, std::uint8_t k) {
        TestPixels pixels{33, 32, 4, {}};
        for (int i = 0; i < 33 * 32; ++i) {
            pixels.samples.insert(pixels.samples.end(), {c, m, y, k});
        }
        return pixels;
    };
    TestJPEGOptions unmarked;
    unmarked.writesAdobeMarker = false;
    for (const std::string& bytes :
         {jpegBytes(filled(0, 255, 255, 255)), jpegBytes(filled(255, 0, 0, 0), unmarked)}) {
        const TestPixels seen = middle(converted("a.jpg", bytes), 33, 32);
        EXPECT_LT(seen.at(16, 16, 0), 60); // cyan
        EXPECT_GT(seen.at(16, 16, 2), 180);
    }
}

TEST_F(ImageConverterTest, ColoursStoredAsRGBAreSeenAsSuch) {
    TestJPEGOptions rgb;
    rgb.storesRGB = true;
    rgb.quality = 100;
    for (const bool writesMarker : {false, true}) {
        rgb.writesAdobeMarker = writesMarker;
        const TestPixels stored = testPicture(61, 42);
        const TestPixels seen = middle(converted("a.jpg", jpegBytes(stored, rgb)), 61, 42);
        EXPECT_LT(differenceOf(seen, stored).average, 4);
    }
}

TEST_F(ImageConverterTest, AProfileStaysWithItsImage) {
    const std::string part = std::string("ICC_PROFILE\0\1\1", 14) + hollowProfile("RGB ");
    const std::string jpeg =
        converted("a.jpg", withSegment(jpegBytes(testPicture(8, 8)), 0xE2, part));
    EXPECT_NE(readFile(jpeg).find("/ICCBased"), std::string::npos);
    const std::string png = converted(
        "b.png", TestPNG(testPicture(8, 8))
                     .chunk("iCCP", std::string("p\0\0", 3) + deflated(hollowProfile("RGB ")))
                     .bytes());
    EXPECT_NE(readFile(png).find("/ICCBased"), std::string::npos);
    const std::string wrong = std::string("ICC_PROFILE\0\1\1", 14) + hollowProfile("CMYK");
    EXPECT_EQ(readFile(converted("c.jpg", withSegment(jpegBytes(testPicture(8, 8)), 0xE2, wrong)))
                  .find("/ICCBased"),
              std::string::npos);
}

TEST_F(ImageConverterTest, PNGPixelsAreSeenExactly) {
    const TestPixels colours = testPicture(61, 42);
    EXPECT_EQ(middle(converted("a.png", TestPNG(colours).bytes()), 61, 42), colours);
    std::string indexes;
    for (int i = 0; i < 61 * 42; ++i) {
        indexes += static_cast<char>(i % 3);
    }
    const std::string palette = converted(
        "b.png", TestPNG(61, 42, 8, 3, indexes).chunk("PLTE", "\xFF\1\2\3\xFF\4\5\6\xFF").bytes());
    const TestPixels seen = middle(palette, 61, 42);
    EXPECT_EQ(seen.at(0, 0, 0), 255);
    EXPECT_EQ(seen.at(1, 0, 1), 255);
    EXPECT_EQ(seen.at(2, 0, 2), 255);
    EXPECT_THAT(imageListOf(palette).at(0), testing::Contains("index"));
}

TEST_F(ImageConverterTest, APNGIsTakenOverAsItIs) {
    const std::string bytes = TestPNG(testPicture(300, 200)).bytes();
    const std::string pdf = readFile(converted("a.png", bytes));
    const std::size_t data = bytes.find("IDAT") + 4;
    const std::size_t size = bytes.find("IEND") - 8 - data;
    EXPECT_NE(pdf.find(bytes.substr(data, size)), std::string::npos);
}

TEST_F(ImageConverterTest, SixteenBitsStaySixteenBits) {
    std::string rows;
    for (int i = 0; i < 61 * 42; ++i) {
        rows += bigEndian(static_cast<std::uint64_t>(i) * 25, 2);
    }
    const std::string png = converted("a.png", TestPNG(61, 42, 16, 0, rows).bytes());
    convertImage(sources / "a.png", sources / "b.tif");
    for (const std::string& pdf : {png, converted(sources / "b.tif")}) {
        const auto row = imageListOf(pdf).at(0);
        EXPECT_EQ(row.at(5), "gray");
        EXPECT_EQ(row.at(7), "16");
        EXPECT_NEAR(middle(pdf, 61, 42).at(60, 41, 0), (61 * 42 - 1) * 25 / 257.0, 1);
    }
}

TEST_F(ImageConverterTest, AlphaLetsThePageShow) {
    TestPixels pixels{61, 42, 4, {}};
    for (std::size_t i = 0; i < std::size_t{61} * 42; ++i) {
        const auto alpha = static_cast<std::uint8_t>(i % 61 < 20 ? 0 : i % 61 < 40 ? 128 : 255);
        pixels.samples.insert(pixels.samples.end(), {200, 0, 0, alpha});
    }
    const std::string png = converted("a.png", TestPNG(pixels).bytes());
    for (const std::string name : {"b.tif", "c.webp", "d.psd", "e.tga"}) {
        convertImage(sources / "a.png", sources / name,
                     {"-define", "webp:lossless=true", "-define", "webp:exact=true"});
    }
    for (const std::string& pdf : {png, converted(sources / "b.tif"), converted(sources / "c.webp"),
                                   converted(sources / "d.psd"), converted(sources / "e.tga")}) {
        const TestPixels seen = middle(pdf, 61, 42);
        EXPECT_EQ(seen.at(5, 20, 1), 255) << pdf;
        EXPECT_NEAR(seen.at(30, 20, 1), 127, 2) << pdf;
        EXPECT_EQ(seen.at(50, 20, 1), 0) << pdf;
        EXPECT_NEAR(seen.at(50, 20, 0), 200, 1) << pdf;
    }
}

struct FormatCase {
    std::string name;
    double tolerance = 0; ///< average difference a sample
    std::vector<std::string> options{};
};

TEST_F(ImageConverterTest, EachFormatIsSeenAsItIs) {
    const std::vector<FormatCase> cases = {
        {"a.tif"},
        {"zip.tiff", 0, {"-compress", "zip"}},
        {"a.bmp"},
        // Told to, ImageMagick writes the first row on top; else it only writes that it does not.
        {"a.tga", 0, {"-orient", "TopLeft"}},
        {"rle.tga", 0, {"-orient", "TopLeft", "-compress", "rle"}},
        {"a.psd"},
        {"a.webp", 0, {"-define", "webp:lossless=true"}},
        {"a.jp2", 1, {"-quality", "100"}},
        {"a.j2k", 1, {"-quality", "100"}},
        {"a.jpg", 4, {"-quality", "100"}},
        {"a.jpeg", 4, {"-quality", "100", "-interlace", "Plane"}},
        {"a.gif", 8},
        {"a.heic", 10, {"-quality", "95"}},
        {"a.avif", 10, {"-quality", "95"}},
        {"interlaced.png", 0, {"-interlace", "PNG"}},
        {"cmyk.tif", 25, {"-colorspace", "CMYK"}},
        {"lab.tif", 3, {"-colorspace", "Lab"}},
        {"a.ico", 0},
    };
    const TestPixels expected = testPicture(61, 42);
    for (const FormatCase& one : cases) {
        convertImage(picture(), sources / one.name, one.options);
        const std::string pdf = converted(sources / one.name);
        ASSERT_FALSE(pdf.empty()) << one.name;
        EXPECT_LE(differenceOf(middle(pdf, 61, 42), expected).average, one.tolerance) << one.name;
    }
}

TEST_F(ImageConverterTest, AnIconIsItsLargestPicture) {
    writeFile(sources / "small.png", TestPNG(testPicture(15, 16)).bytes());
    writeFile(sources / "large.png", TestPNG(testPicture(47, 48)).bytes());
    convertImage(sources / "small.png", sources / "a.ico", {(sources / "large.png").string()});
    EXPECT_EQ(middle(converted(sources / "a.ico"), 47, 48), testPicture(47, 48));
    const std::string large = readFile(sources / "large.png");
    const std::string small = readFile(sources / "small.png");
    const std::string entries = "icp4" + bigEndian(small.size() + 8, 4) + small + "icp6" +
                                bigEndian(large.size() + 8, 4) + large;
    const std::string icns = "icns" + bigEndian(entries.size() + 8, 4) + entries;
    EXPECT_EQ(middle(converted("b.icns", icns), 47, 48), testPicture(47, 48));
}

TEST_F(ImageConverterTest, OfSeveralPicturesTheFirstIsThePage) {
    const std::string first = picture().string();
    const std::string other = (sources / "other.png").string();
    writeFile(other, TestPNG(greyTestPicture(99, 98)).bytes());
    convertImage(first, sources / "a.tif", {other});
    EXPECT_EQ(middle(converted(sources / "a.tif"), 61, 42), testPicture(61, 42));
    convertImage(first, sources / "a.gif", {other});
    EXPECT_LT(
        differenceOf(middle(converted(sources / "a.gif"), 61, 42), testPicture(61, 42)).average, 8);
}

TEST_F(ImageConverterTest, ATIFFAndAWebPAreTurnedAsTheySay) {
    for (const int orientation : {3, 6, 7}) {
        const std::string number = std::to_string(orientation);
        const char* const names[] = {"", "", "", "BottomRight", "", "", "RightTop", "RightBottom"};
        convertImage(picture(), sources / "a.tif", {"-orient", names[orientation]});
        const TestPixels expected = turned(testPicture(61, 42), orientation);
        const TestPixels page = drawnPage(converted(sources / "a.tif"));
        const TestPixels seen =
            cropped(page, (595 - expected.width) / 2 + 2, (800 - expected.height) / 2 + 2,
                    expected.width - 4, expected.height - 4);
        EXPECT_LT(
            differenceOf(seen, cropped(expected, 2, 2, expected.width - 4, expected.height - 4))
                .average,
            5)
            << number;
    }
}

TEST_F(ImageConverterTest, ABilevelPageIsCodedLikeAFax) {
    // Strokes on white, as a scanner makes them.
    std::string rows(std::size_t{200} * 2000, '\xFF');
    for (std::size_t i = 0; i < rows.size(); i += 97) {
        rows[i] = '\xC3';
    }
    writeFile(sources / "a.png", TestPNG(1600, 2000, 1, 0, rows).bytes());
    convertImage(sources / "a.png", sources / "fax.tif", {"-compress", "Group4"});
    convertImage(sources / "a.png", sources / "plain.tif", {"-compress", "None"});
    for (const std::string name : {"fax.tif", "plain.tif"}) {
        const std::string pdf = converted(sources / name);
        EXPECT_EQ(imageListOf(pdf).at(0).at(7), "1") << name;
        EXPECT_LE(std::filesystem::file_size(pdf),
                  std::filesystem::file_size(sources / "fax.tif") + 1500)
            << name;
        EXPECT_EQ(drawnPage(pdf), drawnPage(converted(sources / "a.png"))) << name;
    }
}

TEST_F(ImageConverterTest, ADrawingStaysADrawing) {
    const std::string pdf = converted(
        "a.svg", "<svg xmlns='http://www.w3.org/2000/svg' width='61' height='42'>"
                 "<rect width='61' height='42' fill='#ff0000'/>"
                 "<rect x='10' y='10' width='20' height='20' fill='#0000ff'/>"
                 "<text x='5' y='40' font-family='DejaVu Sans' font-size='12'>words</text></svg>");
    EXPECT_TRUE(imageListOf(pdf).empty());
    const TestPixels seen = middle(pdf, 61, 42);
    EXPECT_EQ(seen.at(5, 5, 0), 255);
    EXPECT_EQ(seen.at(20, 20, 2), 255);
    EXPECT_EQ(seen.at(20, 20, 0), 0);
    EXPECT_EQ(seen.at(45, 20, 0), 255);
    // Letters are outlines: black between the red of the line that they stand on.
    const TestPixels line = cropped(seen, 5, 33, 40, 7);
    double red = 0;
    for (std::size_t x = 0; x < line.width; ++x) {
        red += line.at(x, 3, 0);
    }
    EXPECT_LT(red / static_cast<double>(line.width), 230);
}

/// Red, with a blue square of 10 in its upper left corner; 100 x 50 in its own units.
std::string drawingOf(const std::string& attributes) {
    return "<svg xmlns='http://www.w3.org/2000/svg' " + attributes +
           "><rect width='100' height='50' fill='#ff0000'/>"
           "<rect width='10' height='10' fill='#0000ff'/></svg>";
}

TEST_F(ImageConverterTest, ADrawingIsAsLargeAsItSays) {
    const std::string box = "viewBox='0 0 100 50' ";
    const std::vector<std::pair<std::string, PDFSize>> cases = {
        {"width='200' height='100' " + box, {200, 100}},
        {"width='72pt' height='0.5in' " + box, {72, 36}},
        {"width='254mm' " + box, {500, 250}},
        {"width='100%' height='100%' " + box, {100, 50}},
        {box, {100, 50}},
        {"", {100, 50}}, // what it shows
        {"height='20' " + box, {40, 20}},
        {"width='4000' height='2000' " + box, {500, 250}},
    };
    for (const auto& [attributes, drawn] : cases) {
        const auto size = drawn; // clang 14 lets no lambda take a part of a pair
        const std::string pdf = converted("a.svg", drawingOf(attributes));
        const PDFBox page = mediaBoxOf(pdf);
        EXPECT_NEAR(page.left, (595 - size.width) / -2, 1e-3) << attributes;
        EXPECT_NEAR(page.bottom, (800 - size.height) / -2, 1e-3) << attributes;
        // It fills that size: the square is a tenth of the width, and red is seen to the end.
        const TestPixels seen = drawnPage(pdf);
        const auto x = [&](double share) {
            return static_cast<std::size_t>((595 - size.width) / 2 + size.width * share);
        };
        const auto y = [&](double share) {
            return static_cast<std::size_t>((800 - size.height) / 2 + size.height * share);
        };
        EXPECT_EQ(seen.at(x(0.05), y(0.1), 2), 255) << attributes;
        EXPECT_EQ(seen.at(x(0.15), y(0.3), 2), 0) << attributes;
        EXPECT_EQ(seen.at(x(0.97), y(0.97), 1), 0) << attributes;
        EXPECT_EQ(seen.at(x(1.03), y(0.5), 1), 255) << attributes;
    }
}

TEST_F(ImageConverterTest, ADrawingKeepsItsProportionsUnlessItSaysOtherwise) {
    const std::string frame = "width='100' height='100' viewBox='0 0 100 50' ";
    EXPECT_EQ(middle(converted("a.svg", drawingOf(frame)), 100, 100).at(50, 10, 1), 255);
    const std::string filled = converted("b.svg", drawingOf(frame + "preserveAspectRatio='none'"));
    EXPECT_EQ(middle(filled, 100, 100).at(50, 10, 1), 0);
    const std::string top = converted("c.svg", drawingOf(frame + "preserveAspectRatio='xMidYMin'"));
    EXPECT_EQ(middle(top, 100, 100).at(50, 10, 1), 0);
    EXPECT_EQ(middle(top, 100, 100).at(50, 90, 1), 255);
}

TEST_F(ImageConverterTest, ADrawingMayBeInAnotherEncodingAndUseEntities) {
    const std::string drawing =
        "<?xml version='1.0' encoding='UTF-16'?><!DOCTYPE svg [<!ENTITY red '#ff0000'>]>"
        "<svg xmlns='http://www.w3.org/2000/svg' width='61' height='42'>"
        "<rect width='61' height='42' fill='&red;'/></svg>";
    std::string wide = "\xFE\xFF";
    for (const char letter : drawing) {
        wide += std::string{'\0', letter};
    }
    const TestPixels seen = middle(converted("a.svg", wide), 61, 42);
    EXPECT_EQ(seen.at(30, 20, 0), 255);
    EXPECT_EQ(seen.at(30, 20, 1), 0);
}

TEST_F(ImageConverterTest, ADrawingThatUnfoldsIsRefused) {
    std::string nested = "<!DOCTYPE svg [<!ENTITY a0 'lol'>";
    for (int i = 1; i < 10; ++i) {
        std::string uses;
        for (int j = 0; j < 10; ++j) {
            uses += "&a" + std::to_string(i - 1) + ";";
        }
        nested += "<!ENTITY a" + std::to_string(i) + " '" + uses + "'>";
    }
    nested +=
        "]><svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><desc>&a9;</desc></svg>";
    std::string uses;
    for (int i = 0; i < 1'000'000; ++i) {
        uses += "&a;";
    }
    const std::string wide =
        "<!DOCTYPE svg [<!ENTITY a '" + std::string(4000, 'x') +
        "'>]><svg xmlns='http://www.w3.org/2000/svg' width='9' height='9' id='" + uses + "'/>";
    const std::string line = "<svg xmlns='http://www.w3.org/2000/svg' width='9' height='9'><text>" +
                             std::string(1'000'000, 'x') + "</text></svg>";
    for (const auto& [bytes, reason] : std::vector<std::pair<std::string, std::string>>{
             {nested, "its entities stand for more than text"},
             {wide, "its entities stand for more text than a drawing may have"},
             {line, "a line of its text is too long"}}) {
        writeFile(sources / "a.svg", bytes);
        const auto pdf = converter().image2PDF((sources / "a.svg").string());
        ASSERT_FALSE(pdf) << bytes.substr(0, 200);
        EXPECT_EQ(pdf.error().reason, reason);
    }
    EXPECT_TRUE(namesIn(cache).empty());
}

TEST_F(ImageConverterTest, ADrawingThatRepeatsItselfWithoutEndComesToAnEnd) {
    // Each group draws the one before it twice.
    std::string doubling = "<svg xmlns='http://www.w3.org/2000/svg' "
                           "xmlns:xlink='http://www.w3.org/1999/xlink' width='9' height='9'><defs>"
                           "<g id='g0'><rect width='1' height='1'/></g>";
    for (int i = 1; i < 60; ++i) {
        const std::string use = "<use xlink:href='#g" + std::to_string(i - 1) + "'/>";
        doubling += "<g id='g" + std::to_string(i) + "'>" + use + use + "</g>";
    }
    doubling += "</defs><use xlink:href='#g59'/></svg>";
    writeFile(sources / "a.svg", doubling);
    // Whether it is refused or drawn as far as it goes is the library's affair.
    const auto pdf = converter().image2PDF((sources / "a.svg").string());
    if (pdf) {
        EXPECT_EQ(complaintsAbout(*pdf), "");
    } else {
        EXPECT_NE(pdf.error().reason, "");
        EXPECT_TRUE(namesIn(cache).empty());
    }
}

TEST_F(ImageConverterTest, ADrawingSeesNoFilesOfTheUser) {
    writeFile(folder / "secret.png", TestPNG(testPicture(61, 42)).bytes());
    const std::string pdf = converted(
        "a.svg", "<svg xmlns='http://www.w3.org/2000/svg' "
                 "xmlns:xlink='http://www.w3.org/1999/xlink' width='61' height='42'>"
                 "<image xlink:href='" +
                     (folder / "secret.png").string() + "' width='61' height='42'/></svg>");
    EXPECT_TRUE(imageListOf(pdf).empty());
}

TEST_F(ImageConverterTest, WhatCannotBeConvertedIsRefusedAndLeavesTheCacheAlone) {
    writeFile(cache / "a.png", "earlier");
    const std::string good = TestPNG(testPicture(61, 42)).bytes();
    for (const std::string& bytes : {std::string(), std::string("no image"), good.substr(0, 30)}) {
        writeFile(sources / "a.png", bytes);
        const auto pdf = converter().image2PDF((sources / "a.png").string());
        ASSERT_FALSE(pdf);
        EXPECT_EQ(pdf.error().message, "a.png is not a legal file.");
        EXPECT_NE(pdf.error().reason, "");
        EXPECT_EQ(pdf.error().path, (sources / "a.png").string());
    }
    EXPECT_EQ(readFile(cache / "a.png"), "earlier");
    EXPECT_THAT(namesIn(cache), testing::ElementsAre("a.png"));
}

TEST_F(ImageConverterTest, ACacheFolderThatIsGoneIsARefusal) {
    std::filesystem::remove(cache);
    const auto pdf = converter().image2PDF(picture().string());
    ASSERT_FALSE(pdf);
    EXPECT_EQ(pdf.error().message, "picture.png is not a legal file.");
}

TEST_F(ImageConverterTest, AStopRequestEndsTheConversion) {
    std::stop_source stop;
    stop.request_stop();
    EXPECT_FALSE(converter().image2PDF(picture().string(), stop.get_token()));
    EXPECT_TRUE(namesIn(cache).empty());
}

} // namespace
} // namespace quillorn
