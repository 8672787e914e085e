#include "tests/fakes/ChildProcess.h"
#include "tests/platform/pdf/WriterTesting.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <stop_token>
#include <string>
#include <sys/resource.h>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Kind = PDFError::Kind;
using Names = std::vector<std::string>;
using tests::RawPDF;
using tests::TestPDF;

class FailedWriting : public WriterTesting {
protected:
    void SetUp() override { tests::writeFile(m_output, "the old file"); }

    void expectTheOldFile() const {
        EXPECT_EQ(tests::readFile(m_output), "the old file");
        for (const std::string& name : m_folder.names()) {
            EXPECT_FALSE(name.starts_with(".")) << name;
        }
    }

    /// Writing fails so, with the observer told of no end.
    PDFError failed(const std::vector<PDFPageReference>& pages, PDFWriteOptions options = {}) {
        RecordingObserver own;
        auto* const observer = dynamic_cast<RecordingObserver*>(options.observer);
        const RecordingObserver& watching = observer != nullptr ? *observer : own;
        options.observer = observer != nullptr ? observer : &own;
        PDFError error = errorOfWriting(pages, options);
        const auto& events = watching.events();
        EXPECT_EQ(std::count(events.begin(), events.end(), "end"), 0);
        expectTheOldFile();
        return error;
    }
};

TEST_F(FailedWriting, CancelledBeforehandLeavesTheOldFile) {
    std::stop_source stop;
    stop.request_stop();
    PDFWriteOptions options;
    options.stop = stop.get_token();
    EXPECT_EQ(failed(allPagesOf(source("a", 3)), options).kind, Kind::cancelled);
    EXPECT_EQ(failed({PDFPage().reference()}, options).kind, Kind::cancelled);
    EXPECT_EQ(failed({}, options).kind, Kind::cancelled);
}

TEST_F(FailedWriting, CancelledAtAnyPageLeavesTheOldFile) {
    const Source a = source("a", 50);
    const Source b = source("b", 400);
    std::vector<PDFPageReference> pages = allPagesOf(a);
    for (std::size_t page = 0; page < 50; ++page) {
        pages.push_back(pageOf(b, page));
    }
    for (const std::size_t last : {0U, 1U, 30U, 58U, 59U, 60U, 75U, 98U}) {
        std::stop_source stop;
        RecordingObserver observer;
        observer.atPage([&](std::size_t page) {
            if (page == last) {
                stop.request_stop();
            }
        });
        PDFWriteOptions options;
        options.observer = &observer;
        options.stop = stop.get_token();
        EXPECT_EQ(failed(pages, options).kind, Kind::cancelled) << last;
    }
}

TEST_F(FailedWriting, CancelledAmongTheBytesLeavesTheOldFile) {
    // Far more bytes than buffers hold, in one page.
    const Source a = open(TestPDF("a", 1).padPages(8U << 20U).writeTo(m_folder / "a.pdf"));
    std::stop_source stop;
    RecordingObserver observer;
    PDFWriteOptions options;
    options.observer = &observer;
    options.stop = stop.get_token();
    std::vector<PDFPageReference> pages{pageOf(a, 0)};
    for (int i = 0; i < 39; ++i) {
        pages.push_back(PDFPage().reference());
    }
    observer.atPage([&stop](std::size_t page) {
        if (page == 24) { // past the collecting
            stop.request_stop();
        }
    });
    EXPECT_EQ(failed(pages, options).kind, Kind::cancelled);
}

TEST_F(FailedWriting, CancelledAfterwardsChangesNothing) {
    std::stop_source stop;
    PDFWriteOptions options;
    options.stop = stop.get_token();
    write(allPagesOf(source("a", 3)), options);
    stop.request_stop();
    EXPECT_EQ(texts().size(), 3U);
}

