#include "tests/corpus/Corpus.h"
#include "tests/corpus/IsolatedRun.h"
#include "tests/fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>

namespace quillorn::corpus {
namespace {

using Kind = KnownPassword::Kind;

/// Says before the first test which documents run, so that nobody takes the selection for all.
class Announcement : public testing::Environment {
public:
    void SetUp() override { std::printf("%s\n", Corpus::get().summary().c_str()); }
};

[[maybe_unused]] testing::Environment* const announcement =
    testing::AddGlobalTestEnvironment(new Announcement); // NOLINT: GoogleTest owns it

TEST(Corpus, HoldsEveryFileOfItsManifest) {
    const Corpus& corpus = Corpus::get();
    ASSERT_EQ(corpus.problem(), "");
    for (const char* kind : {"pdf", "pdf-encrypted", "pdf-damaged"}) {
        const auto documents = corpus.documents(kind);
        EXPECT_FALSE(documents.empty()) << kind;
        for (const Document& document : documents) {
            EXPECT_TRUE(std::filesystem::is_regular_file(document.file)) << document.file;
        }
    }
}

TEST(Corpus, SaysHowMuchOfItDoesNotRun) {
    const tests::TemporaryFolder folder;
    std::ofstream(folder.path() / "MANIFEST.tsv") << "path\tbytes\npdf/here.pdf\t5\n";
    std::ofstream(folder.path() / "missing.tsv") << "path\tbytes\npdf/a.pdf\t5\npdf/b.pdf\t6\n";
    const Corpus selection(folder.path(), folder.path() / "missing.tsv");
    EXPECT_EQ(selection.problem(), "");
    EXPECT_EQ(selection.notRun().size(), 2U);
    EXPECT_NE(selection.summary().find("1 PDF files"), std::string::npos) << selection.summary();
    EXPECT_NE(selection.summary().find("2 files of the full corpus do NOT run"), std::string::npos)
        << selection.summary();

    const Corpus full(folder.path(), {});
    EXPECT_TRUE(full.notRun().empty());
    EXPECT_EQ(full.summary().find("NOT"), std::string::npos) << full.summary();
}

TEST(Corpus, IsNotTakenForWholeWithoutTheListOfWhatIsMissing) {
    const tests::TemporaryFolder folder;
    std::ofstream(folder.path() / "MANIFEST.tsv") << "path\tbytes\npdf/here.pdf\t5\n";
    EXPECT_NE(Corpus(folder.path(), folder.path() / "missing.tsv").problem(), "");
}

TEST(Corpus, WithoutAManifestIsAProblem) {
    const tests::TemporaryFolder folder;
    const Corpus corpus(folder.path(), {});
    EXPECT_NE(corpus.problem(), "");
    EXPECT_TRUE(corpus.documents("pdf").empty());
}

TEST(Corpus, ReadsDocumentsByTheirFolder) {
    const tests::TemporaryFolder folder;
    std::ofstream(folder.path() / "MANIFEST.tsv") << "path\tbytes\tpassword\n"
                                                     "pdf/One file.pdf\t5\t\n"
                                                     "pdf-encrypted/b.pdf\t7\tuser: x\n";
    const Corpus corpus(folder.path(), {});
    ASSERT_EQ(corpus.problem(), "");
    ASSERT_EQ(corpus.documents("pdf").size(), 1U);
    EXPECT_EQ(corpus.documents("pdf")[0].file, folder.path() / "pdf/One file.pdf");
    EXPECT_EQ(testName(corpus.documents("pdf")[0]), "One_file");
    ASSERT_EQ(corpus.documents("pdf-encrypted").size(), 1U);
    EXPECT_EQ(corpus.documents("pdf-encrypted")[0].passwords,
              (std::vector<KnownPassword>{{Kind::user, "x"}}));
}

TEST(CorpusPasswords, AreReadInAllTheirForms) {
    EXPECT_TRUE(readPasswords("").empty());
    EXPECT_TRUE(readPasswords("user: (empty) ; owner: (empty or unknown)").empty());
    EXPECT_EQ(readPasswords("user: a b ; owner: c"),
              (std::vector<KnownPassword>{{Kind::user, "a b"}, {Kind::owner, "c"}}));
    EXPECT_EQ(readPasswords("user or owner: foobar"),
              (std::vector<KnownPassword>{{Kind::either, "foobar"}}));
    EXPECT_EQ(readPasswords(R"(user: json:"S\u00aaSL\u00adprep" ; user: SaSLprep)"),
              (std::vector<KnownPassword>{{Kind::user, "S\u00aaSL\u00adprep"},
                                          {Kind::user, "SaSLprep"}}));
}

TEST(IsolatedRun, ReturnsWhatTheWorkSays) {
    const IsolatedRun run = runIsolated([] { return std::string("done"); });
    EXPECT_TRUE(run.finished);
    EXPECT_EQ(run.report, "done");
}

TEST(IsolatedRun, NoticesACrash) {
    EXPECT_FALSE(runIsolated([]() -> std::string { std::abort(); }).finished);
    EXPECT_FALSE(runIsolated([]() -> std::string { throw std::runtime_error("no"); }).finished);
}

TEST(IsolatedRun, EndsWorkThatNeverEnds) {
    IsolationLimits limits;
    limits.processorSeconds = 1;
    const IsolatedRun run = runIsolated(
        []() -> std::string {
            for (volatile bool go = true; go;) {
            }
            return {};
        },
        limits);
    EXPECT_FALSE(run.finished);
    EXPECT_NE(run.report.find("processor time"), std::string::npos) << run.report;
}

} // namespace
} // namespace quillorn::corpus
