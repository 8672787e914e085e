#include "tests/app/ProgramFixture.h"
#include "tests/fakes/TestPDF.h"

#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class InfoTest : public ProgramFixture {
protected:
    [[nodiscard]] nlohmann::json infoOf(std::vector<std::string> words) const {
        words.insert(words.begin(), {"info", "--json"});
        const ProgramResult result = run(std::move(words));
        EXPECT_EQ(result.status, 0) << result.errors;
        return reportIn(result)["files"].at(0);
    }
};

TEST_F(InfoTest, TellsAboutAFileInAlignedLines) {
    TestPDF("a", 6)
        .setVersion("1.4")
        .setPageSize(0, 595.28, 841.89)
        .setRotation(0, 90)
        .setLabels("0 << /S /r >> 4 << /S /D /P (A-) >>")
        .writeTo(work / "a.pdf");
    const ProgramResult result = run({"info", "a.pdf"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(
        result.output, (work / "a.pdf").string() +
                           "\n"
                           "  pages       6\n"
                           "  size        " +
                           [this]() {
                               std::string bytes =
                                   std::to_string(std::filesystem::file_size(work / "a.pdf"));
                               return bytes.insert(bytes.size() - 3, ",");
                           }() +
                           " bytes\n"
                           "  version     PDF 1.4\n"
                           "  protection  none\n"
                           "  allows      everything\n"
                           "  first page  841.89 x 595.28 points, turned by 90 degrees\n"
                           "  page labels 1-4: i-iv, 5-6: A-1-A-2\n");
}

TEST_F(InfoTest, TellsAboutAFileAsJson) {
    TestPDF("a", 3).setRotation(0, 270).setLabels("1 << /S /R >>").writeTo(work / "a.pdf");
    const nlohmann::json info = infoOf({"a.pdf"});
    EXPECT_EQ(info["file"], (work / "a.pdf").string());
    EXPECT_EQ(info["pages"], 3);
    EXPECT_EQ(info["bytes"], std::filesystem::file_size(work / "a.pdf"));
    EXPECT_EQ(info["version"], "1.7");
    EXPECT_EQ(info["encrypted"], false);
    EXPECT_EQ(info["locked"], false);
    EXPECT_EQ(info["firstPage"],
              nlohmann::json({{"width", 792.0}, {"height", 612.0}, {"rotation", 270}}));
    EXPECT_EQ(info["labels"], nlohmann::json({"1", "I", "II"}));
    EXPECT_EQ(info["warnings"], nlohmann::json::array());
    for (const auto& [name, granted] : info["permissions"].items()) {
        EXPECT_EQ(granted, true) << name;
    }
    EXPECT_EQ(info["permissions"].size(), 8U);
}

TEST_F(InfoTest, AFileWithoutLabelsHasAnEmptyListOfThem) {
    pdf("a.pdf", 2);
    EXPECT_EQ(infoOf({"a.pdf"})["labels"], nlohmann::json::array());
    EXPECT_THAT(run({"info", "a.pdf"}).output, HasSubstr("page labels none\n"));
}

TEST_F(InfoTest, ALockedFileIsDescribedAsLocked) {
    lockedPdf("locked.pdf");
    const ProgramResult result = run({"info", "locked.pdf"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("protection  locked; a password is needed"));
    const nlohmann::json info = infoOf({"locked.pdf"});
    EXPECT_EQ(info["locked"], true);
    EXPECT_EQ(info["encrypted"], true);
    EXPECT_TRUE(info["pages"].is_null());
    EXPECT_TRUE(info["permissions"].is_null());
}

TEST_F(InfoTest, APasswordTellsMoreAndWhatItAllows) {
    TestPDF("a", 2).writeTo(folders / "plain.pdf");
    encryptPDF(folders / "plain.pdf", work / "held.pdf",
               {"user", "owner", {"--extract=n", "--print=low"}});
    const nlohmann::json user = infoOf({"held.pdf", "--password", "user"});
    EXPECT_EQ(user["pages"], 2);
    EXPECT_EQ(user["permissions"]["copying"], false);
    EXPECT_EQ(user["permissions"]["printing"], true);
    EXPECT_EQ(user["permissions"]["printingHighRes"], false);
    writeFile(work / "key.txt", "owner");
    const nlohmann::json owner = infoOf({"held.pdf", "--password-file", "key.txt"});
    EXPECT_EQ(owner["permissions"]["copying"], true);
    EXPECT_THAT(run({"info", "--password=user", "held.pdf"}).output,
                HasSubstr("allows      printing (low resolution), reading aloud, "));
}

TEST_F(InfoTest, AWrongPasswordIsIncorrect) {
    lockedPdf("locked.pdf");
    const ProgramResult result = run({"info", "--password", "wrong", "locked.pdf"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, StartsWith("Password entered is incorrect!\n  " +
                                          (work / "locked.pdf").string() + ": "));
}

TEST_F(InfoTest, GoesOnBehindAFileThatIsNoPdf) {
    pdf("a.pdf", 1);
    writeFile(work / "notes.txt", "text");
    const ProgramResult result = run({"info", "a.pdf", "notes.txt", "a.pdf", "gone.pdf"});
    EXPECT_EQ(result.status, 3);
    EXPECT_THAT(result.errors, HasSubstr("notes.txt is not a legal file.\n"));
    EXPECT_THAT(result.errors, HasSubstr(": No such file or directory\n"));
    const std::size_t first = result.output.find("pages       1");
    EXPECT_NE(result.output.find("pages       1", first + 1), std::string::npos);
    const nlohmann::json report =
        reportIn(run({"info", "--json", "a.pdf", "notes.txt", "a.pdf", "gone.pdf"}));
    EXPECT_EQ(report["files"].size(), 2U);
    EXPECT_EQ(report["refused"].size(), 2U);
    EXPECT_EQ(report["refused"][1]["message"], "gone.pdf is not a legal file.");
    EXPECT_EQ(report["status"], 3);
}

TEST_F(InfoTest, DamageIsToldAndTheRestAsWell) {
    std::string bytes = TestPDF("a", 2).bytes();
    bytes.erase(bytes.rfind("xref\n0"), 4); // the table is not found where it should be
    writeFile(work / "damaged.pdf", bytes);
    const nlohmann::json info = infoOf({"damaged.pdf"});
    EXPECT_EQ(info["pages"], 2);
    EXPECT_GT(info["warnings"].size(), 0U);
    EXPECT_THAT(run({"info", "damaged.pdf"}).output, HasSubstr("\n  warnings    "));
}

TEST_F(InfoTest, ADocumentWithoutPagesHasNoFirstPage) {
    pdf("empty.pdf", 0);
    const nlohmann::json info = infoOf({"empty.pdf"});
    EXPECT_EQ(info["pages"], 0);
    EXPECT_TRUE(info["firstPage"].is_null());
    EXPECT_THAT(run({"info", "empty.pdf"}).output, HasSubstr("first page  none\n"));
}

TEST_F(InfoTest, ControlCharactersInLabelsAndNamesAreShown) {
    TestPDF("a", 1).setLabels("0 << /P <FEFF001B005B0032004A> >>").writeTo(work / "a\nb.pdf");
    const ProgramResult result = run({"info", "a\nb.pdf"});
    EXPECT_THAT(result.output, HasSubstr("/a\\nb.pdf\n"));
    EXPECT_THAT(result.output, HasSubstr("1: \\x1b[2J\n"));
}

TEST_F(InfoTest, LeavesNothingBehind) {
    pdf("a.pdf", 1);
    EXPECT_EQ(run({"info", "a.pdf"}).status, 0);
    EXPECT_TRUE(litter().empty());
    EXPECT_TRUE(namesIn(home).empty());
}

} // namespace
} // namespace quillorn::tests
