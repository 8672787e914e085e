#include "tests/app/ProgramFixture.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class ComposeTroubleTest : public ProgramFixture {
protected:
    /// Runs a compose with one good file and `bad`, which must be refused without anything being
    /// written, and returns what was said.
    [[nodiscard]] std::string refusalOf(const std::vector<std::string>& bad) const {
        pdf("good.pdf", 1);
        std::vector<std::string> words = {"compose", "--output-folder", "out",
                                          "--group", "A.pdf",           "good.pdf"};
        words.insert(words.end(), bad.begin(), bad.end());
        const ProgramResult result = run(words);
        EXPECT_EQ(result.status, 3) << result.errors;
        EXPECT_EQ(result.output, "");
        EXPECT_FALSE(fs::exists(work / "out"));
        EXPECT_THAT(litter(), IsEmpty());
        return result.errors;
    }
    [[nodiscard]] std::string at(const std::string& name) const { return (work / name).string(); }
};

TEST_F(ComposeTroubleTest, AMissingFileIsRefused) {
    EXPECT_EQ(refusalOf({"gone.pdf"}), "gone.pdf is not a legal file.\n  " + at("gone.pdf") +
                                           ": No such file or directory\nNothing was written.\n");
}

TEST_F(ComposeTroubleTest, AFolderIsRefused) {
    fs::create_directory(work / "papers");
    EXPECT_THAT(refusalOf({"papers"}), StartsWith("papers is not a legal file.\n  " + at("papers") +
                                                  ": it is a folder, not a file\n"));
}

TEST_F(ComposeTroubleTest, AnEmptyFolderNamedLikeADocumentIsRefused) {
    fs::create_directory(work / "empty.pages");
    EXPECT_THAT(refusalOf({"empty.pages"}), HasSubstr(": the folder is empty\n"));
}

TEST_F(ComposeTroubleTest, FoldersInADocumentFolderAreRefused) {
    fs::create_directories(work / "letters.pages/inner");
    EXPECT_THAT(refusalOf({"letters.pages"}),
                StartsWith("inner is not a legal file.\n  " + at("letters.pages/inner")));
}

TEST_F(ComposeTroubleTest, APipeIsRefusedWithoutWaitingForItsWriter) {
    ASSERT_EQ(::mkfifo((work / "pipe.pdf").c_str(), 0600), 0);
    EXPECT_THAT(refusalOf({"pipe.pdf"}), StartsWith("pipe.pdf is not a legal file.\n"));
}

TEST_F(ComposeTroubleTest, AnEmptyFileIsRefused) {
    writeFile(work / "empty.pdf", "");
    EXPECT_THAT(refusalOf({"empty.pdf"}), HasSubstr(": the file is empty\n"));
}

TEST_F(ComposeTroubleTest, ATextNamedPdfIsRefused) {
    writeFile(work / "notes.pdf", "Dear reader,\nthis is a text.\n");
    EXPECT_THAT(refusalOf({"notes.pdf"}), StartsWith("notes.pdf is not a legal file.\n"));
}

TEST_F(ComposeTroubleTest, AnImageByItsNameOnlyIsRefused) {
    writeFile(work / "photo.JPG", "image");
    EXPECT_THAT(refusalOf({"photo.JPG"}),
                StartsWith("photo.JPG is not a legal file.\n  " + at("photo.JPG") +
                           ": its content is no image of a known format\n"));
}

TEST_F(ComposeTroubleTest, ALockedFileNeedsItsPassword) {
    lockedPdf("locked.pdf");
    EXPECT_THAT(refusalOf({"locked.pdf"}),
                StartsWith("locked.pdf is encrypted.\n  " + at("locked.pdf") + ": "));
}

TEST_F(ComposeTroubleTest, AWrongPasswordIsIncorrect) {
    lockedPdf("locked.pdf");
    EXPECT_THAT(refusalOf({"locked.pdf", "--password", "wrong"}),
                StartsWith("Password entered is incorrect!\n  " + at("locked.pdf") + ": "));
}

TEST_F(ComposeTroubleTest, AFileThatForbidsCopyingNeedsTheOwnersPassword) {
    TestPDF("a", 1).writeTo(folders / "plain.pdf");
    encryptPDF(folders / "plain.pdf", work / "held.pdf", {"user", "owner", {"--extract=n"}});
    EXPECT_THAT(refusalOf({"held.pdf", "--password", "user"}),
                StartsWith("Password entered is incorrect!\n"));
}

