#include "support/ASImage.h"

#include "FreshProcess.h"
#include "LogCapture.h"
#include "Pictures.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

namespace {

struct Release {
    void operator()(CGImage* image) const { ASReleaseImage(image); }
};
using Image = std::unique_ptr<CGImage, Release>;

Image Create(const std::string& path) {
    return Image(ASCreateImage(path.c_str()));
}

void ExpectNear(uint32_t color, uint32_t expected) {
    for (const unsigned shift : {24U, 16U, 8U, 0U})
        EXPECT_NEAR(color >> shift & 0xFF, expected >> shift & 0xFF, 3) << std::hex << color;
}

bool EndsWith(const LogLines& lines, const std::string& text) {
    return lines.size() == 1 && lines[0].ends_with(" " + text + "\n");
}

} // namespace

TEST(Image, PNGKeepsColourAndAlpha) {
    const TemporaryFolder folder;
    WritePNG(folder / "a.png");
    const Image image = Create(folder / "a.png");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->width(), 4);
    EXPECT_EQ(image->height(), 2);
    EXPECT_EQ(image->pixel(0, 0), 0xFFFF0000U);
    ExpectNear(image->pixel(3, 1), 0x800000FF);
    EXPECT_EQ(image->pixel(4, 0), 0U);
    EXPECT_EQ(image->pixel(0, -1), 0U);
}

TEST(Image, JPEGOfAllColourSpacesIsRead) {
    const TemporaryFolder folder;
    for (const char* name : {"a.jpg", "a.jpeg"}) {
        WriteJPEG(folder / name, {200, 100, 50});
        const Image image = Create(folder / name);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->width(), 16);
        ExpectNear(image->pixel(7, 7), 0xFFC86432);
    }
    WriteJPEG(folder / "grey.jpg", {90});
    ExpectNear(Create(folder / "grey.jpg")->pixel(3, 3), 0xFF5A5A5A);
    WriteJPEG(folder / "inks.jpg", {255, 128, 0, 255});
    ExpectNear(Create(folder / "inks.jpg")->pixel(3, 3), 0xFFFF8000);
}

TEST(Image, ExtensionsAreComparedWithTheirCase) {
    const LogCapture log;
    const TemporaryFolder folder;
    WritePNG(folder / "a.PNG");
    EXPECT_EQ(Create(folder / "a.PNG"), nullptr);
    EXPECT_TRUE(EndsWith(log.lines(), "Unknow Image Type:.PNG"));
}

TEST(Image, PathWithoutAnExtensionIsReported) {
    const LogCapture log;
    EXPECT_EQ(Create("picture"), nullptr);
    EXPECT_TRUE(EndsWith(log.lines(), "Unknown Image Type."));
}

TEST(Image, ExtensionStartsAtTheLastDot) {
    const LogCapture log;
    EXPECT_EQ(Create("/folder.png/picture"), nullptr);
    EXPECT_TRUE(EndsWith(log.lines(), "Unknow Image Type:.png/picture"));
}

TEST(Image, NullAndEmptyPathsGiveNothing) {
    const LogCapture log;
    EXPECT_EQ(ASCreateImage(nullptr), nullptr);
    EXPECT_EQ(ASCreateImage(""), nullptr);
    ASReleaseImage(nullptr);
    EXPECT_EQ(log.lines(), LogLines{});
}

TEST(Image, MissingDamagedAndForeignFilesGiveNothing) {
    const TemporaryFolder folder;
    for (const char* extension : {".png", ".jpg", ".jpeg"}) {
        const std::string name = std::string("a") + extension;
        EXPECT_EQ(Create(folder / name), nullptr);
        for (const char* bytes : {"", "x", "\x89PNG\r\n\x1a\n", "\xFF\xD8\xFF\xE0", "GIF89a"})
            EXPECT_EQ(Create(folder.write(name, bytes)), nullptr) << extension << bytes;
    }
    std::filesystem::create_directory(folder / "folder.png");
    EXPECT_EQ(Create(folder / "folder.png"), nullptr);
    std::filesystem::create_directory(folder / "folder.jpg");
    EXPECT_EQ(Create(folder / "folder.jpg"), nullptr);
}

TEST(Image, UnreadableFilesGiveNothing) {
    const TemporaryFolder folder;
    WritePNG(folder / "a.png");
    WriteJPEG(folder / "a.jpg", {1, 2, 3});
    ASSERT_EQ(chmod((folder / "a.png").c_str(), 0), 0);
    ASSERT_EQ(chmod((folder / "a.jpg").c_str(), 0), 0);
    AsOrdinaryUser([&] {
        EXPECT_EQ(Create(folder / "a.png"), nullptr);
        EXPECT_EQ(Create(folder / "a.jpg"), nullptr);
    });
}

TEST(Image, CutAndScrambledFilesNeverCrash) {
    const TemporaryFolder folder;
    WritePNG(folder / "whole.png");
    WriteJPEG(folder / "whole.jpg", {200, 100, 50});
    for (const std::string extension : {".png", ".jpg"}) {
        const std::string whole = ReadFile(folder / ("whole" + extension));
        for (size_t length = 0; length < whole.size(); length += 7)
            Create(folder.write("cut" + extension, whole.substr(0, length)));
        for (size_t i = 0; i < whole.size(); i += 3) {
            std::string scrambled = whole;
            scrambled[i] = static_cast<char>(~scrambled[i]);
            Create(folder.write("scrambled" + extension, scrambled));
        }
    }
    EXPECT_NE(Create(folder / "whole.png"), nullptr);
}

TEST(Image, ContentTellsTheKindWithoutAnExtension) {
    const TemporaryFolder folder;
    WritePNG(folder / "png");
    WriteJPEG(folder / "jpeg", {1, 2, 3});
    EXPECT_NE(Image(CGImageCreateWithFile((folder / "png").c_str())), nullptr);
    EXPECT_NE(Image(CGImageCreateWithFile((folder / "jpeg").c_str())), nullptr);
    EXPECT_EQ(Image(CGImageCreateWithFile((folder / "none").c_str())), nullptr);
    EXPECT_EQ(Image(CGImageCreateWithFile(nullptr)), nullptr);
    EXPECT_EQ(Image(CGImageCreateWithPNGFile(nullptr)), nullptr);
    EXPECT_EQ(Image(CGImageCreateWithJPEGFile(nullptr)), nullptr);
}

TEST(Image, SettingAlphaReturnsItAndChangesNothing) {
    const TemporaryFolder folder;
    WritePNG(folder / "a.png");
    const Image image = Create(folder / "a.png");
    EXPECT_EQ(ASSetImageAlpha(image.get(), 17), 17);
    EXPECT_EQ(ASSetImageAlpha(nullptr, -1), -1);
    EXPECT_EQ(image->pixel(0, 0), 0xFFFF0000U);
}
