#include "import/RtfToPDF.h"

#include "tests/fakes/PDFContents.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"
#include "tests/import/TextConversion.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <sstream>
#include <stop_token>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RtfToPDFTest : public TextConversion {};

TEST_F(RtfToPDFTest, TheFrameIs180PointsSmallerThanThePaper) {
    TextEngines unused;
    const RtfToPDF converter(unused, cache);
    EXPECT_EQ(converter.textViewSize().width, converter.printInfo().paper.width - 180);
    EXPECT_EQ(converter.textViewSize().height, converter.printInfo().paper.height - 180);
    EXPECT_EQ(converter.printInfo().jobDisposition, PrintInfo::JobDisposition::save);
    EXPECT_EQ(converter.tmpPath(), "");
    EXPECT_EQ(unused.office.processGroup(), 0) << "nothing is started before a document needs it";
    EXPECT_EQ(unused.text.processGroup(), 0);
}

TEST_F(RtfToPDFTest, RichTextIsPrintedUnderTheSourcesOwnName) {
    EXPECT_EQ(converted(file("letter.rtf", R"({\rtf1\ansi rich \b text\b0})")), "rich text");
    EXPECT_THAT(namesIn(cache), ElementsAre("letter.rtf"));
    // Twice the same is printed over.
    EXPECT_EQ(converted(file("letter.rtf", R"({\rtf1\ansi other})")), "other");
    EXPECT_THAT(namesIn(cache), ElementsAre("letter.rtf"));
}

TEST_F(RtfToPDFTest, PaperAndMarginsAreOursUnlessTheDocumentKeepsItsOwn) {
    const std::string path =
        file("small.rtf", R"({\rtf1\ansi\paperw5760\paperh7200\margl300\margr300\margt300\margb300)"
                          R"({\header above}text})");
    EXPECT_EQ(converted(path), "text");
    EXPECT_THAT(told("small.rtf"), HasSubstr("(A4)"));
    EXPECT_THAT(converted(path, true), HasSubstr("above"));
    EXPECT_THAT(told("small.rtf"), HasSubstr("288 x 360"));
}

TEST_F(RtfToPDFTest, EveryPageGetsThePaper) {
    EXPECT_EQ(converted(file("two.rtf", R"({\rtf1\ansi one\sect\sectd\landscape\pgwsxn15840)"
                                        R"(\pghsxn5000\sbkpage two})")),
              "onetwo");
    const std::string text =
        Program("pdfinfo", {"-l", "9", (cache / "two.rtf").string()}).run().output;
    EXPECT_THAT(text, HasSubstr("Pages:           2"));
    EXPECT_THAT(text, HasSubstr("Page    2 size:  594.9"));
}

TEST_F(RtfToPDFTest, AFontThatIsMissingIsNamed) {
    EXPECT_EQ(converted(file("a.rtf", R"({\rtf1{\fonttbl{\f0 Gone Sans;}}\f0 text})")), "text");
    EXPECT_THAT(notices, ElementsAre(HasSubstr("Gone Sans")));
    EXPECT_EQ(converted(file("b.rtf", R"({\rtf1{\fonttbl{\f0 Liberation Sans;}}\f0 text})")),
              "text");
    EXPECT_THAT(notices, IsEmpty());
}

TEST_F(RtfToPDFTest, PlainTextIsReadInWhateverEncoding) {
    EXPECT_EQ(converted(file("a.txt", "caf\xC3\xA9\r\nnext\rlast\n")), "café\nnext\nlast");
    EXPECT_EQ(converted(file("b.txt", "\xEF\xBB\xBF"
                                      "caf\xC3\xA9")),
              "café");
    EXPECT_EQ(converted(file("c.txt", "\xFF\xFE"
                                      "c\0a\0f\0\xE9\0"sv)),
              "café");
    EXPECT_EQ(converted(file("d.TXT", "\xFE\xFF\0c\0a\0f\0\xE9"sv)), "café");
    EXPECT_EQ(converted(file("e.txt", "un caf\xE9, s'il vous pla\xEEt; \x80 2")),
              "un café, s'il vous plaît; € 2");
    EXPECT_THAT(told("a.txt"), HasSubstr("595 x 842"));
}

