#include "tests/app/ProgramFixture.h"
#include "tests/fakes/HostilePDF.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn::tests {
namespace {

using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::size_t mebibyte = 1U << 20U;
constexpr std::uint64_t gibibyte = 1U << 30U;

#ifdef QUILLORN_SANITIZERS
constexpr bool memoryIsLimited = false;
#else
constexpr bool memoryIsLimited = true;
#endif

class HostileFilesTest : public ProgramFixture {
protected:
    using Words = std::vector<std::string>;

    /// Neither command may take a gibibyte for the file, nor die of it.
    void expectRefusedWithinAGibibyte(const std::string& bytes) {
        writeFile(work / "in.pdf", bytes);
        for (const Words& words :
             {Words{"info", "--count", "in.pdf"},
              Words{"compose", "--output-folder", "out", "--group", "x.pdf", "in.pdf"}}) {
            const ProgramResult result = program(words).withMemoryLimit(gibibyte).run();
            EXPECT_EQ(result.status, 3) << result.output;
            EXPECT_THAT(result.errors, HasSubstr("in.pdf is not a legal file.\n"));
            EXPECT_THAT(result.errors, HasSubstr("it unpacks to far more data than a document"));
        }
        EXPECT_THAT(namesIn(work / "out"), IsEmpty());
        EXPECT_THAT(litter(), IsEmpty());
    }

    /// A file that is honest enough to be read but costs 120 times as many bytes of memory.
    void costlyPdf(const std::string& name, std::size_t bytes) const {
        PackedPDF("/FlateDecode /FlateDecode", twiceDeflated)
            .pageEntries("/PieceInfo 4 0 R")
            .object(arrayOfIntegers(bytes))
            .pdf()
            .writeTo(work / name);
    }
};

TEST_F(HostileFilesTest, ThatUnpackToMillionsOfObjectsAreRefused) {
    std::filesystem::create_directory(work / "out");
    expectRefusedWithinAGibibyte(PackedPDF("/FlateDecode /FlateDecode", twiceDeflated)
                                     .pageEntries("/PieceInfo 4 0 R")
                                     .object(arrayOfIntegers(16 * mebibyte))
                                     .pdf()
                                     .bytes());
}

TEST_F(HostileFilesTest, ThatUnpackToMillionsOfCrossReferencesAreRefused) {
    std::filesystem::create_directory(work / "out");
    expectRefusedWithinAGibibyte(pdfOfCrossReferences(64 * mebibyte));
}

TEST_F(HostileFilesTest, AreRefusedWhereverMemoryRunsOut) {
    costlyPdf("in.pdf", 2 * mebibyte);
    // The document becomes the output itself, or one page of it is copied.
    for (const Words& files : {Words{"in.pdf"}, Words{"in.pdf", "--pages", "1,1", "in.pdf"}}) {
        Words words{"compose", "--output-folder", "out", "--group", "x.pdf"};
        words.insert(words.end(), files.begin(), files.end());
        for (const unsigned limit : {60U, 200U, 280U, 320U}) {
            const ProgramResult result = program(words).withMemoryLimit(limit * mebibyte).run();
            if (result.status == 0) {
                EXPECT_THAT(namesIn(work / "out"), testing::ElementsAre("x.pdf"));
                std::filesystem::remove_all(work / "out");
                continue;
            }
            EXPECT_THAT(result.status, testing::AnyOf(3, 4)) << limit << ": " << result.errors;
            EXPECT_THAT(result.errors,
                        testing::ContainsRegex("in.pdf: there is not enough memory for it\n"));
            EXPECT_FALSE(std::filesystem::exists(work / "out/x.pdf")) << limit;
        }
    }
    const ProgramResult little = program({"info", "in.pdf"}).withMemoryLimit(100 * mebibyte).run();
    EXPECT_EQ(little.status, memoryIsLimited ? 3 : 0) << little.errors;
    EXPECT_EQ(run({"info", "in.pdf"}).status, 0);
}

// Nobody limits the program here but itself.
TEST_F(HostileFilesTest, ThatOnlyTogetherNeedFarTooMuchMemoryAreRefused) {
    Words words{"compose", "--output-folder", "out", "--group", "x.pdf"};
    for (int i = 1; i <= 4; ++i) {
        words.push_back("in" + std::to_string(i) + ".pdf");
        costlyPdf(words.back(), 4 * mebibyte - 4096);
    }
    const ProgramResult result = run(words);
    EXPECT_EQ(result.status, memoryIsLimited ? 3 : 0) << result.errors;
    EXPECT_THAT(result.errors, memoryIsLimited
                                   ? HasSubstr("in4.pdf: there is not enough memory for it\n")
                                   : HasSubstr(""));
}

} // namespace
} // namespace quillorn::tests
