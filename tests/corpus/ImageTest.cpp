#include "import/ImageConverter.h"
#include "platform/imaging/JPEGHeader.h"
#include "tests/corpus/Corpus.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/PDFImages.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestImage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <cmath>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace quillorn::corpus {
namespace {

constexpr double pageWidth = 595;
constexpr double pageHeight = 800;

/// What no other program is asked about: ImageMagick reads no Apple icons, turns Targa files over
/// and loses the alpha of grey ones, takes the smallest picture of an ICO, draws little of a
/// drawing, and shows JPEG of the old style inside TIFF in wrong colours.
constexpr std::array<std::string_view, 5> notCompared = {".icns", ".tga", ".ico", ".svg",
                                                         "old-style-jpeg-compression.tif"};

/// Another program draws damaged files in another way, or not at all.
bool isComparable(const Document& document) {
    const std::string name = document.file.filename().string();
    return !name.starts_with("damaged") && name.find("truncated") == std::string::npos &&
           std::ranges::none_of(notCompared,
                                [&name](std::string_view end) { return name.ends_with(end); });
}

ImageResult<ReadImage> read(const Document& document) {
    return ImageReader(QUILLORN_WORKER_FOLDER).read(document.file);
}

/// Called as its file is: names of images differ in their extension only.
std::string imageTestName(const testing::TestParamInfo<Document>& instance) {
    std::string name = instance.param.file.filename().string();
    std::ranges::replace_if(
        name, [](char ch) { return std::isalnum(static_cast<unsigned char>(ch)) == 0; }, '_');
    return name;
}

class CorpusImage : public testing::TestWithParam<Document> {
protected:
    /// The PDF that the image becomes; none when it is refused, which is checked.
    std::optional<std::string> converted() {
        const ImageConverter converter(ImageReader(QUILLORN_WORKER_FOLDER), folder.path());
        const auto pdf = converter.image2PDF(GetParam().file.string());
        if (pdf) {
            return *pdf;
        }
        EXPECT_NE(pdf.error().reason, "");
        EXPECT_EQ(pdf.error().message,
                  GetParam().file.filename().string() + " is not a legal file.");
        EXPECT_TRUE(folder.names().empty());
        return std::nullopt;
    }

    const tests::TemporaryFolder folder;
};

TEST_P(CorpusImage, BecomesASoundPageOrIsRefusedWithAMessage) {
    const auto pdf = converted();
    const std::string name = GetParam().file.filename().string();
    if (!pdf) {
        const bool isSound = !name.starts_with("damaged") && name != "zero_width.gif" &&
                             name.find("truncated") == std::string::npos;
        EXPECT_FALSE(isSound) << "refused";
        return;
    }
    EXPECT_EQ(tests::complaintsAbout(*pdf), "");
    const auto document = PDFDocument::open(*pdf);
    ASSERT_TRUE(document);
    ASSERT_EQ((*document)->pageCount(), 1U);
    const auto geometry = (*document)->pageAtIndex(0)->geometry();
    ASSERT_TRUE(geometry);
    EXPECT_NEAR(geometry->mediaBox.width(), pageWidth, 1e-3);
    EXPECT_NEAR(geometry->mediaBox.height(), pageHeight, 1e-3);
}

TEST_P(CorpusImage, KeepsJPEGDataByteForByte) {
    const std::string bytes = tests::readFile(GetParam().file);
    const auto facts = readJPEGHeader(bytes);
    const auto pdf = converted();
    if (!facts || !facts->suitsPDF()) {
        return; // nothing to keep
    }
    ASSERT_TRUE(pdf);
    EXPECT_EQ(tests::imageFilesIn(*pdf), std::vector<std::string>{bytes});
}

TEST_P(CorpusImage, LooksAsAnotherProgramDrawsIt) {
    if (!isComparable(GetParam())) {
        return;
    }
    const auto image = read(GetParam());
    const auto pdf = converted();
    if (!image || !pdf) {
        return; // the first test judges refusals
    }
    const PDFSize size = drawnImageSize({image->width, image->height});
    const auto width = static_cast<std::size_t>(std::lround(size.width));
    const auto height = static_cast<std::size_t>(std::lround(size.height));
    if (width < 8 || height < 8 || height > static_cast<std::size_t>(pageHeight)) {
        return; // too small to compare, or cut off by the page
    }
    tests::convertImage(GetParam().file.string() + "[0]", folder / "expected.png",
                        {"-auto-orient", "-background", "white", "-alpha", "remove", "-colorspace",
                         "sRGB", "-resize",
                         std::to_string(width) + "x" + std::to_string(height) + "!"});
    const tests::TestPixels expected = tests::pictureIn(folder / "expected.png");
    const auto left = static_cast<std::size_t>((pageWidth - size.width) / 2);
    const auto top = static_cast<std::size_t>((pageHeight - size.height) / 2);
    const tests::TestPixels seen = tests::cropped(tests::drawnPage(*pdf), left, top, width, height);
    // Far less than a picture that is turned, inverted or in wrong colours differs; inks and
    // colour profiles are seen in different ways by different programs.
    constexpr double tolerance = 25;
    EXPECT_LT(tests::differenceOf(seen, expected).average, tolerance);
}

// The selection in this repository holds no images: they run when QUILLORN_CORPUS is set.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(CorpusImage);
INSTANTIATE_TEST_SUITE_P(Corpus, CorpusImage, testing::ValuesIn(Corpus::get().documents("images")),
                         imageTestName);

} // namespace
} // namespace quillorn::corpus
