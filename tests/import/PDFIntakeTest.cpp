#include "import/PDFIntake.h"

#include "tests/fakes/TemporaryFolder.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <optional>
#include <ostream>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace quillorn {

void PrintTo(ImportRefusal::Kind kind, std::ostream* stream);

void PrintTo(ImportRefusal::Kind kind, std::ostream* stream) {
    constexpr const char* names[] = {"notLegal", "encrypted", "wrongPassword", "needsConverter"};
    *stream << names[static_cast<std::size_t>(kind)];
}

namespace {

namespace fs = std::filesystem;
using Kind = ImportRefusal::Kind;

class PDFIntakeTest : public testing::Test {
protected:
    [[nodiscard]] std::string plain(const std::string& name, std::size_t pages = 3) const {
        return tests::TestPDF(name, pages).writeTo(folder / name).string();
    }
    [[nodiscard]] std::string encrypted(const std::string& name,
                                        const tests::TestEncryption& encryption) const {
        return tests::encryptPDF(plain("plain-of-" + name), folder / name, encryption).string();
    }
    /// The refusal of a file that must be refused.
    [[nodiscard]] ImportRefusal refusal(const std::string& path,
                                        const std::optional<std::string>& password = {}) const {
        const auto opened = intake.open(path, password);
        if (opened) {
            ADD_FAILURE() << path << " was not refused";
            return {};
        }
        EXPECT_EQ(opened.error().path, path);
        EXPECT_NE(opened.error().reason, "");
        EXPECT_EQ(opened.error().reason.find('\n'), std::string::npos);
        return opened.error();
    }

