#include "tests/app/ProgramFixture.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ComposeTest : public ProgramFixture {};

TEST_F(ComposeTest, PagesStandInTheOrderGiven) {
    pdf("a.pdf", 5);
    pdf("b.pdf", 2);
    const ProgramResult result =
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "b.pdf", "a.pdf", "--pages",
             "4-2,z", "b.pdf", "--pages", "1"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageTexts(work / "out/A.pdf"),
                ElementsAre("Page 1 of b.pdf", "Page 2 of b.pdf", "Page 4 of a.pdf",
                            "Page 3 of a.pdf", "Page 2 of a.pdf", "Page 5 of a.pdf",
                            "Page 1 of b.pdf"));
    EXPECT_EQ(complaintsAbout(work / "out/A.pdf"), "");
}

TEST_F(ComposeTest, RotationsAreAddedToThePagesOwn) {
    TestPDF("a", 4).setRotation(1, 90).setRotation(2, 270).setRotation(3, -90).writeTo(work /
                                                                                       "a.pdf");
    const ProgramResult result = run({"compose", "--output-folder", "out",     "--group", "A.pdf",
                                      "a.pdf",   "--rotate",        "90",      "--group", "B.pdf",
                                      "a.pdf",   "--rotate",        "-90",     "--group", "C.pdf",
                                      "a.pdf",   "--rotate=540",    "--group", "D.pdf",   "a.pdf"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageRotations(work / "out/A.pdf"), ElementsAre(90, 180, 0, 0));
    EXPECT_THAT(pageRotations(work / "out/B.pdf"), ElementsAre(270, 0, 180, 180));
    EXPECT_THAT(pageRotations(work / "out/C.pdf"), ElementsAre(180, 270, 90, 90));
    EXPECT_THAT(pageRotations(work / "out/D.pdf"), ElementsAre(0, 90, 270, 270));
}

TEST_F(ComposeTest, TheSamePageMayStandTwiceTurnedDifferently) {
    pdf("a.pdf", 1);
    const ProgramResult result = run({"compose", "--output-folder", "out", "--group", "A.pdf",
                                      "a.pdf", "a.pdf", "--rotate", "90", "a.pdf"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageRotations(work / "out/A.pdf"), ElementsAre(0, 90, 0));
}

TEST_F(ComposeTest, TellsWhatWasWritten) {
    pdf("a.pdf", 1);
    pdf("b.pdf", 1500);
    const ProgramResult result = run({"compose", "--output-folder", "out", "--group", "One.pdf",
                                      "a.pdf", "--group", "Many pages.PDF", "b.pdf"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, testing::MatchesRegex("wrote " + (work / "out/One.pdf").string() +
                                                     ", 1 page, [0-9,]+ bytes\n" + "wrote " +
                                                     (work / "out/Many pages.PDF").string() +
                                                     ", 1,500 pages, [0-9,]+ bytes\n"));
}

TEST_F(ComposeTest, ReportsAsJson) {
    pdf("a.pdf", 3);
    const ProgramResult result =
        run({"compose", "--json", "--output-folder", "out", "--group", "A.pdf", "a.pdf"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(reportIn(result), nlohmann::json({{"outputs",
                                                 {{{"file", (work / "out/A.pdf").string()},
                                                   {"pages", 3},
                                                   {"bytes", fs::file_size(work / "out/A.pdf")},
                                                   {"notes", nlohmann::json::array()}}}},
                                                {"refused", nlohmann::json::array()},
                                                {"failed", nlohmann::json::array()},
                                                {"notices", nlohmann::json::array()},
                                                {"status", 0}}));
}

TEST_F(ComposeTest, QuietSaysNothingButErrors) {
    pdf("a.pdf", 1);
    const ProgramResult fine =
        run({"compose", "--quiet", "--output-folder", "out", "--group", "A.pdf", "a.pdf"});
    EXPECT_EQ(fine.status, 0);
    EXPECT_EQ(fine.output + fine.errors, "");
    const ProgramResult bad =
        run({"compose", "--quiet", "--output-folder", "out", "--group", "A.pdf", "gone.pdf"});
    EXPECT_EQ(bad.output, "");
    EXPECT_NE(bad.errors, "");
    const ProgramResult json = run(
        {"compose", "--quiet", "--json", "--output-folder", "out", "--group", "A.pdf", "a.pdf"});
    EXPECT_EQ(reportIn(json)["status"], 0) << "JSON was asked for";
}

TEST_F(ComposeTest, AMissingOutputFolderIsMadeWithAllAboveIt) {
    pdf("a.pdf", 1);
    EXPECT_EQ(run({"compose", "--output-folder", "x/y/z/", "--group", "A.pdf", "a.pdf"}).status, 0);
    EXPECT_TRUE(fs::exists(work / "x/y/z/A.pdf"));
}

TEST_F(ComposeTest, WithoutAFolderItIsTheProgramsFolderAmongTheMovies) {
    pdf("a.pdf", 1);
    EXPECT_EQ(run({"compose", "--group", "A.pdf", "a.pdf"}).status, 0);
    EXPECT_TRUE(fs::exists(home / "Movies/Quillorn Folivane/A.pdf"));
}

TEST_F(ComposeTest, WithoutAFolderItIsThePreferredOne) {
    pdf("a.pdf", 1);
    fs::create_directories(home / ".config/quillorn-folivane");
    writeFile(home / ".config/quillorn-folivane/quillorn-folivane.conf",
              "[General]\nSaveFilePlace=" + (home / "My PDFs").string() + "\n");
    EXPECT_EQ(run({"compose", "--group", "A.pdf", "a.pdf"}).status, 0);
    EXPECT_TRUE(fs::exists(home / "My PDFs/A.pdf"));
    EXPECT_FALSE(fs::exists(home / "Movies"));
}

TEST_F(ComposeTest, AGivenFolderLeavesTheUsersOwnAlone) {
    pdf("a.pdf", 1);
    EXPECT_EQ(run({"compose", "--output-folder", ".", "--group", "A.pdf", "a.pdf"}).status, 0);
    EXPECT_THAT(namesIn(home), IsEmpty());
    EXPECT_THAT(litter(), IsEmpty());
    EXPECT_THAT(namesIn(work), ElementsAre("A.pdf", "a.pdf"));
}

TEST_F(ComposeTest, AnExistingFileIsReplaced) {
    pdf("a.pdf", 2);
    writeFile(work / "A.pdf", "something else");
    EXPECT_EQ(run({"compose", "--output-folder", ".", "--group", "A.pdf", "a.pdf"}).status, 0);
    EXPECT_EQ(pageTexts(work / "A.pdf").size(), 2U);
}

TEST_F(ComposeTest, AnOutputMayReplaceItsOwnSource) {
    pdf("a.pdf", 3);
    pdf("b.pdf", 1);
    const ProgramResult result =
        run({"compose", "--output-folder", ".", "--group", "a.pdf", "a.pdf", "--pages", "3-1",
             "b.pdf", "--group", "c.pdf", "a.pdf"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageTexts(work / "a.pdf"), ElementsAre("Page 3 of a.pdf", "Page 2 of a.pdf",
                                                       "Page 1 of a.pdf", "Page 1 of b.pdf"));
    EXPECT_THAT(pageTexts(work / "c.pdf"),
                ElementsAre("Page 1 of a.pdf", "Page 2 of a.pdf", "Page 3 of a.pdf"))
        << "the second group still takes the pages that were there at the start";
}

TEST_F(ComposeTest, NamesThatDifferInCaseAreDifferentFiles) {
    pdf("a.pdf", 1);
    EXPECT_EQ(run({"compose", "--output-folder", "out", "--group", "Untitled.pdf", "a.pdf",
                   "--group", "Untitled.PDF", "a.pdf"})
                  .status,
              0);
    EXPECT_THAT(namesIn(work / "out"), ElementsAre("Untitled.PDF", "Untitled.pdf"));
}

TEST_F(ComposeTest, OddNamesAreJustNames) {
    pdf("--pages", 1);
    pdf("o'clock $(x) \xe9.pdf", 1);
    const ProgramResult result =
        run({"compose", "--json", "--output-folder", "it's", "--group", "a\nb.pdf", "./--pages",
             "o'clock $(x) \xe9.pdf", "--group", "C.pdf", "--", "--pages"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(pageTexts(work / "it's/a\nb.pdf").size(), 2U);
    EXPECT_EQ(reportIn(result)["outputs"][0]["file"], (work / "it's/a\nb.pdf").string());
}

TEST_F(ComposeTest, BytesThatAreNoUtf8AreReplacedInJsonAndShownInText) {
    const ProgramResult json =
        run({"compose", "--json", "--output-folder", "out", "--group", "A.pdf", "x\xe9.pdf"});
    EXPECT_EQ(json.status, 3);
    EXPECT_EQ(reportIn(json)["refused"][0]["file"], (work / "x\ufffd.pdf").string());
    EXPECT_THAT(json.errors, HasSubstr("x\\xe9.pdf is not a legal file.\n"));
}

TEST_F(ComposeTest, LockedFilesAreOpenedWithTheirPasswords) {
    lockedPdf("locked.pdf");
    writeFile(work / "key.txt", "owner\n");
    const ProgramResult result =
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "locked.pdf", "--password",
             "user", "locked.pdf", "--password-file", "key.txt"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(pageTexts(work / "out/A.pdf").size(), 4U);
    EXPECT_EQ(Program("qpdf", {"--is-encrypted", (work / "out/A.pdf").string()}).run().status, 2)
        << "qpdf says 2 for a file that is not encrypted";
}

TEST_F(ComposeTest, ADocumentWithoutPagesMakesAFileWithOneBlankPage) {
    pdf("empty.pdf", 0);
    EXPECT_EQ(run({"compose", "--output-folder", "out", "--group", "A.pdf", "empty.pdf"}).status,
              0);
    EXPECT_THAT(pageTexts(work / "out/A.pdf"), ElementsAre(""));
}

TEST_F(ComposeTest, AFolderNamedLikeADocumentContributesItsEntries) {
    fs::create_directory(work / "letters.pages");
    pdf("letters.pages/one.pdf", 2);
    pdf("letters.pages/.two", 1);
    const ProgramResult result =
        run({"compose", "--output-folder", "out", "--group", "A.pdf", "letters.pages"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(pageTexts(work / "out/A.pdf"),
                testing::UnorderedElementsAre("Page 1 of letters.pages/one.pdf",
                                              "Page 2 of letters.pages/one.pdf",
                                              "Page 1 of letters.pages/.two"));
}

TEST_F(ComposeTest, ProgressIsShownOnATerminalAndWipedAway) {
    pdf("a.pdf", 3000);
    std::vector<std::string> words = {"compose", "--output-folder", "out", "--group", "A.pdf"};
    for (int i = 0; i < 20; ++i) { // long enough to be seen
        words.emplace_back("a.pdf");
        words.emplace_back("--pages");
        words.emplace_back("1-z:odd");
    }
    const ProgramResult shown = program(words).onTerminal().run();
    EXPECT_EQ(shown.status, 0);
    EXPECT_THAT(shown.errors, testing::ContainsRegex("A.pdf: [0-9,]+ of 30,000 pages"));
    EXPECT_TRUE(shown.errors.ends_with("\r\033[K")) << "the line is blank at the end";
    words.emplace_back("--quiet");
    EXPECT_EQ(program(words).onTerminal().run().errors, "");
}

} // namespace
} // namespace quillorn::tests
