#include "platform/pdf/PDFDocument.h"
#include "platform/pdf/PDFVerifier.h"
#include "tests/corpus/Corpus.h"
#include "tests/corpus/OutsideView.h"
#include "tests/corpus/SeenDocument.h"
#include "tests/fakes/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <filesystem>
#include <initializer_list>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::corpus {
namespace {

namespace fs = std::filesystem;

/// Mixing and repeating take this many pages of each document at most.
constexpr std::size_t mixedPagesOfEach = 60;

constexpr const char* outputName = "output.pdf";

int normalised(int degrees) {
    return (degrees % 360 + 360) % 360;
}

std::vector<Document> readableDocuments() {
    std::vector<Document> documents = Corpus::get().documents("pdf");
    const std::vector<Document> encrypted = Corpus::get().documents("pdf-encrypted");
    documents.insert(documents.end(), encrypted.begin(), encrypted.end());
    return documents;
}

std::string textOf(const PDFPageGeometry& geometry) {
    std::ostringstream text;
    text.precision(std::numeric_limits<double>::max_digits10);
    for (const auto& [name, box] : {std::pair("media", geometry.mediaBox),
                                    {"crop", geometry.cropBox},
                                    {"bleed", geometry.bleedBox},
                                    {"trim", geometry.trimBox},
                                    {"art", geometry.artBox}}) {
        text << name << ' ' << box.left << ' ' << box.bottom << ' ' << box.right << ' ' << box.top
             << '\n';
    }
    text << "turned by " << geometry.rotation << ", unit " << geometry.userUnit;
    return text.str();
}

/// One page of an output, and where it came from.
struct Placed {
    const SeenDocument* from = nullptr;
    std::size_t page = 0; ///< index in the source
    int turn = 0;         ///< degrees added

    bool operator==(const Placed&) const = default;
};

/// The words of ASCII letters and digits in a text, in any order.
std::multiset<std::string> wordsOf(const std::string& text) {
    std::multiset<std::string> words;
    std::istringstream in(text);
    for (std::string word; in >> word;) {
        if (std::ranges::all_of(word, [](unsigned char c) { return std::isalnum(c) != 0; })) {
            words.insert(word);
        }
    }
    return words;
}

class RealDocument : public testing::TestWithParam<Document> {
protected:
    void SetUp() override {
        m_subject = std::make_unique<SeenDocument>(GetParam());
        ASSERT_EQ(m_subject->open(), "");
    }

    [[nodiscard]] const SeenDocument& subject() const { return *m_subject; }
    [[nodiscard]] const fs::path& folder() const { return m_folder.path(); }

    [[nodiscard]] std::vector<Placed> allPages(int turn = 0) const {
        std::vector<Placed> pages;
        for (std::size_t i = 0; i < m_subject->pageCount(); ++i) {
            pages.push_back({m_subject.get(), i, turn});
        }
        return pages;
    }

    /// Composes the pages through a document, as the program does, and looks at the output, unless
    /// it has done so: one page in reverse is what it was before.
    void composeAndCompare(const std::vector<Placed>& pages) {
        if (std::ranges::find(m_composed, pages) != m_composed.end()) {
            return;
        }
        m_composed.push_back(pages);
        PDFDocument output;
        std::map<const SeenDocument*, PDFDocument> inputs;
        for (const Placed& placed : pages) {
            const auto input = inputs.try_emplace(placed.from, placed.from->source()).first;
            const auto page = output.insertPageAtIndex(input->second.pageAtIndex(placed.page),
                                                       output.pageCount());
            page->addRotation(placed.turn);
        }
        const fs::path file = folder() / outputName;
        const auto written = output.writeToFile(file);
        ASSERT_TRUE(written) << written.error().reason;
        EXPECT_EQ(written->pages, pages.size());
        EXPECT_EQ(written->bytes, fs::file_size(file));
        const auto verified = verifyPDF(file, pages.size());
        ASSERT_TRUE(verified) << verified.error().reason;
        EXPECT_THAT(verified->problems, testing::IsEmpty());
        expectSoundness(file, pages);
        expectGeometry(file, pages);
        expectOutsideView(file, pages);
    }