TEST_F(RtfToPDFTest, AFormFeedBeginsAPageAndMakesNoBlankOne) {
    const auto pages = [this](const std::string& name, std::string_view text) {
        EXPECT_NE(converted(file(name, text)), "");
        return pageTexts(cache / name);
    };
    EXPECT_THAT(pages("a.txt", "\fone\n\f\ntwo\f\n"), ElementsAre("one", "two"));
    EXPECT_THAT(pages("b.txt", "one\f\f\n \n\ftwo\n\f"), ElementsAre("one", "two"));
    // A page that is full, then a line end: the next page has begun, but nothing stands on it.
    std::string full;
    for (int line = 1; pages("c.txt", full + "x\n").size() == 1; ++line) {
        full += std::to_string(line) + "\n";
    }
    EXPECT_THAT(pages("d.txt", full + "\fnext"), ElementsAre(HasSubstr("1\n2\n"), "next"));
    EXPECT_THAT(pages("e.txt", full + "\n\n"), testing::SizeIs(1));
    EXPECT_EQ(converted(file("f.txt", "\f \n\f")), "");
    EXPECT_THAT(told("f.txt"), HasSubstr("Pages:           1"));
}

TEST_F(RtfToPDFTest, ATextOfTooManyPagesIsRefused) {
    EXPECT_THAT(converted(file("a.txt", "a" + std::string(4'000'000, '\n') + "b")),
                HasSubstr("refused: it has more than 50000 pages"));
}

TEST_F(RtfToPDFTest, PagesThatThereIsNoRoomForAreNoticed) {
    ConversionWorker::Options options = textWorker();
    options.fileBytes = 64 << 10U;
    ConversionWorker worker(options);
    ConversionJob job;
    std::string text;
    for (int line = 0; line < 20'000; ++line) {
        text += std::to_string(line * 7919) + "\n";
    }
    job.paper = {595, 842};
    job.margin = 90;
    job.document = text;
    const auto result = worker.convert(job, cache / "a.txt");
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().reason, "there is no room for its pages");
    EXPECT_THAT(namesIn(cache), IsEmpty());
    // Less of it finds room.
    job.document = std::string_view("short");
    EXPECT_TRUE(worker.convert(job, cache / "a.txt"));
    EXPECT_EQ(complaintsAbout(cache / "a.txt"), "");
}

TEST_F(RtfToPDFTest, WhatReadsPlainTextHasGivenUpItsRights) {
    EXPECT_EQ(converted(file("a.txt", "text")), "text");
    const pid_t process = engines().text.processGroup();
    ASSERT_GT(process, 0);
    std::ostringstream read;
    read << std::ifstream("/proc/" + std::to_string(process) + "/status").rdbuf();
    const std::string status = read.str();
    EXPECT_THAT(status, HasSubstr("NoNewPrivs:\t1\n"));
    EXPECT_THAT(status, HasSubstr("Seccomp:\t2\n"));
}

TEST_F(RtfToPDFTest, TheContentDecidesWhatAFileIs) {
    EXPECT_EQ(converted(file("letter.doc", R"({\rtf1\ansi rich text})")), "rich text");
    EXPECT_EQ(converted(file("letter.txt", R"({\rtf1\ansi rich text})")), "rich text");
}

TEST_F(RtfToPDFTest, WhatIsNoDocumentIsRefusedWithAReason) {
    EXPECT_EQ(converted(file("a.rtf", "")), "refused: it is empty");
    EXPECT_EQ(converted(file("a.txt", "")), "refused: it is empty");
    EXPECT_EQ(converted(file("a.docx", "%PDF-1.4")), "refused: it is a PDF by another name");
    EXPECT_EQ(converted(file("b.rtf", "no rich text")),
              "refused: it is neither rich text nor a Word document");
    EXPECT_EQ(converted(file("c.docx", "PK\3\4 nothing")),
              "refused: it is an archive without a Word document");
    EXPECT_EQ(converted(file("d.doc", "\xD0\xCF\x11\xE0\xA1\xB1\x1A\xE1 nothing")),
              "refused: it holds no Word document");
    EXPECT_EQ(converted(file("e.txt", "\0\1\2\3\0\4\5\6"sv)), "refused: it is no text");
    EXPECT_EQ(converted((folder / "gone.rtf").string()), "refused: No such file or directory");
    EXPECT_THAT(converted((folder / "files").string()), HasSubstr("refused: it is a folder"));
    EXPECT_THAT(namesIn(cache), IsEmpty());
}

TEST_F(RtfToPDFTest, ARefusalLeavesNoEarlierResult) {
    writeFile(cache / "a.rtf", "an earlier one");
    EXPECT_EQ(converted(file("a.rtf", "")), "refused: it is empty");
    EXPECT_THAT(namesIn(cache), IsEmpty());
}

