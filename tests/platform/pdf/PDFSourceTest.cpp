#include "platform/pdf/PDFSource.h"
#include "platform/pdf/PDFReader.h"
#include "tests/fakes/TestPDF.h"
#include "tests/platform/pdf/SourceTesting.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Kind = PDFError::Kind;
using tests::RawPDF;
using tests::TestPDF;

class Sources : public SourceTesting {};

TEST_F(Sources, TellWhatAFileIs) {
    const fs::path path = TestPDF("letter", 3).setVersion("1.4").writeTo(m_folder / "in.pdf");
    const Source source = open(path);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->path(), path);
    EXPECT_EQ(source->fileSize(), fs::file_size(path));
    EXPECT_EQ(source->version(), (PDFVersion{1, 4}));
    EXPECT_EQ(source->pageCount(), 3U);
    EXPECT_FALSE(source->isEncrypted());
    EXPECT_FALSE(source->isLocked());
    EXPECT_FALSE(source->ownerPasswordMatched());
    EXPECT_EQ(source->permissions(), PDFPermissions{});
    EXPECT_TRUE(source->warnings().empty());
}

TEST_F(Sources, TellTheVersionOfTheHeader) {
    for (const auto& [text, version] :
         {std::pair("1.0", PDFVersion{1, 0}), std::pair("1.7", PDFVersion{1, 7}),
          std::pair("2.0", PDFVersion{2, 0})}) {
        EXPECT_EQ(open(TestPDF("v", 1).setVersion(text).writeTo(m_folder / "in.pdf"))->version(),
                  version);
    }
}

TEST_F(Sources, TellTheVersionOfTheCatalogWhenThatIsHigher) {
    const auto versionOf = [this](const std::string& header, const std::string& catalog) {
        return open(TestPDF("v", 1).setVersion(header).addCatalogEntry(catalog).writeTo(m_folder /
                                                                                        "in.pdf"))
            ->version();
    };
    EXPECT_EQ(versionOf("1.4", "/Version /1.7"), (PDFVersion{1, 7}));
    EXPECT_EQ(versionOf("1.4", "/Version /2.0"), (PDFVersion{2, 0}));
    EXPECT_EQ(versionOf("1.6", "/Version /1.3"), (PDFVersion{1, 6}));
    EXPECT_EQ(versionOf("1.6", "/Version (1.7)"), (PDFVersion{1, 6}));
    EXPECT_EQ(versionOf("1.6", "/Version /x"), (PDFVersion{1, 6}));
}

TEST_F(Sources, OpenWithAnythingBeforeTheHeaderAndBehindTheEnd) {
    const std::string pdf = TestPDF("junk", 2).bytes();
    const Source source = openBytes(std::string(500, '\n') + pdf + std::string(900, '\0'));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->pageCount(), 2U);
    EXPECT_EQ(source->version(), (PDFVersion{1, 7}));
}

TEST_F(Sources, OpenDamagedFilesWithAWarning) {
    std::string pdf = TestPDF("damaged", 3).bytes();
    const std::size_t start = pdf.rfind("startxref") + 10;
    pdf.replace(start, pdf.find('\n', start) - start, "7");
    const Source source = openBytes(pdf);
    ASSERT_TRUE(source);
    EXPECT_EQ(source->pageCount(), 3U);
    EXPECT_FALSE(source->warnings().empty());
    EXPECT_EQ(widthOf(source, 2), 612);
}

TEST_F(Sources, OpenFilesThatWereCutShort) {
    const std::string pdf = TestPDF("cut", 3).bytes();
    const Source source = openBytes(pdf.substr(0, pdf.rfind("startxref")));
    ASSERT_TRUE(source);
    EXPECT_EQ(source->pageCount(), 3U);
    EXPECT_FALSE(source->warnings().empty());
    const PDFError error = errorOfBytes(pdf.substr(0, pdf.rfind("trailer")));
    EXPECT_EQ(error.kind, Kind::notPDF);
    EXPECT_NE(error.reason.find("trailer"), std::string::npos);
}