TEST_F(FailedWriting, OfASourceRewrittenInPlaceNamesIt) {
    const std::vector<std::pair<const char*, std::function<void(const fs::path&)>>> changes{
        {"rewritten", [](const fs::path& file) { TestPDF("other", 30).writeTo(file); }},
        {"rewritten to the same length",
         [](const fs::path& file) {
             tests::writeFile(file, std::string(fs::file_size(file), 'x'));
             fs::last_write_time(file, fs::file_time_type::clock::now() - std::chrono::hours(1));
         }},
        {"cut short", [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) / 2); }},
        {"emptied", [](const fs::path& file) { fs::resize_file(file, 0); }},
        {"lengthened",
         [](const fs::path& file) { fs::resize_file(file, fs::file_size(file) + 1); }}};
    const Source untouched = source("untouched", 2);
    for (const auto& [name, change] : changes) {
        for (const bool whole : {true, false}) {
            const Source a = source("a", 30);
            change(m_folder / "a.pdf");
            std::vector<PDFPageReference> pages = firstPagesOf(a, whole ? 30 : 3);
            pages.push_back(pageOf(untouched, 0));
            const PDFError error = failed(pages);
            EXPECT_EQ(error.kind, Kind::changed) << name << ": " << error.reason;
            EXPECT_EQ(error.file, m_folder / "a.pdf") << name;
        }
    }
}

TEST_F(FailedWriting, OfASourceThatChangesMeanwhileNamesIt) {
    for (const bool whole : {true, false}) {
        for (const std::size_t at : {0U, 3U}) {
            const Source a = open(TestPDF("a", 30).padPages(1U << 16U).writeTo(m_folder / "a.pdf"));
            const auto pages = firstPagesOf(a, whole ? 30 : 5);
            RecordingObserver observer;
            observer.atPage([&](std::size_t page) {
                if (page == at) {
                    fs::resize_file(m_folder / "a.pdf", 5000);
                }
            });
            PDFWriteOptions options;
            options.observer = &observer;
            const PDFError error = failed(pages, options);
            EXPECT_EQ(error.kind, Kind::changed) << error.reason;
            EXPECT_EQ(error.file, m_folder / "a.pdf");
        }
    }
}

TEST_F(FailedWriting, OfADamagedPageNamesItsFile) {
    RawPDF pdf;
    std::string kids;
    for (int number = 10; number < 410; ++number) {
        pdf.object(number, pageBody(2, 100));
        kids += std::to_string(number) + " 0 R ";
    }
    pdf.object(1, catalogBody).object(2, nodeBody(kids, 400)).object(300, "(no page)");
    const Source a = open(pdf.writeTo(m_folder / "a.pdf"));
    ASSERT_TRUE(a);
    const PDFError error = failed({pageOf(a, 0), pageOf(a, 290)});
    EXPECT_EQ(error.kind, Kind::damagedPage) << error.reason;
    EXPECT_EQ(error.file, m_folder / "a.pdf");
    EXPECT_TRUE(writePDF({pageOf(a, 289), pageOf(a, 291)}, m_output).has_value())
        << "the pages beside it are as good as ever";
}

TEST_F(FailedWriting, OntoAFolderOrIntoAMissingOneIsRefused) {
    const Source a = source("a", 1);
    fs::create_directory(m_folder / "folder.pdf");
    for (const char* name : {"folder.pdf", "missing/out.pdf"}) {
        m_output = m_folder / name;
        RecordingObserver observer;
        PDFWriteOptions options;
        options.observer = &observer;
        EXPECT_EQ(errorOfWriting(allPagesOf(a), options).kind, Kind::cannotWrite);
        EXPECT_EQ(observer.events(), Names{}) << "nothing was begun";
    }
}

TEST_F(FailedWriting, OnAFullDiskAtAnyPlaceLeavesTheOldFile) {
    const Source a = open(TestPDF("a", 20).padPages(20'000).writeTo(m_folder / "a.pdf"));
    for (const std::size_t pages : {20U, 5U}) {
        const auto references = firstPagesOf(a, pages);
        EXPECT_EQ(tests::inChild([&]() -> std::string {
                      ::signal(SIGXFSZ, SIG_IGN);
                      struct rlimit limit {};
                      ::getrlimit(RLIMIT_FSIZE, &limit);
                      for (rlim_t bytes = 0; bytes < pages * 15'000; bytes += 7'777) {
                          limit.rlim_cur = bytes;
                          ::setrlimit(RLIMIT_FSIZE, &limit);
                          const auto written = writePDF(references, m_output);
                          if (written) {
                              return "written with " + std::to_string(bytes);
                          }
                          if (written.error().kind != Kind::cannotWrite ||
                              written.error().file != m_output ||
                              written.error().reason != "cannot be written: File too large") {
                              return written.error().reason;
                          }
                      }
                      return "refused";
                  }),
                  "refused");
        expectTheOldFile();
    }
}

} // namespace
} // namespace quillorn
