#include "import/HTMtoPDF.h"
#include "import/RtfToPDF.h"
#include "import/WordConverter.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/OutsideProgram.h"
#include "tests/corpus/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace quillorn::corpus {
namespace {

/// Checks a result of a conversion into an otherwise empty folder.
void expectFlawlessOrRefused(const ImportResult<std::string>& pdf,
                             const std::filesystem::path& folder) {
    if (!pdf) {
        EXPECT_NE(pdf.error().message, "");
        EXPECT_NE(pdf.error().reason, "");
        EXPECT_TRUE(std::filesystem::is_empty(folder));
        return;
    }
    const ProgramRun check = runProgram({"qpdf", "--check", *pdf});
    EXPECT_EQ(check.exitStatus, 0) << check.output << check.errors;
    const ProgramRun text = runProgram({"pdftotext", *pdf, "-"});
    EXPECT_EQ(text.exitStatus, 0) << text.errors;
}

class TextDocument : public testing::TestWithParam<Document> {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
};

TEST_P(TextDocument, BecomesAFlawlessPdfOrIsRefusedWithAMessage) {
    const TemporaryFolder folder;
    TextDocumentConverter converter({folder.path()});
    const auto converted = converter.rtf2PDF(GetParam().file.string());
    if (converted) {
        expectFlawlessOrRefused(converted->pdf, folder.path());
    } else {
        expectFlawlessOrRefused(tl::unexpected(converted.error()), folder.path());
    }
}

class DroppedWordDocument : public TextDocument {};

TEST_P(DroppedWordDocument, BecomesAFlawlessPdfOrIsRefusedWithAMessage) {
    const TemporaryFolder folder;
    WebPageConverter html({folder.path(), false});
    WordConverter converter(html, {folder.path()});
    expectFlawlessOrRefused(converter.doc2PDF(GetParam().file.string()), folder.path());
}

// The corpus that this repository carries holds no text documents.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(TextDocument);
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(DroppedWordDocument);

const auto nameOf = [](const auto& instance) { return testName(instance.param); };

INSTANTIATE_TEST_SUITE_P(CorpusRtf, TextDocument, testing::ValuesIn(Corpus::get().documents("rtf")),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(CorpusTxt, TextDocument, testing::ValuesIn(Corpus::get().documents("txt")),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(CorpusDoc, TextDocument, testing::ValuesIn(Corpus::get().documents("doc")),
                         nameOf);
INSTANTIATE_TEST_SUITE_P(CorpusDocx, TextDocument,
                         testing::ValuesIn(Corpus::get().documents("docx")), nameOf);
INSTANTIATE_TEST_SUITE_P(CorpusDoc, DroppedWordDocument,
                         testing::ValuesIn(Corpus::get().documents("doc")), nameOf);

} // namespace
} // namespace quillorn::corpus