    const tests::TemporaryFolder folder;
    const PDFIntake intake;
};

TEST_F(PDFIntakeTest, APlainFileIsOpenedWithAllItsPages) {
    const auto opened = intake.open(plain("report.pdf"));
    ASSERT_TRUE(opened) << opened.error().reason;
    EXPECT_EQ((*opened)->pageCount(), 3U);
}

TEST_F(PDFIntakeTest, PagesAreNumberedBeforeTheFileNameWithoutExtension) {
    const std::string path = plain("report.pdf");
    const auto opened = intake.open(path);
    ASSERT_TRUE(opened) << opened.error().reason;
    labelImportedPages(**opened, path, false);
    EXPECT_EQ((*opened)->pageAtIndex(0)->label(), "1-report");
    EXPECT_EQ((*opened)->pageAtIndex(2)->label(), "3-report");
}

TEST_F(PDFIntakeTest, PagesOfAConvertedImageAreCalledByItsFileName) {
    const std::string path = plain("photo.jpg", 2); // converters keep the name of the original
    const auto opened = intake.open(path);
    ASSERT_TRUE(opened) << opened.error().reason;
    labelImportedPages(**opened, path, false);
    EXPECT_EQ((*opened)->pageAtIndex(0)->label(), "photo.jpg");
    EXPECT_EQ((*opened)->pageAtIndex(1)->label(), "photo.jpg");
}

TEST_F(PDFIntakeTest, PagesOfAnUnlockedFileAreAlwaysNumbered) {
    const std::string path = plain("photo.jpg", 1);
    const auto opened = intake.open(path);
    ASSERT_TRUE(opened) << opened.error().reason;
    labelImportedPages(**opened, path, true);
    EXPECT_EQ((*opened)->pageAtIndex(0)->label(), "1-photo");
}

TEST_F(PDFIntakeTest, ADocumentWithoutPagesIsImportedToo) {
    const auto opened = intake.open(plain("empty.pdf", 0));
    ASSERT_TRUE(opened) << opened.error().reason;
    EXPECT_EQ((*opened)->pageCount(), 0U);
}

TEST_F(PDFIntakeTest, WhatIsNoPdfIsNotLegal) {
    tests::writeFile(folder / "notes.pdf", "Dear reader,\nthis is a text.\n");
    tests::writeFile(folder / "nothing.pdf", "");
    const ImportRefusal text = refusal((folder / "notes.pdf").string());
    EXPECT_EQ(text.kind, Kind::notLegal);
    EXPECT_EQ(text.message, "notes.pdf is not a legal file.");
    EXPECT_FALSE(text.isSilentInWindow());
    EXPECT_EQ(refusal((folder / "nothing.pdf").string()).reason, "the file is empty");
}

TEST_F(PDFIntakeTest, WhatCannotBeReadIsNotLegal) {
    fs::create_directory(folder / "folder.pdf");
    ASSERT_EQ(::mkfifo((folder / "pipe.pdf").c_str(), 0600), 0);
    EXPECT_EQ(refusal((folder / "gone.pdf").string()).reason, "No such file or directory");
    EXPECT_EQ(refusal((folder / "folder.pdf").string()).reason, "it is a folder, not a file");
    EXPECT_EQ(refusal((folder / "pipe.pdf").string()).reason,
              "it is a pipe, a socket or a device, not a file");
    EXPECT_EQ(refusal((folder / "pipe.pdf").string()).message, "pipe.pdf is not a legal file.");
}

TEST_F(PDFIntakeTest, AFailedHtmlConversionIsNotReportedASecondTime) {
    for (const char* const name : {"page.html", "page.HTM", "page.webarchive"}) {
        tests::writeFile(folder / name, "<html></html>");
        EXPECT_TRUE(refusal((folder / name).string()).isSilentInWindow()) << name;
    }
}

TEST_F(PDFIntakeTest, ALockedFileNeedsAPassword) {
    const std::string path = encrypted("private.pdf", {"user", "owner", {}});
    const ImportRefusal refused = refusal(path);
    EXPECT_EQ(refused.kind, Kind::encrypted);
    EXPECT_EQ(refused.message, "private.pdf is encrypted.");
    EXPECT_FALSE(refused.isSilentInWindow());
}

TEST_F(PDFIntakeTest, EitherPasswordOpensALockedFileThatAllowsEverything) {
    const std::string path = encrypted("private.pdf", {"user", "owner", {}});
    for (const char* const password : {"user", "owner"}) {
        const auto opened = intake.open(path, password);
        ASSERT_TRUE(opened) << opened.error().reason;
        ASSERT_EQ((*opened)->pageCount(), 3U);
        labelImportedPages(**opened, path, true);
        EXPECT_EQ((*opened)->pageAtIndex(1)->label(), "2-private");
    }
}

TEST_F(PDFIntakeTest, AWrongPasswordIsIncorrect) {
    const std::string path = encrypted("private.pdf", {"user", "owner", {}});
    for (const char* const password : {"wrong", "", "USER"}) {
        const ImportRefusal refused = refusal(path, password);
        EXPECT_EQ(refused.kind, Kind::wrongPassword);
        EXPECT_EQ(refused.message, "Password entered is incorrect!");
    }
}

TEST_F(PDFIntakeTest, AFileThatForbidsCopyingOrPrintingNeedsTheOwnersPassword) {
    for (const char* const restriction : {"--print=none", "--extract=n"}) {
        const std::string path = encrypted("restricted.pdf", {"", "owner", {restriction}});
        EXPECT_EQ(refusal(path).kind, Kind::encrypted) << restriction;
        EXPECT_EQ(refusal(path, "wrong").kind, Kind::wrongPassword) << restriction;
        const auto opened = intake.open(path, "owner");
        ASSERT_TRUE(opened) << restriction << ": " << opened.error().reason;
        EXPECT_EQ((*opened)->pageCount(), 3U);
    }
}

TEST_F(PDFIntakeTest, APasswordThatOpensTheFileButGrantsTooLittleIsIncorrect) {
    for (const char* const restriction : {"--print=none", "--extract=n"}) {
        const std::string path = encrypted("restricted.pdf", {"user", "owner", {restriction}});
        EXPECT_EQ(refusal(path, "user").message, "Password entered is incorrect!") << restriction;
        EXPECT_TRUE(intake.open(path, "owner")) << restriction;
    }
}

TEST_F(PDFIntakeTest, PrintingAtLowResolutionIsEnough) {
    EXPECT_TRUE(intake.open(encrypted("low.pdf", {"", "owner", {"--print=low"}})));
}

TEST_F(PDFIntakeTest, AFileThatAllowsEverythingIsOpenedWhateverPasswordIsGiven) {
    EXPECT_TRUE(intake.open(plain("open.pdf"), "needless"));
    EXPECT_TRUE(intake.open(encrypted("all-allowed.pdf", {"", "owner", {}}), "needless"));
}

TEST_F(PDFIntakeTest, AskingAboutALockedFileAnswersThatItIsLocked) {
    const std::string path = encrypted("private.pdf", {"user", "owner", {"--print=none"}});
    const auto locked = intake.inspect(path);
    ASSERT_TRUE(locked) << locked.error().reason;
    EXPECT_TRUE((*locked)->isLocked());
    const auto opened = intake.inspect(path, "user");
    ASSERT_TRUE(opened) << opened.error().reason;
    EXPECT_EQ((*opened)->pageCount(), 3U);
    EXPECT_FALSE((*opened)->permissions().printing);
    const auto wrong = intake.inspect(path, "wrong");
    ASSERT_FALSE(wrong);
    EXPECT_EQ(wrong.error().kind, Kind::wrongPassword);
}

TEST_F(PDFIntakeTest, AFolderContributesItsImmediateEntriesHiddenOnesToo) {
    fs::create_directories(folder / "letters.pages" / "inner");
    tests::writeFile(folder / "letters.pages" / "one.pdf", "1");
    tests::writeFile(folder / "letters.pages" / ".two.pdf", "2");
    tests::writeFile(folder / "letters.pages" / "inner" / "three.pdf", "3");
    const std::string path = (folder / "letters.pages").string();
    const auto files = filesToOpen(path);
    ASSERT_TRUE(files) << files.error().reason;
    EXPECT_THAT(*files, testing::UnorderedElementsAre(path + "/one.pdf", path + "/.two.pdf",
                                                      path + "/inner"));
    EXPECT_EQ(refusal(path + "/inner").reason, "it is a folder, not a file");
}

TEST_F(PDFIntakeTest, AFileOrNothingAtAllStandsForItself) {
    const std::string path = plain("report.pdf");
    EXPECT_THAT(filesToOpen(path).value(), testing::ElementsAre(path));
    EXPECT_THAT(filesToOpen("/no/such/file.pdf").value(),
                testing::ElementsAre("/no/such/file.pdf"));
}

TEST_F(PDFIntakeTest, PagesStayAvailableWhenTheFileIsRemoved) {
    const std::string path = plain("report.pdf");
    const auto opened = intake.open(path);
    ASSERT_TRUE(opened) << opened.error().reason;
    fs::remove(path);
    const auto written = (*opened)->writeToFile(folder / "copy.pdf");
    ASSERT_TRUE(written) << written.error().reason;
    EXPECT_EQ(written->pages, 3U);
}

} // namespace
} // namespace quillorn