    void expectPagesThatOtherProgramsFind() {
        if (subject().verdict().accepts()) {
            EXPECT_EQ(subject().pageCount(),
                      pageCountByQPDF(subject().document().file, subject().document().passwords));
        }
        const std::optional<OutsideReader> reader = readerOfAll({&subject()});
        ASSERT_TRUE(reader) << "no other program finds " << subject().pageCount() << " pages";
        for (std::size_t i = 0; i < subject().pageCount(); ++i) {
            const auto geometry = subject().source()->geometry(i);
            ASSERT_TRUE(geometry) << geometry.error().reason;
            EXPECT_EQ(normalised(geometry->rotation), subject().pages(*reader)[i].rotation)
                << "page " << i + 1;
        }
    }

    void composeInReverse() {
        std::vector<Placed> pages = allPages();
        std::ranges::reverse(pages);
        composeAndCompare(pages);
    }

    void composeOddPagesOnly() {
        std::vector<Placed> pages;
        for (std::size_t i = 0; i < subject().pageCount(); i += 2) {
            pages.push_back({&subject(), i, 0});
        }
        composeAndCompare(pages);
    }

    void composeTurnedBy90() {
        composeAndCompare(allPages(90));
        // Turned text is read in another order, so it is compared with what qpdf turned.
        const fs::path turned = folder() / "turned-by-qpdf.pdf";
        if (turnWithQPDF(subject().document(), 90, turned)) {
            const std::optional<OutsideReader> reader = readerOfAll({&subject()});
            ASSERT_TRUE(reader);
            const std::vector<OutsidePage> expected = readPages(*reader, turned, {});
            const std::vector<OutsidePage> actual = readPages(*reader, folder() / outputName, {});
            ASSERT_EQ(actual.size(), expected.size());
            for (std::size_t i = 0; i < actual.size(); ++i) {
                EXPECT_EQ(actual[i].text, expected[i].text) << "page " << i + 1;
                EXPECT_EQ(actual[i].rotation, expected[i].rotation) << "page " << i + 1;
            }
        } else {
            EXPECT_FALSE(subject().verdict().accepts()) << "qpdf reads it but cannot turn it";
        }
    }

    void composeEachPageTwice() {
        std::vector<Placed> pages;
        for (std::size_t i = 0; i < std::min(mixedPagesOfEach, m_subject->pageCount()); ++i) {
            pages.insert(pages.end(), 2, {m_subject.get(), i, 0});
        }
        composeAndCompare(pages);
    }

    void composeMixedWithTheNextTwo() {
        const std::vector<Document> all = readableDocuments();
        ASSERT_GE(all.size(), 3U);
        const auto self = static_cast<std::size_t>(
            std::ranges::find(all, GetParam().name, &Document::name) - all.begin());
        SeenDocument second(all[(self + 1) % all.size()]);
        SeenDocument third(all[(self + 2) % all.size()]);
        ASSERT_EQ(second.open(), "");
        ASSERT_EQ(third.open(), "");
        std::vector<Placed> pages;
        for (std::size_t i = 0; i < mixedPagesOfEach; ++i) {
            for (const SeenDocument* from :
                 std::initializer_list<const SeenDocument*>{&subject(), &second, &third}) {
                if (i < from->pageCount()) {
                    pages.push_back({from, i, 0});
                }
            }
        }
        composeAndCompare(pages);
    }

private:
    static void expectSoundness(const fs::path& file, const std::vector<Placed>& pages) {
        bool sourcesAccepted = true;
        bool sourcesWarned = false;
        for (const Placed& placed : pages) {
            sourcesAccepted = sourcesAccepted && placed.from->verdict().accepts();
            sourcesWarned = sourcesWarned || placed.from->verdict().exitStatus == 3;
        }
        EXPECT_EQ(pageCountByQPDF(file), pages.size());
        bool isFlawless = false;
        if (sourcesAccepted) {
            const Verdict verdict = checkWithQPDF(file);
            EXPECT_TRUE(verdict.exitStatus == 0 || (sourcesWarned && verdict.exitStatus == 3))
                << verdict.text;
            isFlawless = verdict.exitStatus == 0;
        }
        if (!isFlawless) { // the check has rewritten it, too, and would have told
            EXPECT_EQ(complaintsOnRewriting(file), "");
        }
    }

