#include "platform/pdf/OpeningFacts.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/OutsideProgram.h"
#include "tests/fakes/TemporaryFolder.h"

#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

namespace quillorn::corpus {
namespace {

PDFReaderInput inputOf(const std::filesystem::path& file) {
    return {std::make_shared<const FileDescriptor>(::open(file.c_str(), O_RDONLY | O_CLOEXEC)),
            file, std::filesystem::file_size(file), ""};
}

TEST(Opening, NeverFindsWhatTheLibraryDoesNot) {
    for (const char* kind : {"pdf", "pdf-encrypted", "pdf-damaged"}) {
        for (const Document& document : Corpus::get().documents(kind)) {
            const PDFReaderInput input = inputOf(document.file);
            const auto facts = readOpeningFacts(input);
            EXPECT_TRUE(!facts || facts == openingFactsByLibrary(input)) << document.file;
        }
    }
}

/// As they are, and as newer programs would have saved them.
TEST(Opening, FindsWhatTheLibraryFindsInLongDocuments) {
    const tests::TemporaryFolder folder;
    const std::filesystem::path packed = folder.path() / "packed.pdf";
    for (const Document& document : Corpus::get().documents("pdf")) {
        if (!openingFactsByLibrary(inputOf(document.file))) {
            continue; // short, or not in order
        }
        EXPECT_TRUE(readOpeningFacts(inputOf(document.file)).has_value()) << document.file;
        for (const char* order : {"--deterministic-id", "--linearize"}) {
            const ProgramRun run = runProgram({"qpdf", "--object-streams=generate", order,
                                               document.file.string(), packed.string()});
            ASSERT_EQ(run.exitStatus, 0) << document.file << run.errors;
            const PDFReaderInput input = inputOf(packed);
            const auto facts = readOpeningFacts(input);
            EXPECT_TRUE(facts.has_value()) << document.file << order;
            EXPECT_EQ(facts, openingFactsByLibrary(input)) << document.file << order;
        }
    }
}

} // namespace
} // namespace quillorn::corpus