TEST_F(RtfToPDFTest, RandomBytesBehindAGoodStartAreRefusedOrPrinted) {
    std::mt19937 random(7);
    for (const std::string_view start : {"{\\rtf1 "sv, "PK\3\4[Content_Types].xml word/"sv, ""sv}) {
        std::string bytes(start);
        for (int i = 0; i < 3000; ++i) {
            bytes.push_back(static_cast<char>(random() & 0xFFU));
        }
        EXPECT_NE(converted(file("random.docx", bytes)), "");
    }
    // And the engines go on.
    EXPECT_EQ(converted(file("letter.rtf", R"({\rtf1\ansi text})")), "text");
}

TEST_F(RtfToPDFTest, AKilledEngineCostsNothingButItsDocument) {
    const std::string path = file("letter.rtf", R"({\rtf1\ansi text})");
    EXPECT_EQ(converted(path), "text");
    const pid_t first = engines().office.processGroup();
    ASSERT_GT(first, 0);
    ::kill(-first, SIGKILL);
    ASSERT_TRUE(waitUntil([first]() { return ::kill(first, 0) != 0; }));
    EXPECT_EQ(converted(path), "text");
    EXPECT_NE(engines().office.processGroup(), first);
}

TEST_F(RtfToPDFTest, AnEngineKilledAmidADocumentIsReplacedOnce) {
    EXPECT_EQ(converted(file("letter.rtf", R"({\rtf1\ansi text})")), "text");
    std::string text = R"({\rtf1\ansi )";
    for (int line = 0; line < 20'000; ++line) {
        text += std::to_string(line * 7919) + R"( and more\par )";
    }
    const std::string path = file("long.rtf", text + "end}");
    const pid_t first = engines().office.processGroup();
    ASSERT_GT(first, 0);
    std::atomic<bool> isDone = false;
    std::jthread killer([&isDone, first]() {
        std::this_thread::sleep_for(std::chrono::milliseconds{300}); // it is at work now
        EXPECT_FALSE(isDone) << "the document is too short for this test";
        ::kill(-first, SIGKILL);
    });
    RtfToPDF converter(engines(), cache);
    EXPECT_TRUE(converter.convertRtfToPDF(path));
    isDone = true;
    killer.join();
    EXPECT_NE(engines().office.processGroup(), first);
    EXPECT_THAT(pageTexts(cache / "long.rtf").back(), HasSubstr("end"));
}

TEST_F(RtfToPDFTest, AStoppedConversionLeavesNothing) {
    std::stop_source stop;
    stop.request_stop();
    RtfToPDF converter(engines(), cache);
    const auto result =
        converter.convertRtfToPDF(file("a.rtf", R"({\rtf1 text})"), stop.get_token());
    ASSERT_FALSE(result);
    EXPECT_EQ(result.error().kind, ConversionError::Kind::cancelled);
    EXPECT_THAT(namesIn(cache), IsEmpty());
}

TEST_F(RtfToPDFTest, ADeadlineEndsTheEngineAndLeavesNothing) {
    ConversionWorker::Options options = officeWorker();
    options.timeLimit = std::chrono::milliseconds{1};
    ConversionWorker hasty(options);
    ConversionJob job;
    const std::string text = R"({\rtf1 text})";
    job.format = conversion::DocumentFormat::richText;
    job.paper = {595, 842};
    job.document = text;
    const auto result = hasty.convert(job, cache / "a.rtf");
    ASSERT_FALSE(result);
    EXPECT_THAT(result.error().reason, HasSubstr("takes too long"));
    EXPECT_EQ(hasty.processGroup(), 0);
    EXPECT_THAT(namesIn(cache), IsEmpty());
}

TEST_F(RtfToPDFTest, APackageIsPrintedWithItsPictures) {
    const fs::path package = folder / "files" / "letter.rtfd";
    fs::create_directory(package);
    writeFile(package / "TXT.rtf",
              R"({\rtf1\ansi before {{\NeXTGraphic dot.png \width400 \height400 })"
              R"(\'ac} after {{\NeXTGraphic ../secret.png \width40 \height40 }\'ac}})");
    ASSERT_EQ(
        Program("convert", {"-size", "8x8", "xc:red", (package / "dot.png").string()}).run().status,
        0);
    fs::copy_file(package / "dot.png", folder / "files" / "secret.png");
    EXPECT_THAT(converted(package.string()), HasSubstr("before"));
    EXPECT_THAT(notices, testing::Contains(HasSubstr("../secret.png")));
    const std::string pictures =
        Program("pdfimages", {"-list", (cache / "letter.rtfd").string()}).run().output;
    EXPECT_EQ(std::count(pictures.begin(), pictures.end(), '\n'), 3) << pictures;
    fs::remove(package / "TXT.rtf");
    EXPECT_THAT(converted(package.string()), HasSubstr("refused: there is no text in it"));
}

} // namespace
} // namespace quillorn::tests
