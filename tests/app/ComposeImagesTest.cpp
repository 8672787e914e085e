#include "tests/app/ProgramFixture.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/PDFImages.h"
#include "tests/fakes/TestImage.h"

#include <csignal>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

class ComposeImages : public ProgramFixture {
protected:
    void image(const std::string& name, const std::string& bytes) const {
        std::filesystem::create_directories((work / name).parent_path());
        writeFile(work / name, bytes);
    }
};

TEST_F(ComposeImages, ImagesBecomePagesBetweenOthers) {
    image("photo.jpg", jpegBytes(testPicture(300, 200)));
    image("chart.png", TestPNG(testPicture(61, 42)).bytes());
    const ProgramResult result = run({"compose", "--output-folder", "out", "--verify", "--group",
                                      "All.pdf", "photo.jpg", pdf("a.pdf", 1), "chart.png"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(complaintsAbout(work / "out/All.pdf"), "");
    EXPECT_EQ(pageTexts(work / "out/All.pdf"),
              (std::vector<std::string>{"", "Page 1 of a.pdf", ""}));
    EXPECT_EQ(imageFilesIn(work / "out/All.pdf").front(), readFile(work / "photo.jpg"));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(ComposeImages, ADecodedImageBecomesAPageToo) {
    image("a.png", TestPNG(testPicture(61, 42)).bytes());
    convertImage(work / "a.png", work / "a.psd");
    const ProgramResult result =
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "a.psd"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(cropped(drawnPage(work / "out/A.pdf"), 267, 379, 61, 42), testPicture(61, 42));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(ComposeImages, ImagesOfTheSameNameDoNotMeet) {
    const std::string one = jpegBytes(testPicture(30, 20));
    const std::string other = jpegBytes(greyTestPicture(30, 20));
    image("one/photo.jpg", one);
    image("other/photo.jpg", other);
    const ProgramResult result =
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "one/photo.jpg",
             "other/photo.jpg", "one/photo.jpg", "--group", "B.pdf", "other/photo.jpg"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(imageFilesIn(work / "out/A.pdf"), testing::Contains(one));
    EXPECT_THAT(imageFilesIn(work / "out/A.pdf"), testing::Contains(other));
    EXPECT_EQ(imageFilesIn(work / "out/B.pdf"), std::vector<std::string>{other});
}

TEST_F(ComposeImages, RotatingWorksAsForAnyPage) {
    image("photo.jpg", jpegBytes(testPicture(30, 20)));
    const ProgramResult result = run({"compose", "--output-folder", "out", "--group", "A.pdf",
                                      "photo.jpg", "--rotate", "90", "--pages", "1"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(pageRotations(work / "out/A.pdf"), std::vector<int>{90});
}

TEST_F(ComposeImages, AnImageWithoutAnExtensionIsRecognised) {
    image("photo", jpegBytes(testPicture(30, 20)));
    const ProgramResult result =
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "photo"});
    EXPECT_EQ(result.status, 0) << result.errors;
}

TEST_F(ComposeImages, WhatIsNoImageIsRefusedWithTheReason) {
    image("photo.jpg", "no image at all");
    const ProgramResult result =
        run({"compose", "--json", "--output-folder", "out", "--group", "A.pdf", "photo.jpg"});
    EXPECT_EQ(result.status, 3);
    const auto refused = reportIn(result).at("refused").at(0);
    EXPECT_EQ(refused.at("message"), "photo.jpg is not a legal file.");
    EXPECT_EQ(refused.at("file"), (work / "photo.jpg").string());
    EXPECT_EQ(refused.at("reason"), "its content is no image of a known format");
    EXPECT_FALSE(std::filesystem::exists(work / "out"));
    EXPECT_THAT(litter(), IsEmpty());
}

TEST_F(ComposeImages, WithoutAFolderForTemporaryFilesTheyAreRefused) {
    image("photo.jpg", jpegBytes(testPicture(30, 20)));
    std::filesystem::permissions(temporary, std::filesystem::perms(0555));
    std::filesystem::permissions(folders.path(), std::filesystem::perms(0755));
    const ProgramResult result =
        program({"compose", "--output-folder", "out", "--group", "A.pdf", "photo.jpg"})
            .asOrdinaryUser()
            .run();
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, HasSubstr("no folder for temporary files"));
}

} // namespace
} // namespace quillorn::tests
