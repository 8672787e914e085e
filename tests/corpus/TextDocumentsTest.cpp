#include "import/HTMtoPDF.h"
#include "import/RtfToPDF.h"
#include "import/WordConverter.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/OutsideProgram.h"
#include "tests/fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

namespace quillorn::corpus {
namespace {

/// Whether a script that knows no engine of ours is to find the document's words in the PDF.
enum class Words { expected, unknown };

/// Checks a result of a conversion into an otherwise empty folder.
void expectFlawlessOrRefused(const ImportResult<std::string>& pdf,
                             const std::filesystem::path& folder,
                             const std::filesystem::path& document, Words words) {
    if (!pdf) {
        EXPECT_NE(pdf.error().message, "");
        EXPECT_NE(pdf.error().reason, "");
        EXPECT_TRUE(std::filesystem::is_empty(folder));
        return;
    }
    const ProgramRun check = runProgram({"qpdf", "--check", *pdf});
    EXPECT_EQ(check.exitStatus, 0) << check.output << check.errors;
    const std::string text = (folder / "text").string();
    const ProgramRun reading = runProgram({"pdftotext", "-enc", "UTF-8", *pdf, text});
    EXPECT_EQ(reading.exitStatus, 0) << reading.errors;
    if (words == Words::expected) {
        const ProgramRun search =
            runProgram({"python3", QUILLORN_SOURCE_WORDS, document.string(), text});
        const bool hasNone = search.exitStatus == 2;
        EXPECT_TRUE(hasNone || search.exitStatus == 0)
            << "missing: " << search.output << search.errors;
    }
}

/// Nobody can say what a damaged document says.
Words wordsOf(const std::filesystem::path& document) {
    return document.filename().string().starts_with("damaged") ? Words::unknown : Words::expected;
}

class TextDocument : public testing::TestWithParam<Document> {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
};

TEST_P(TextDocument, BecomesAFlawlessPdfOrIsRefusedWithAMessage) {
    const tests::TemporaryFolder folder;
    TextDocumentConverter converter({folder.path()});
    const auto& file = GetParam().file;
    const auto converted = converter.rtf2PDF(file.string());
    const ImportResult<std::string> pdf =
        converted.transform([](const ConvertedFile& result) { return result.pdf; });
    expectFlawlessOrRefused(pdf, folder.path(), file, wordsOf(file));
}

class DroppedWordDocument : public TextDocument {};

TEST_P(DroppedWordDocument, BecomesAFlawlessPdfOrIsRefusedWithAMessage) {
    const tests::TemporaryFolder folder;
    WebPageConverter html({folder.path(), false});
    WordConverter converter(html, {folder.path()});
    const auto& file = GetParam().file;
    expectFlawlessOrRefused(converter.doc2PDF(file.string()), folder.path(), file,
                            Words::unknown); // wvCommand leaves some out
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
