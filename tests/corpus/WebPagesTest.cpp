#include "import/FileRoute.h"
#include "import/HTMtoPDF.h"
#include "platform/print/WebArchive.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/OutsideProgram.h"
#include "tests/fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
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

/// Of a hundred words in paragraphs so many are on paper at least.
constexpr std::size_t usualShare = 80;

/// The page itself, be it in an archive.
std::string sourceOf(const std::filesystem::path& file) {
    if (const auto archive = WebArchive::open(file)) {
        const auto page = (*archive)->find((*archive)->startURL());
        return page ? page->data : std::string();
    }
    std::ostringstream text;
    text << std::ifstream(file, std::ios::binary).rdbuf();
    return text.str();
}

/// Adds the words of a text without tags: four letters at least, or a few characters of another
/// script, of which one takes two or three bytes.
void addWords(std::set<std::string>& words, const std::string& text) {
    constexpr std::size_t letters = 4;
    constexpr std::size_t fewBytes = 6;
    constexpr std::size_t enoughBytes = 18;
    const auto kindOf = [](char ch) {
        return static_cast<unsigned char>(ch) >= 0x80              ? 2
               : std::isalpha(static_cast<unsigned char>(ch)) != 0 ? 1
                                                                   : 0;
    };
    for (std::size_t start = 0; start < text.size();) {
        std::size_t end = start + 1;
        while (end < text.size() && kindOf(text[end]) == kindOf(text[start])) {
            ++end;
        }
        const std::size_t length = end - start;
        if (kindOf(text[start]) == 1 && length >= letters) {
            words.insert(text.substr(start, length));
        } else if (kindOf(text[start]) == 2 && length >= fewBytes && length <= enoughBytes) {
            words.insert(text.substr(start, length));
        }
        start = end;
    }
}

/// A page without what stands in it for the engine alone.
std::string withoutElements(const std::string& html, const std::string& name) {
    std::string low = html;
    std::ranges::transform(low, low.begin(),
                           [](unsigned char ch) { return static_cast<char>(std::tolower(ch)); });
    std::string rest;
    std::size_t from = 0;
    for (std::size_t at = low.find("<" + name); at != std::string::npos;
         at = low.find("<" + name, from)) {
        rest += html.substr(from, at - from);
        from = std::min(low.find("</" + name, at), low.size());
    }
    return rest + html.substr(from);
}

/// The words of a page's paragraphs, as far as they can be told without an engine.
std::set<std::string> wordsOfParagraphs(const std::string& html) {
    std::set<std::string> words;
    for (std::size_t at = html.find("<p"); at != std::string::npos; at = html.find("<p", at + 2)) {
        const char next = at + 2 < html.size() ? html[at + 2] : '\0';
        const std::size_t end = html.find("</p", at);
        if (end == std::string::npos || (next != '>' && std::isspace(next) == 0)) {
            continue;
        }
        std::string text;
        char closing = '\0'; // of the tag or entity that is being passed over
        for (std::size_t i = at; i < end; ++i) {
            const char ch = html[i];
            if (closing != '\0') {
                closing = ch == closing ? '\0' : closing;
            } else if (ch == '<' || ch == '&') {
                closing = ch == '<' ? '>' : ';';
                text += ' ';
            } else {
                text += ch;
            }
        }
        addWords(words, text);
    }
    return words;
}

std::string withoutBlanks(std::string text) {
    std::erase_if(text, [](unsigned char ch) { return std::isspace(ch) != 0; });
    return text;
}

class WebPage : public testing::TestWithParam<Document> {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
};

TEST_P(WebPage, BecomesAFlawlessPdfOrIsRefusedWithAMessage) {
    const tests::TemporaryFolder folder;
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
        return;
    }
    // Paragraphs may be hidden, so that not all of their words are seen.
    const std::string seen = withoutBlanks(text.output);
    const std::set<std::string> words = wordsOfParagraphs(
        withoutElements(withoutElements(sourceOf(GetParam().file), "style"), "script"));
    const auto found = static_cast<std::size_t>(std::ranges::count_if(
        words, [&](const std::string& word) { return seen.find(word) != std::string::npos; }));
    EXPECT_GE(found * 100, words.size() * usualShare) << found << " of " << words.size();
}

// The corpus that this repository carries holds no web pages.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(WebPage);

INSTANTIATE_TEST_SUITE_P(CorpusHtml, WebPage, testing::ValuesIn(webPages("html")),
                         [](const auto& instance) { return testName(instance.param); });
INSTANTIATE_TEST_SUITE_P(CorpusArchive, WebPage, testing::ValuesIn(webPages("webarchive")),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::corpus