TEST_F(Sources, RefuseWhatIsNoPDF) {
    EXPECT_EQ(errorOfBytes("").kind, Kind::notPDF);
    EXPECT_EQ(errorOfBytes("").reason, "the file is empty");
    for (const std::string& bytes :
         {std::string("hello"), std::string("%PDF-1.7\n"), std::string(100'000, '\0'),
          std::string("%PDF-1.4\ntrailer\n<< /Root 1 0 R >>\nstartxref\n0\n%%EOF\n"),
          std::string("\x89PNG\r\n\x1a\n")}) {
        const PDFError error = errorOfBytes(bytes);
        EXPECT_EQ(error.kind, Kind::notPDF) << bytes.substr(0, 20);
        EXPECT_EQ(error.file, m_folder / "in.pdf");
        EXPECT_FALSE(error.reason.empty());
    }
}

TEST_F(Sources, RefuseWhatCannotBeRead) {
    EXPECT_EQ(errorOf(m_folder / "missing.pdf").kind, Kind::unreadable);
    EXPECT_EQ(errorOf(m_folder.path()).kind, Kind::unreadable);
    EXPECT_EQ(errorOf("/dev/null").kind, Kind::unreadable);
    ASSERT_EQ(::mkfifo((m_folder / "pipe").c_str(), 0600), 0);
    EXPECT_EQ(errorOf(m_folder / "pipe").kind, Kind::unreadable);
}

TEST_F(Sources, StayReadableAfterTheFileWasDeletedRenamedOrReplaced) {
    const fs::path path = TestPDF("kept", 300).writeTo(m_folder / "in.pdf");
    const Source deleted = open(path);
    fs::remove(path);
    EXPECT_EQ(widthOf(deleted, 299), 612);

    TestPDF("kept", 300).writeTo(path);
    const Source renamed = open(path);
    fs::rename(path, m_folder / "other.pdf");
    EXPECT_EQ(widthOf(renamed, 299), 612);

    TestPDF("kept", 300).writeTo(path);
    const Source replaced = open(path);
    TestPDF("new", 1).setPageSize(0, 50, 50).writeTo(m_folder / "new.pdf");
    fs::rename(m_folder / "new.pdf", path);
    EXPECT_EQ(widthOf(replaced, 299), 612);
    EXPECT_TRUE(replaced->verifyUnchanged().has_value());
    EXPECT_EQ(widthOf(open(path), 0), 50);
}

TEST_F(Sources, NoticeAFileRewrittenTruncatedOrExtendedInPlace) {
    const fs::path path = m_folder / "in.pdf";
    const std::string bytes = TestPDF("kept", 300).bytes();
    const std::vector<void (*)(const fs::path&)> changes{
        [](const fs::path& file) { tests::writeFile(file, "another content"); },
        [](const fs::path& file) { fs::resize_file(file, 100); },
        [](const fs::path& file) { std::ofstream(file, std::ios::app) << "%more\n"; },
        [](const fs::path& file) {
            // As long as before, and no younger than the clock can tell: it shows an old date.
            tests::writeFile(file, std::string(fs::file_size(file), 'x'));
            fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(9));
        }};
    for (const auto& change : changes) {
        tests::writeFile(path, bytes);
        const Source source = open(path);
        ASSERT_TRUE(source);
        change(path);
        for (const auto& error :
             {source->verifyUnchanged().error(), source->geometry(5).error(),
              source->labelRanges().error(), source->takeReader().error(),
              source->withCountedPages().error(), source->unlocked("x").error()}) {
            EXPECT_EQ(error.kind, Kind::changed) << error.reason;
            EXPECT_EQ(error.file, path);
        }
    }
}

TEST_F(Sources, WithASnapshotDoNotMindARewrite) {
    const fs::path path = TestPDF("kept", 300).writeTo(m_folder / "in.pdf");
    const auto source = PDFSource::open(path, SnapshotPolicy{m_folder.path()});
    ASSERT_TRUE(source.has_value());
    tests::writeFile(path, "another content");
    EXPECT_EQ(widthOf(*source, 299), 612);
    EXPECT_TRUE((*source)->verifyUnchanged().has_value());
}

TEST_F(Sources, ReadAgainWhenTheirMemoryWasGivenBack) {
    const Source source = open(TestPDF("kept", 3).setRotation(1, 90).writeTo(m_folder / "in.pdf"));
    ASSERT_TRUE(source);
    source->releaseReader();
    EXPECT_EQ(source->geometry(1)->rotation, 90);
    source->releaseReader();
    source->releaseReader();
    EXPECT_EQ(source->geometry(1)->rotation, 90);
}

TEST_F(Sources, AnswerManyThreadsAtOnce) {
    TestPDF pdf("threads", 400);
    pdf.setLabels("0 << /S /r >>");
    for (std::size_t page = 0; page < 400; ++page) {
        pdf.setPageSize(page, 100.0 + static_cast<double>(page), 100);
    }
    const Source source = open(pdf.writeTo(m_folder / "in.pdf"));
    ASSERT_TRUE(source);
    std::vector<std::size_t> wrong(4);
    {
        std::vector<std::jthread> threads;
        for (std::size_t thread = 0; thread < wrong.size(); ++thread) {
            threads.emplace_back([&, thread]() {
                for (std::size_t page = thread; page < 400; page += 3) {
                    const auto geometry = source->geometry(page);
                    const double width = 100.0 + static_cast<double>(page);
                    wrong[thread] += !geometry || geometry->mediaBox.width() != width ? 1U : 0U;
                    if (page % 50 == thread) {
                        source->releaseReader();
                        wrong[thread] += source->labelRanges()->size() != 1 ? 1U : 0U;
                    }
                }
            });
        }
    }
    EXPECT_EQ(wrong, std::vector<std::size_t>(4));
}

} // namespace
} // namespace quillorn
