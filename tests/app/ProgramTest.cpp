#include "tests/app/ProgramFixture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

class ProgramTest : public ProgramFixture {};

TEST_F(ProgramTest, TellsItsVersion) {
    const ProgramResult result = run({"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "quillorn-folivane " QUILLORN_VERSION "\n");
    EXPECT_EQ(result.errors, "");
}

TEST_F(ProgramTest, PrintsTheHelpThatWasAskedFor) {
    const ProgramResult result = run({"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("Usage:"));
    EXPECT_EQ(result.errors, "");
    for (const char* const option :
         {"--group", "--output-folder", "--json", "--quiet", "--keep-going", "--pages", "--rotate",
          "--password ", "--password-file", "--help"}) {
        EXPECT_THAT(run({"compose", "--help"}).output, HasSubstr(option));
    }
    EXPECT_THAT(run({"info", "--help"}).output, StartsWith("Tells about PDF files."));
}

TEST_F(ProgramTest, WithoutWordsPrintsTheHelpAsAnError) {
    const ProgramResult result = run({});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, run({"--help"}).output);
}

TEST_F(ProgramTest, AMistakeIsExplainedInTwoLines) {
    const ProgramResult result = run({"compose", "--colour"});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "There is no option --colour.\n"
                             "Try \"quillorn-folivane compose --help\".\n");
}

TEST_F(ProgramTest, ControlCharactersInAMistakeAreShown) {
    EXPECT_EQ(run({"\033[2Jx"}).errors, "There is no command \\x1b[2Jx.\n"
                                        "Try \"quillorn-folivane --help\".\n");
}

TEST_F(ProgramTest, AMistakeIsReportedAsJsonWhereJsonIsWanted) {
    const ProgramResult compose = run({"compose", "--group", "a.txt", "x", "--json"});
    EXPECT_EQ(compose.status, 2);
    EXPECT_EQ(reportIn(compose), nlohmann::json({{"outputs", nlohmann::json::array()},
                                                 {"refused", nlohmann::json::array()},
                                                 {"failed", nlohmann::json::array()},
                                                 {"notices", nlohmann::json::array()},
                                                 {"error", "a.txt is not of a supported format."},
                                                 {"status", 2}}));
    const ProgramResult info = run({"info", "--json"});
    EXPECT_EQ(info.status, 2);
    EXPECT_EQ(reportIn(info), nlohmann::json({{"files", nlohmann::json::array()},
                                              {"refused", nlohmann::json::array()},
                                              {"error", "There is no file to tell about."},
                                              {"status", 2}}));
}

TEST_F(ProgramTest, APasswordFileThatCannotBeReadIsAMistake) {
    const std::string file = pdf("a.pdf", 1);
    const ProgramResult result = run({"compose", "--output-folder", "out", "--group", "A.pdf", file,
                                      "--password-file", "gone.txt"});
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.errors, StartsWith("The password file cannot be read.\n"
                                          "  gone.txt: No such file or directory\n"));
    EXPECT_FALSE(std::filesystem::exists(work / "out"));
}

TEST_F(ProgramTest, SaysSoWhenNobodyCanHearIt) {
    for (const char* const word : {"--help", "--version"}) {
        const ProgramResult result =
            Program("sh", {"-c", std::string("\"$0\" ") + word + " >/dev/full", QUILLORN_PROGRAM})
                .run();
        EXPECT_EQ(result.status, 4);
        EXPECT_EQ(result.errors, "Standard output cannot be written.\n");
    }
}

TEST_F(ProgramTest, APipeThatNobodyReadsEndsItWithAMessageNotASignal) {
    const ProgramResult result =
        Program("bash", {"-c", "\"$0\" --help | true; echo ${PIPESTATUS[0]}", QUILLORN_PROGRAM})
            .run();
    // The reader may be gone before or after the few bytes are written.
    EXPECT_THAT(result.output, testing::AnyOf("0\n", "4\n"));
}

} // namespace
} // namespace quillorn::tests
