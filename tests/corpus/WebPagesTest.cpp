#include "import/FileRoute.h"
#include "import/HTMtoPDF.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/OutsideProgram.h"
#include "tests/corpus/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>
#include <vector>

namespace quillorn::corpus {
namespace {

/// The pages of a folder without the files that belong to them.
std::vector<Document> webPages(const std::string& kind) {
    std::vector<Document> pages = Corpus::get().documents(kind);
    std::erase_if(pages, [](const Document& document) {
        return dropRoute(document.file.string()) != FileRoute::html;
    });
    return pages;
}

class WebPage : public testing::TestWithParam<Document> {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
};

TEST_P(WebPage, BecomesAFlawlessPdfOrIsRefusedWithAMessage) {
    const TemporaryFolder folder;
    WebPageConverter converter({folder.path(), false});
    const auto pdf = converter.html2PDF(GetParam().file.string(), {});
    if (!pdf) {
        EXPECT_NE(pdf.error().message, "");
        EXPECT_NE(pdf.error().reason, "");
        EXPECT_TRUE(std::filesystem::is_empty(folder.path()));
        return;
    }
    const ProgramRun check = runProgram({"qpdf", "--check", *pdf});
    EXPECT_EQ(check.exitStatus, 0) << check.output << check.errors;
    const ProgramRun text = runProgram({"pdftotext", *pdf, "-"});
    ASSERT_EQ(text.exitStatus, 0) << text.errors;
    if (text.output.find_first_not_of(" \t\r\n\f") == std::string::npos) {
        // Nothing to read: then there is a picture.
        const ProgramRun pictures = runProgram({"pdfimages", "-list", *pdf});
        EXPECT_NE(pictures.output.find(" image "), std::string::npos) << pictures.output;
    }
}

// The corpus that this repository carries holds no web pages.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(WebPage);

INSTANTIATE_TEST_SUITE_P(CorpusHtml, WebPage, testing::ValuesIn(webPages("html")),
                         [](const auto& instance) { return testName(instance.param); });
INSTANTIATE_TEST_SUITE_P(CorpusArchive, WebPage, testing::ValuesIn(webPages("webarchive")),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::corpus
