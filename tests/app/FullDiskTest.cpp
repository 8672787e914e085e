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

class FullDiskTest : public ProgramFixture {
protected:
    FullDiskTest() {
        TestPDF("large", 4).padPages(std::size_t{1} << 20U).writeTo(work / "large.pdf");
        pdf("small.pdf", 1);
    }
    const std::vector<std::string> words = {"compose", "--output-folder", "out",
                                            "--group", "L.pdf",           "large.pdf",
                                            "--group", "S.pdf",           "small.pdf"};
};

TEST_F(FullDiskTest, AFileThatGrowsBeyondTheLimitIsReportedAndTheOldOneStays) {
    fs::create_directory(work / "out");
    writeFile(work / "out/L.pdf", "the old file");
    const ProgramResult result = program(words).withFileSizeLimit(std::uint64_t{1} << 20U).run();
    EXPECT_EQ(result.status, 4) << result.errors;
    EXPECT_THAT(result.errors, HasSubstr("L.pdf was not written.\n"));
    EXPECT_THAT(result.errors, HasSubstr("File too large"));
    EXPECT_EQ(readFile(work / "out/L.pdf"), "the old file");
    EXPECT_THAT(namesIn(work / "out"), ElementsAre("L.pdf", "S.pdf"));
    EXPECT_EQ(pageTexts(work / "out/S.pdf").size(), 1U) << "the other group is written";
    EXPECT_THAT(litter(), IsEmpty());
}

// Small objects reach the disk in blocks that are flushed at odd moments, also at the very end.
TEST_F(FullDiskTest, TheLimitIsReportedWhereverItIsReached) {
    TestPDF("many", 3000).setLabels("0 << /S /r >>").writeTo(work / "many.pdf");
    fs::create_directory(work / "out");
    const std::vector<std::string> compose = {"compose", "--output-folder", "out",     "--group",
                                              "M.pdf",   "many.pdf",        "many.pdf"};
    ASSERT_EQ(program(compose).run().status, 0);
    const std::uint64_t whole = fs::file_size(work / "out/M.pdf");
    fs::remove(work / "out/M.pdf");
    constexpr std::uint64_t dates = 100; // compressed, they vary by some bytes a second
    for (const std::uint64_t limit : {std::uint64_t{4096}, whole / 4, whole / 2, whole - 100'000,
                                      whole - 1000, whole - dates}) {
        const ProgramResult result = program(compose).withFileSizeLimit(limit).run();
        EXPECT_EQ(result.status, 4) << limit << " of " << whole << " bytes: " << result.errors;
        EXPECT_THAT(result.errors, HasSubstr("File too large"));
        EXPECT_THAT(namesIn(work / "out"), IsEmpty());
    }
    EXPECT_EQ(program(compose).withFileSizeLimit(whole + dates).run().status, 0);
}

// A disk of one megabyte, in a mount namespace that ends with the program. Systems that let
// nobody make one still have the limit of the test above, which takes the same road.
TEST_F(FullDiskTest, ADiskThatFillsUpIsReportedAndNothingHalfWrittenStays) {
    fs::create_directory(work / "out");
    const std::string mount = "mount -t tmpfs -o size=1m none out";
    bool canMount = false;
    for (const char* const how : {"--mount", "-rm"}) {
        canMount = Program("unshare", {how, "sh", "-c", mount}).inFolder(work).run().status == 0;
        if (!canMount) {
            continue;
        }
        std::string command = mount + " && \"$@\"; echo \"status $?\"; ls -A out";
        std::vector<std::string> arguments = {how, "sh", "-c", command, "sh", QUILLORN_PROGRAM};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ProgramResult result =
            Program("unshare", arguments).inFolder(work).with("TMPDIR", temporary.string()).run();
        EXPECT_THAT(result.errors, HasSubstr("No space left on device"));
        EXPECT_THAT(result.output, testing::EndsWith("status 4\nS.pdf\n"));
        break;
    }
    RecordProperty("mounted", canMount ? "yes" : "no");
    EXPECT_THAT(namesIn(work / "out"), IsEmpty()) << "the mount was the program's own";
}

} // namespace
} // namespace quillorn::tests
