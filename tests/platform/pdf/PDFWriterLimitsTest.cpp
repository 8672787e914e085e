#include "platform/files/FileDescriptor.h"
#include "tests/fakes/ChildProcess.h"
#include "tests/platform/pdf/WriterTesting.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/resource.h>
#include <thread>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using tests::RawPDF;
using tests::TestPDF;

class LargeWriting : public WriterTesting {};

TEST_F(LargeWriting, TakesPagesOfMoreSourcesThanTheUsualLimitOfOpenFiles) {
    constexpr int count = 1'200;
    const std::string pdf = TestPDF("many", 2).bytes();
    for (int i = 0; i < count; ++i) {
        tests::writeFile(m_folder / (std::to_string(i) + ".pdf"), pdf);
    }
    EXPECT_EQ(tests::inChild([&]() -> std::string {
                  raiseOpenFileLimit();
                  struct rlimit limit {};
                  ::getrlimit(RLIMIT_NOFILE, &limit);
                  if (limit.rlim_cur < count + 100) {
                      return "this system lets a process open too few files";
                  }
                  std::vector<PDFPageReference> pages;
                  for (int i = 0; i < count; ++i) {
                      const auto opened = PDFSource::open(m_folder / (std::to_string(i) + ".pdf"));
                      if (!opened) {
                          return opened.error().reason;
                      }
                      pages.push_back(pageOf(*opened, 1));
                  }
                  const auto report = writePDF(pages, m_output);
                  return report ? "written" : report.error().reason;
              }),
              "written");
    expectSound(m_output);
    EXPECT_EQ(texts(), Texts(count, "Page 2 of many"));
}

TEST_F(LargeWriting, TellsThatNoMoreFilesCanBeOpened) {
    const fs::path path = TestPDF("a", 1).writeTo(m_folder / "a.pdf");
    EXPECT_EQ(tests::inChild([&]() -> std::string {
                  // A sanitizer that meets a type for the first time opens a pipe, too.
                  static_cast<void>(PDFSource::open(m_folder / "missing.pdf"));
                  struct rlimit usual {};
                  ::getrlimit(RLIMIT_NOFILE, &usual);
                  const struct rlimit limit { 20, usual.rlim_max };
                  ::setrlimit(RLIMIT_NOFILE, &limit);
                  std::vector<Source> sources;
                  for (int i = 0; i < 30; ++i) {
                      const auto opened = PDFSource::open(path);
                      // Checks of the sanitizers open files themselves.
                      if (!opened) {
                          ::setrlimit(RLIMIT_NOFILE, &usual);
                          return opened.error().reason;
                      }
                      sources.push_back(*opened);
                  }
                  return "all opened";
              }),
              "Too many open files");
}

TEST_F(LargeWriting, DifferentOutputsAtOnceFromSharedSourcesAreAllRight) {
    const Source a = source("a", 300);
    const Source b = source("b", 8);
    const fs::path plain = TestPDF("secret", 40).writeTo(m_folder / "plain.pdf");
    const Source locked =
        open(tests::encryptPDF(plain, m_folder / "locked.pdf", {"user", "owner", {}}));
    const auto c = locked->unlocked("user");
    ASSERT_TRUE(c.has_value());
    constexpr std::size_t writers = 4;
    constexpr int rounds = 3;
    const auto outputOf = [&](std::size_t writer) {
        return m_folder / ("out-" + std::to_string(writer) + ".pdf");
    };
    std::vector<std::string> outcomes(writers, "written");
    {
        std::vector<std::jthread> threads;
        for (std::size_t writer = 0; writer < writers; ++writer) {
            threads.emplace_back([&, writer]() {
                std::vector<PDFPageReference> pages = allPagesOf(b);
                for (std::size_t page = writer; page < 300; page += 10) {
                    pages.push_back(pageOf(a, page));
                }
                pages.push_back(pageOf(*c, writer));
                for (int round = 0; round < rounds; ++round) {
                    const auto report = writePDF(pages, outputOf(writer));
                    if (!report) {
                        outcomes[writer] = report.error().reason;
                        return;
                    }
                    // Others ask the sources meanwhile.
                    if (!a->geometry(writer) || !b->geometry(1) || !(*c)->labelRanges()) {
                        outcomes[writer] = "a source does not answer";
                        return;
                    }
                }
            });
        }
    }
    EXPECT_EQ(outcomes, std::vector<std::string>(writers, "written"));
    for (std::size_t writer = 0; writer < writers; ++writer) {
        Texts expected;
        for (int page = 1; page <= 8; ++page) {
            expected.push_back("Page " + std::to_string(page) + " of b");
        }
        for (std::size_t page = writer; page < 300; page += 10) {
            expected.push_back("Page " + std::to_string(page + 1) + " of a");
        }
        expected.push_back("Page " + std::to_string(writer + 1) + " of secret");
        expectSound(outputOf(writer));
        EXPECT_EQ(tests::pageTexts(outputOf(writer)), expected);
    }
}

