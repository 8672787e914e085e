#include "platform/imaging/ImageReader.h"

#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>
#include <string>
#include <variant>

namespace quillorn {
namespace {

using namespace tests;
using Kind = ImageError::Kind;

class ImageReaderTest : public testing::Test {
protected:
    ImageResult<ReadImage> read(const std::string& name, const std::string& bytes) {
        writeFile(folder / name, bytes);
        return reader().read(folder / name);
    }
    [[nodiscard]] ImageReader reader() const { return ImageReader(QUILLORN_WORKER_FOLDER, limits); }
    /// Why a file is refused.
    ImageError refusal(const std::string& name, const std::string& bytes) {
        auto image = read(name, bytes);
        return image ? ImageError{Kind::cancelled, {}, "it was read"} : std::move(image.error());
    }

    const TemporaryFolder folder;
    ImageLimits limits;
};

TEST_F(ImageReaderTest, WithoutADensityAPixelIsAPoint) {
    const auto image = read("a.png", TestPNG(testPicture(30, 20)).bytes());
    ASSERT_TRUE(image);
    EXPECT_DOUBLE_EQ(image->width, 30);
    EXPECT_DOUBLE_EQ(image->height, 20);
}

TEST_F(ImageReaderTest, ADensityMakesPoints) {
    TestJPEGOptions dense;
    dense.dotsPerInch = 144;
    const auto image = read("a.jpg", jpegBytes(testPicture(30, 20), dense));
    ASSERT_TRUE(image);
    EXPECT_DOUBLE_EQ(image->width, 15);
    EXPECT_DOUBLE_EQ(image->height, 10);
}

TEST_F(ImageReaderTest, AnImageThatIsTurnedHasItsSizeTurned) {
    for (int orientation = 1; orientation <= 8; ++orientation) {
        const auto image = read(
            "a.jpg", withSegment(jpegBytes(testPicture(30, 20)), 0xE1, exifContent(orientation)));
        ASSERT_TRUE(image);
        EXPECT_EQ(image->orientation, orientation);
        EXPECT_DOUBLE_EQ(image->width, orientation < 5 ? 30 : 20);
        EXPECT_DOUBLE_EQ(image->height, orientation < 5 ? 20 : 30);
    }
}

TEST_F(ImageReaderTest, JPEGDataIsNotTouched) {
    const std::string bytes = jpegBytes(testPicture(30, 20)) + "trailer";
    const auto image = read("misnamed.png", bytes);
    ASSERT_TRUE(image);
    EXPECT_EQ(image->format, ImageFormat::jpeg);
    const auto& data = std::get<JPEGImage>(image->content).data;
    EXPECT_EQ(std::string(data.begin(), data.end()), bytes);
}

TEST_F(ImageReaderTest, AJPEGThatIsCutShortIsDecodedAsFarAsItGoes) {
    const std::string whole = jpegBytes(testPicture(64, 64));
    const auto image = read("a.jpg", whole.substr(0, whole.size() - 100));
    ASSERT_TRUE(image) << image.error().reason;
    EXPECT_TRUE(std::holds_alternative<PackedImage>(image->content));
    EXPECT_DOUBLE_EQ(image->width, 64);
}

TEST_F(ImageReaderTest, WhatIsNoImageIsRefusedWithAReason) {
    EXPECT_EQ(refusal("empty.png", "").reason, "the file is empty");
    EXPECT_EQ(refusal("text.jpg", "just text").reason, "its content is no image of a known format");
    EXPECT_EQ(refusal("document.jpg", "%PDF-1.4 ...").kind, Kind::notImage);
    EXPECT_EQ(refusal("head.jpg", "\xFF\xD8\xFF\xE0").kind, Kind::notImage);
    const auto gone = reader().read(folder / "gone.png");
    ASSERT_FALSE(gone);
    EXPECT_EQ(gone.error().kind, Kind::unreadable);
    const auto directory = reader().read(folder.path());
    ASSERT_FALSE(directory);
    EXPECT_EQ(directory.error().kind, Kind::unreadable);
}

TEST_F(ImageReaderTest, FilesCutShortAnywhereAreReadOrRefusedWithAReason) {
    writeFile(folder / "picture.png", TestPNG(testPicture(40, 30)).bytes());
    for (const std::string name :
         {"a.gif", "a.bmp", "a.tif", "a.psd", "a.webp", "a.tga", "a.jp2"}) {
        convertImage(folder / "picture.png", folder / name);
        const std::string whole = readFile(folder / name);
        for (const std::size_t part : {1U, 2U, 3U}) {
            const auto image = read("cut-" + name, whole.substr(0, whole.size() * part / 4));
            EXPECT_TRUE(image || !image.error().reason.empty()) << name << " " << part;
        }
    }
}

TEST_F(ImageReaderTest, AbsurdSizesAreRefusedBeforeAnythingIsDecoded) {
    // Without a worker nothing could be decoded.
    const ImageReader noWorkers(folder.path());
    const auto refusalOf = [&](const std::string& name, const std::string& bytes) {
        writeFile(folder / name, bytes);
        const auto image = noWorkers.read(folder / name);
        return image ? Kind::cancelled : image.error().kind;
    };
    std::string png = TestPNG(testPicture(4, 4)).bytes();
    png.replace(16, 8, bigEndian(2'000'000'000, 4) + bigEndian(2'000'000'000, 4));
    EXPECT_EQ(refusalOf("a.png", png), Kind::tooLarge);
    std::string jpeg = jpegBytes(testPicture(4, 4));
    jpeg.replace(jpeg.find("\xFF\xC0") + 5, 4, "\xFF\xFF\xFF\xFF");
    EXPECT_EQ(refusalOf("a.jpg", jpeg), Kind::tooLarge);
    EXPECT_EQ(refusalOf("a.gif", "GIF89a" + littleEndian(65535, 2) + littleEndian(65535, 2)),
              Kind::tooLarge);
    EXPECT_EQ(refusalOf("a.psd", "8BPS" + bigEndian(1, 2) + std::string(6, '\0') + bigEndian(3, 2) +
                                     bigEndian(300'000, 4) + bigEndian(300'000, 4)),
              Kind::tooLarge);
    EXPECT_EQ(refusalOf("a.bmp", "BM" + std::string(12, '\0') + littleEndian(40, 4) +
                                     littleEndian(3'000'000, 4) + littleEndian(2'000'000, 4)),
              Kind::tooLarge);
}

TEST_F(ImageReaderTest, SizesThatOnlyTheDecoderFindsAreRefusedAsWell) {
    limits.pixels = 1000;
    writeFile(folder / "picture.png", TestPNG(testPicture(40, 30)).bytes());
    for (const std::string name : {"a.heic", "a.avif", "a.ico"}) {
        convertImage(folder / "picture.png", folder / name);
        const auto image = reader().read(folder / name);
        ASSERT_FALSE(image) << name;
        EXPECT_EQ(image.error().kind, Kind::tooLarge) << name << ": " << image.error().reason;
    }
}

TEST_F(ImageReaderTest, AFileThatIsTooLargeIsNotRead) {
    limits.fileBytes = 100;
    EXPECT_EQ(refusal("a.png", TestPNG(testPicture(40, 30)).bytes()).kind, Kind::tooLarge);
}

TEST_F(ImageReaderTest, AMissingWorkerIsNoImagesFault) {
    TestPixels withAlpha{2, 2, 4, std::vector<std::uint8_t>(16, 100)};
    writeFile(folder / "a.png", TestPNG(withAlpha).bytes());
    const auto image = ImageReader(folder.path()).read(folder / "a.png");
    ASSERT_FALSE(image);
    EXPECT_EQ(image.error().kind, Kind::noReader);
}

TEST_F(ImageReaderTest, TheFormatOfAFileIsToldByItsFirstBytes) {
    writeFile(folder / "picture", TestPNG(testPicture(4, 4)).bytes());
    writeFile(folder / "text.png", "text");
    EXPECT_EQ(imageFormatOf(folder / "picture"), ImageFormat::png);
    EXPECT_FALSE(imageFormatOf(folder / "text.png"));
    EXPECT_FALSE(imageFormatOf(folder / "gone.png"));
    EXPECT_FALSE(imageFormatOf(folder.path()));
}

TEST_F(ImageReaderTest, PackedPixelsAreNotLargerThanAPNGOfThem) {
    writeFile(folder / "picture.png", TestPNG(testPicture(400, 300)).bytes());
    for (const std::string name : {"a.bmp", "a.tga", "a.tif"}) {
        convertImage(folder / "picture.png", folder / name);
        convertImage(folder / name, folder / "again.png");
        const auto image = reader().read(folder / name);
        ASSERT_TRUE(image) << image.error().reason;
        EXPECT_LE(std::get<PackedImage>(image->content).colours.data.size(),
                  std::filesystem::file_size(folder / "again.png"))
            << name;
    }
}

} // namespace
} // namespace quillorn