    static void expectGeometry(const fs::path& file, const std::vector<Placed>& pages) {
        const auto opened = PDFSource::open(file);
        ASSERT_TRUE(opened) << opened.error().reason;
        EXPECT_FALSE((*opened)->isEncrypted());
        EXPECT_TRUE((*opened)->warnings().empty());
        ASSERT_EQ((*opened)->pageCount(), pages.size());
        for (std::size_t i = 0; i < pages.size(); ++i) {
            auto expected = pages[i].from->source()->geometry(pages[i].page);
            auto actual = (*opened)->geometry(i);
            ASSERT_TRUE(expected) << expected.error().reason;
            ASSERT_TRUE(actual) << actual.error().reason;
            expected->rotation = normalised(expected->rotation + pages[i].turn);
            actual->rotation = normalised(actual->rotation);
            EXPECT_EQ(textOf(*actual), textOf(*expected)) << "page " << i + 1;
        }
    }

    static void expectOutsideView(const fs::path& file, const std::vector<Placed>& pages) {
        std::vector<const SeenDocument*> sources;
        sources.reserve(pages.size());
        for (const Placed& placed : pages) {
            sources.push_back(placed.from);
        }
        const std::optional<OutsideReader> reader = readerOfAll(sources);
        ASSERT_TRUE(reader) << "no other program finds all pages of the sources";
        // Beside other documents such fields come drawn, which not every reader does by itself;
        // a check mark that the reader would set as a letter may be a picture then.
        std::set<const SeenDocument*> redrawn;
        const std::set<const SeenDocument*> different(sources.begin(), sources.end());
        for (const SeenDocument* source : different) {
            if (different.size() > 1 && hasReadersDrawFields(source->document())) {
                redrawn.insert(source);
            }
        }
        const std::vector<OutsidePage> output = readPages(*reader, file, {});
        ASSERT_EQ(output.size(), pages.size());
        for (std::size_t i = 0; i < pages.size(); ++i) {
            const OutsidePage& expected = pages[i].from->pages(*reader)[pages[i].page];
            const testing::Message place =
                testing::Message() << "page " << i + 1 << " of the output, page "
                                   << pages[i].page + 1 << " of " << pages[i].from->document();
            EXPECT_EQ(output[i].boxes, expected.boxes) << place;
            EXPECT_EQ(output[i].rotation, normalised(expected.rotation + pages[i].turn)) << place;
            if (pages[i].turn == 0 && redrawn.contains(pages[i].from)) {
                EXPECT_TRUE(std::ranges::includes(wordsOf(output[i].text), wordsOf(expected.text)))
                    << place << " has the text\n"
                    << output[i].text << "\ninstead of\n"
                    << expected.text;
            } else if (pages[i].turn == 0) {
                EXPECT_EQ(output[i].text, expected.text) << place;
            }
        }
    }

    tests::TemporaryFolder m_folder;
    std::unique_ptr<SeenDocument> m_subject;
    std::vector<std::vector<Placed>> m_composed;
};

// One test a document: what other programs see of it takes longest, and serves every order.
TEST_P(RealDocument, ComposesInAnyOrder) {
    {
        SCOPED_TRACE("the document itself");
        expectPagesThatOtherProgramsFind();
    }
    {
        SCOPED_TRACE("whole");
        composeAndCompare(allPages());
    }
    {
        SCOPED_TRACE("in reverse");
        composeInReverse();
    }
    {
        SCOPED_TRACE("odd pages only");
        composeOddPagesOnly();
    }
    {
        SCOPED_TRACE("turned by 90 degrees");
        composeTurnedBy90();
    }
    {
        SCOPED_TRACE("each page twice");
        composeEachPageTwice();
    }
    SCOPED_TRACE("mixed with the next two documents");
    composeMixedWithTheNextTwo();
}

INSTANTIATE_TEST_SUITE_P(Corpus, RealDocument, testing::ValuesIn(readableDocuments()),
                         [](const auto& instance) { return testName(instance.param); });

} // namespace
} // namespace quillorn::corpus