TEST_F(ComposeTroubleTest, ControlCharactersInNamesAreShown) {
    EXPECT_THAT(refusalOf({"a\nb\033.pdf"}), StartsWith("a\\nb\\x1b.pdf is not a legal file.\n"));
}

TEST_F(ComposeTroubleTest, EveryRefusedFileIsNamedOnce) {
    const std::string said = refusalOf({"gone.pdf", "lost.pdf", "gone.pdf"});
    EXPECT_THAT(said, HasSubstr("lost.pdf is not a legal file.\n"));
    EXPECT_EQ(said.find("gone.pdf is not"), said.rfind("gone.pdf is not"));
}

TEST_F(ComposeTroubleTest, RefusalsAreReportedAsJson) {
    writeFile(work / "empty.pdf", "");
    const ProgramResult result =
        run({"compose", "--json", "--output-folder", "out", "--group", "A.pdf", "empty.pdf"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(reportIn(result), nlohmann::json({{"outputs", nlohmann::json::array()},
                                                {"refused",
                                                 {{{"file", at("empty.pdf")},
                                                   {"message", "empty.pdf is not a legal file."},
                                                   {"reason", "the file is empty"}}}},
                                                {"failed", nlohmann::json::array()},
                                                {"notices", nlohmann::json::array()},
                                                {"status", 3}}));
}

TEST_F(ComposeTroubleTest, KeepingGoingWritesTheRest) {
    pdf("a.pdf", 2);
    const ProgramResult result =
        run({"compose", "--keep-going", "--output-folder", "out", "--group", "A.pdf", "gone.pdf",
             "a.pdf", "--group", "B.pdf", "gone.pdf", "--group", "C.pdf", "a.pdf"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(namesIn(work / "out"), ElementsAre("A.pdf", "C.pdf"));
    EXPECT_EQ(pageTexts(work / "out/A.pdf").size(), 2U);
    EXPECT_EQ(result.errors, "gone.pdf is not a legal file.\n  " + at("gone.pdf") +
                                 ": No such file or directory\n"
                                 "B.pdf was not written.\n  " +
                                 at("out/B.pdf") + ": all of its files were refused\n");
}

TEST_F(ComposeTroubleTest, APageRangeThatDoesNotFitIsAMistake) {
    pdf("a.pdf", 3);
    for (const char* const range : {"4", "2-5", "0", "x", "1-", "", "r4", "1,,2", "1:even"}) {
        const ProgramResult result =
            run({"compose", "--keep-going", "--output-folder", "out", "--group", "B.pdf", "a.pdf",
                 "--group", "A.pdf", "a.pdf", "--pages", range});
        EXPECT_EQ(result.status, 2) << range;
        EXPECT_THAT(result.errors,
                    StartsWith("--pages " + std::string(range) +
                               " does not fit a.pdf, which has 3 pages.\n  " + at("a.pdf") + ": "));
        EXPECT_FALSE(fs::exists(work / "out")) << "nothing is written at all";
    }
}

TEST_F(ComposeTroubleTest, AMistakeInARangeIsReportedBesideRefusedFiles) {
    pdf("a.pdf", 1);
    const ProgramResult result = run({"compose", "--json", "--output-folder", "out", "--group",
                                      "A.pdf", "gone.pdf", "a.pdf", "--pages", "2"});
    EXPECT_EQ(result.status, 2);
    const nlohmann::json report = reportIn(result);
    EXPECT_EQ(report["error"], "--pages 2 does not fit a.pdf, which has 1 page.");
    EXPECT_EQ(report["refused"].size(), 1U);
}

TEST_F(ComposeTroubleTest, AGroupNamedTwiceIsAMistake) {
    pdf("a.pdf", 1);
    const ProgramResult result = run({"compose", "--output-folder", "out", "--group", "A.pdf",
                                      "a.pdf", "--group", "A.pdf", "a.pdf"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.errors, StartsWith("A.pdf already exists.\n"));
    EXPECT_FALSE(fs::exists(work / "out"));
}

TEST_F(ComposeTroubleTest, AGroupNameWithAFolderIsAMistake) {
    pdf("a.pdf", 1);
    EXPECT_EQ(run({"compose", "--output-folder", "out", "--group", "../A.pdf", "a.pdf"}).status, 2);
    EXPECT_FALSE(fs::exists(work / "out"));
    EXPECT_FALSE(fs::exists(work / "A.pdf"));
}

TEST_F(ComposeTroubleTest, AFileInTheWayOfTheOutputFolderIsReported) {
    pdf("a.pdf", 1);
    writeFile(work / "file", "in the way");
    const ProgramResult result =
        run({"compose", "--output-folder", "file/out", "--group", "A.pdf", "a.pdf"});
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.errors, "A.pdf was not written.\n  " + at("file/out/A.pdf") +
                                 ": the output folder cannot be made: Not a directory\n");
    EXPECT_EQ(readFile(work / "file"), "in the way");
}

TEST_F(ComposeTroubleTest, AFileAsOutputFolderIsReported) {
    pdf("a.pdf", 1);
    writeFile(work / "file", "in the way");
    EXPECT_EQ(run({"compose", "--output-folder", "file", "--group", "A.pdf", "a.pdf"}).status, 4);
    EXPECT_EQ(readFile(work / "file"), "in the way");
}

TEST_F(ComposeTroubleTest, AFolderThatMayNotBeWrittenIntoIsReported) {
    pdf("a.pdf", 1);
    fs::create_directory(work / "out");
    fs::permissions(work / "out", fs::perms(0555));
    fs::permissions(folders.path(), fs::perms(0755));
    const ProgramResult result =
        program({"compose", "--output-folder", "out", "--group", "A.pdf", "a.pdf"})
            .asOrdinaryUser()
            .run();
    EXPECT_EQ(result.status, 4);
    EXPECT_EQ(result.errors, "A.pdf was not written.\n  " + at("out/A.pdf") + ": " + at("out") +
                                 ": Permission denied\n");
    EXPECT_THAT(namesIn(work / "out"), IsEmpty());
}

TEST_F(ComposeTroubleTest, AFileThatMayNotBeReadIsRefused) {
    pdf("a.pdf", 1);
    fs::permissions(work / "a.pdf", fs::perms(0));
    fs::permissions(folders.path(), fs::perms(0755));
    const ProgramResult result =
        program({"compose", "--output-folder", "out", "--group", "A.pdf", "a.pdf"})
            .asOrdinaryUser()
            .run();
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, StartsWith("a.pdf is not a legal file.\n  " + at("a.pdf") +
                                          ": Permission denied\n"));
}

TEST_F(ComposeTroubleTest, AFolderInTheWayOfAnOutputIsReportedAndTheOthersAreWritten) {
    pdf("a.pdf", 1);
    fs::create_directories(work / "out/A.pdf");
    const ProgramResult result = run({"compose", "--json", "--output-folder", "out", "--group",
                                      "A.pdf", "a.pdf", "--group", "B.pdf", "a.pdf"});
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.errors, HasSubstr("a folder of that name is in the way"));
    EXPECT_THAT(namesIn(work / "out"), ElementsAre("A.pdf", "B.pdf"));
    const nlohmann::json report = reportIn(result);
    EXPECT_EQ(report["failed"],
              nlohmann::json({{{"file", at("out/A.pdf")},
                               {"reason", "a folder of that name is in the way"}}}));
    EXPECT_EQ(report["outputs"].size(), 1U);
    EXPECT_EQ(report["status"], 4);
}

TEST_F(ComposeTroubleTest, AnOutputThatFailsOutranksARefusedFile) {
    pdf("a.pdf", 1);
    fs::create_directories(work / "out/A.pdf");
    const ProgramResult result = run({"compose", "--keep-going", "--output-folder", "out",
                                      "--group", "A.pdf", "a.pdf", "gone.pdf"});
    EXPECT_EQ(result.status, 4);
}

TEST_F(ComposeTroubleTest, ANameThatTheFileSystemRefusesIsReported) {
    pdf("a.pdf", 1);
    const ProgramResult result = run(
        {"compose", "--output-folder", "out", "--group", std::string(300, 'x') + ".pdf", "a.pdf"});
    EXPECT_EQ(result.status, 4);
    EXPECT_THAT(result.errors, HasSubstr("File name too long"));
}

} // namespace
} // namespace quillorn::tests
