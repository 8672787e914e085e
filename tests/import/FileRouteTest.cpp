#include "import/FileRoute.h"

#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

namespace quillorn {

void PrintTo(FileRoute route, std::ostream* stream);

void PrintTo(FileRoute route, std::ostream* stream) {
    constexpr const char* names[] = {"image", "html", "richText", "word", "pdf", "notLegal"};
    *stream << names[static_cast<std::size_t>(route)];
}

namespace {

class FileRouteTest : public testing::Test {
protected:
    /// The path of a file of this name that exists. Where it has an extension, routes never depend
    /// on the content.
    [[nodiscard]] std::string file(const std::string& name) const {
        tests::writeFile(folder / name, "content");
        return (folder / name).string();
    }

    [[nodiscard]] std::string fileWith(const std::string& name, const std::string& content) const {
        tests::writeFile(folder / name, content);
        return (folder / name).string();
    }

    const tests::TemporaryFolder folder;
};

TEST_F(FileRouteTest, TheOpenPanelOffersItsTypesInOrder) {
    EXPECT_THAT(openPanelTypes(),
                testing::ElementsAre("icns", "tiff", "tif", "jpg", "png", "ico", "tga", "psd",
                                     "jpeg", "gif", "bmp", "jp2", "pages", "pdf"));
}

TEST_F(FileRouteTest, EveryImageTypeIsAnImageInAnyCase) {
    for (const char* const extension :
         {"icns", "tiff", "tif", "jpg",  "png",  "ico",  "tga",  "psd", "jpeg", "gif", "bmp",
          "jp2",  "webp", "svg", "svgz", "heic", "heif", "avif", "JPG", "Jpg",  "TIFF"}) {
        EXPECT_TRUE(isImageFile(file(std::string("photo.") + extension))) << extension;
    }
}

TEST_F(FileRouteTest, APdfIsNoImage) {
    EXPECT_FALSE(isImageFile(file("a.pdf")));
    EXPECT_FALSE(isImageFile(file("b.PDF")));
}

TEST_F(FileRouteTest, OnlyTheLastExtensionMakesAnImage) {
    EXPECT_FALSE(isImageFile(file("photo.jpg.pdf")));
    EXPECT_FALSE(isImageFile(file("photo.jpgx")));
    EXPECT_FALSE(isImageFile(file("jpg")));
    EXPECT_FALSE(isImageFile(file(".jpg")));
}

TEST_F(FileRouteTest, WithoutAnExtensionTheContentMakesAnImage) {
    EXPECT_TRUE(isImageFile(fileWith("photo", "\xFF\xD8\xFF\xE0....")));
    EXPECT_TRUE(isImageFile(fileWith(".hidden", "GIF89a....")));
    EXPECT_FALSE(isImageFile(fileWith("document", "%PDF-1.4")));
    EXPECT_FALSE(isImageFile(fileWith("photo.xyz", "GIF89a....")));
    EXPECT_FALSE(isImageFile(fileWith("empty", "")));
    std::filesystem::create_directory(folder / "folder");
    EXPECT_FALSE(isImageFile((folder / "folder").string()));
}

TEST_F(FileRouteTest, AFileThatIsNotThereIsNoImage) {
    EXPECT_FALSE(isImageFile((folder / "gone.jpg").string()));
    EXPECT_FALSE(isImageFile(""));
    std::filesystem::create_symlink(folder / "nowhere.jpg", folder / "link.jpg");
    EXPECT_FALSE(isImageFile((folder / "link.jpg").string()));
}

TEST_F(FileRouteTest, TheOpenPanelSendsEachTypeItsWay) {
    EXPECT_EQ(openPanelRoute(file("a.jpg")), FileRoute::image);
    EXPECT_EQ(openPanelRoute(file("a.rtf")), FileRoute::richText);
    EXPECT_EQ(openPanelRoute(file("a.RTFD")), FileRoute::richText);
    EXPECT_EQ(openPanelRoute(file("a.docx")), FileRoute::richText);
    EXPECT_EQ(openPanelRoute(file("a.pdf")), FileRoute::pdf);
    EXPECT_EQ(openPanelRoute(file("a.pages")), FileRoute::pdf);
}

TEST_F(FileRouteTest, TheOpenPanelOpensAnythingElseAsAPdf) {
    EXPECT_EQ(openPanelRoute(file("a.txt")), FileRoute::pdf);
    EXPECT_EQ(openPanelRoute(file("a.html")), FileRoute::pdf);
    EXPECT_EQ(openPanelRoute(file("a.xyz")), FileRoute::pdf);
    EXPECT_EQ(openPanelRoute(file("a")), FileRoute::pdf);
    EXPECT_EQ(openPanelRoute((folder / "gone.jpg").string()), FileRoute::pdf);
}

TEST_F(FileRouteTest, ADropSendsEachTypeItsWay) {
    EXPECT_EQ(dropRoute(file("a.PNG")), FileRoute::image);
    EXPECT_EQ(dropRoute(file("a.html")), FileRoute::html);
    EXPECT_EQ(dropRoute(file("a.HTM")), FileRoute::html);
    EXPECT_EQ(dropRoute(file("a.webarchive")), FileRoute::html);
    EXPECT_EQ(dropRoute(file("a.rtf")), FileRoute::richText);
    EXPECT_EQ(dropRoute(file("a.rtfd")), FileRoute::richText);
    EXPECT_EQ(dropRoute(file("a.txt")), FileRoute::richText);
    EXPECT_EQ(dropRoute(file("a.docx")), FileRoute::richText);
    EXPECT_EQ(dropRoute(file("REPORT.PDF")), FileRoute::pdf);
    EXPECT_EQ(dropRoute(file("a.pages")), FileRoute::pdf);
}

TEST_F(FileRouteTest, AWordDocumentGoesDifferentWaysFromThePanelAndFromADrop) {
    const std::string path = file("letter.doc");
    EXPECT_EQ(openPanelRoute(path), FileRoute::richText);
    EXPECT_EQ(dropRoute(path), FileRoute::word);
}

TEST_F(FileRouteTest, ADropOfAnythingElseIsNotLegal) {
    EXPECT_EQ(dropRoute(file("notes.xyz")), FileRoute::notLegal);
    EXPECT_EQ(dropRoute(file("notes")), FileRoute::notLegal);
    EXPECT_EQ(dropRoute(file(".pdf")), FileRoute::notLegal);
    EXPECT_EQ(dropRoute((folder / "gone.jpg").string()), FileRoute::notLegal);
}

TEST_F(FileRouteTest, TheCommandLineTakesWhatEitherOfTheOthersTakes) {
    EXPECT_EQ(commandLineRoute(file("a.jpg")), FileRoute::image);
    EXPECT_EQ(commandLineRoute(file("a.html")), FileRoute::html);
    EXPECT_EQ(commandLineRoute(file("a.txt")), FileRoute::richText);
    EXPECT_EQ(commandLineRoute(file("a.doc")), FileRoute::richText);
    EXPECT_EQ(commandLineRoute(file("a.pdf")), FileRoute::pdf);
    EXPECT_EQ(commandLineRoute(fileWith("photo", "GIF89a....")), FileRoute::image);
    EXPECT_EQ(commandLineRoute(file("scan-from-the-copier")), FileRoute::pdf);
}

} // namespace
} // namespace quillorn