TEST_F(LargeWriting, TheSameTargetFromTwoThreadsEndsWithOneOfTheTwo) {
    const Source a = source("a", 20);
    const Source b = source("b", 20);
    {
        std::vector<std::jthread> threads;
        for (const Source& mine : {a, b}) {
            threads.emplace_back([&, mine]() {
                for (int round = 0; round < 10; ++round) {
                    EXPECT_TRUE(writePDF(allPagesOf(mine), m_output).has_value());
                }
            });
        }
    }
    expectSound(m_output);
    const Texts written = texts();
    ASSERT_EQ(written.size(), 20U);
    const std::string name = written[0].substr(written[0].size() - 1);
    for (std::size_t page = 0; page < 20; ++page) {
        EXPECT_EQ(written[page], "Page " + std::to_string(page + 1) + " of " + name);
    }
}

/// Page 1 of `pages` needs object 100, the others nothing.
RawPDF withResource(int pages) {
    RawPDF pdf;
    std::string kids;
    for (int number = 10; number < 10 + pages; ++number) {
        pdf.object(number, pageBody(2, 100, number == 10 ? "/Resources 100 0 R" : ""));
        kids += std::to_string(number) + " 0 R ";
    }
    pdf.object(1, catalogBody).object(2, nodeBody(kids, pages));
    return pdf;
}

class LongChains : public WriterTesting, public testing::WithParamInterface<int> {};

// One page of one is the source itself with a new catalogue; one of thirty is copied.
INSTANTIATE_TEST_SUITE_P(OfPages, LongChains, testing::Values(1, 30),
                         [](const auto& pages) { return std::to_string(pages.param); });

TEST_P(LongChains, OfReferencesAreCopiedToTheirEnd) {
    constexpr int length = 200'000;
    RawPDF pdf = withResource(GetParam());
    for (int number = 100; number < 100 + length; ++number) {
        pdf.object(number, "<< /Next " + std::to_string(number + 1) + " 0 R >>");
    }
    pdf.object(100 + length, "(the end of the chain)");
    const Source a = open(pdf);
    ASSERT_TRUE(a);
    const auto report = writePDF({pageOf(a, 0)}, m_output);
    ASSERT_TRUE(report.has_value()) << report.error().reason;
    EXPECT_EQ(open(m_output)->pageCount(), 1U);
    const std::string text = unpackedOutput();
    EXPECT_NE(text.find("(the end of the chain)"), std::string::npos);
    std::size_t links = 0;
    for (std::size_t at = text.find("/Next"); at != std::string::npos;
         at = text.find("/Next", at + 1)) {
        ++links;
    }
    EXPECT_EQ(links, static_cast<std::size_t>(length));
}

TEST_P(LongChains, OfArraysAndStreamsInTurnAreCopied) {
    constexpr int length = 20'000;
    RawPDF pdf = withResource(GetParam());
    for (int number = 100; number < 100 + length; ++number) {
        const std::string next = std::to_string(number + 1) + " 0 R";
        if (number % 2 == 0) {
            pdf.object(number, "[ 1 " + next + " null (x) " + next + " ]");
        } else {
            pdf.stream(number, "/Next " + next, "data");
        }
    }
    pdf.object(100, "<< /Next 101 0 R >>").object(100 + length, "(the end)");
    const Source a = open(pdf);
    ASSERT_TRUE(a);
    write({pageOf(a, 0)});
}

TEST_P(LongChains, ThatCloseToACircleAreCopied) {
    RawPDF pdf = withResource(GetParam());
    constexpr int length = 1'000;
    for (int number = 100; number < 100 + length; ++number) {
        const int next = number + 1 < 100 + length ? number + 1 : 100;
        pdf.object(number, "<< /Next " + std::to_string(next) + " 0 R /Self " +
                               std::to_string(number) + " 0 R >>");
    }
    const Source a = open(pdf);
    ASSERT_TRUE(a);
    write({pageOf(a, 0)});
}

TEST_P(LongChains, OfDirectArraysInEachOtherAreBounded) {
    for (const int depth : {100, 450, 100'000}) {
        RawPDF pdf = withResource(GetParam());
        const auto brackets = static_cast<std::size_t>(depth);
        pdf.object(100, "<< /Deep " + std::string(brackets, '[') + " 7 " +
                            std::string(brackets, ']') + " /Wide (kept) >>");
        const Source a = open(pdf);
        ASSERT_TRUE(a);
        write({pageOf(a, 0)}); // deeper than libqpdf reads, the object is null
    }
}

TEST_P(LongChains, InTheParametersOfFiltersAreBounded) {
    RawPDF pdf = withResource(GetParam());
    constexpr int length = 50'000;
    pdf.object(100, "<< /XObject << /X 101 0 R >> >>");
    for (int number = 101; number < 101 + length; ++number) {
        pdf.stream(number,
                   "/Filter /JBIG2Decode /DecodeParms << /JBIG2Globals " +
                       std::to_string(number + 1) + " 0 R >>",
                   "data");
    }
    const Source a = open(pdf);
    ASSERT_TRUE(a);
    const auto report = writePDF({pageOf(a, 0)}, m_output);
    ASSERT_TRUE(report.has_value()) << report.error().reason;
}

} // namespace
} // namespace quillorn
