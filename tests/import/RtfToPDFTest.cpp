#include "import/RtfToPDF.h"

#include "tests/fakes/PDFContents.h"
#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn::tests {
namespace {

namespace fs = std::filesystem;
using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RtfToPDFTest : public testing::Test {
protected:
    static void SetUpTestSuite() { std::signal(SIGPIPE, SIG_IGN); } // as the program does
    static void TearDownTestSuite() {
        engines().office.end();
        engines().text.end();
    }
    /// One pair for all tests of the program.
    static TextEngines& engines() {
        static TextEngines all;
        return all;
    }

    RtfToPDFTest() {
        fs::create_directory(folder / "cache");
        fs::create_directory(folder / "files");
    }
    [[nodiscard]] std::string file(const std::string& name, std::string_view content) const {
        writeFile(folder / "files" / name, content);
        return (folder / "files" / name).string();
    }
    /// The text of the PDF that a file becomes, or "refused: " with the reason.
    std::string converted(const std::string& path, bool keepPageSetup = false) {
        RtfToPDF converter(engines(), cache, keepPageSetup);
        const auto result = converter.convertRtfToPDF(path);
        if (!result) {
            return "refused: " + result.error().reason;
        }
        EXPECT_EQ(converter.tmpPath(), cache / fs::path(path).filename());
        EXPECT_EQ(complaintsAbout(converter.tmpPath()), "");
        notices = *result;
        std::string text;
        for (const std::string& page : pageTexts(converter.tmpPath())) {
            text += page;
        }
        return text;
    }
    [[nodiscard]] std::string told(const std::string& name) const {
        return Program("pdfinfo", {(cache / name).string()}).run().output;
    }

    const TemporaryFolder folder;
    const fs::path cache = folder / "cache";
    std::vector<std::string> notices;
};

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

TEST_F(RtfToPDFTest, ADocumentGetsNoOtherFile) {
    const std::string secret = file("secret.txt", "secret");
    fs::permissions(secret, fs::perms::owner_read);
    const std::string text =
        converted(file("a.rtf", R"({\rtf1\ansi before {\field{\*\fldinst INCLUDETEXT ")" + secret +
                                    R"("}{\fldrslt none}} {\field{\*\fldinst INCLUDEPICTURE ")" +
                                    secret + R"("}{\fldrslt}} after})"));
    EXPECT_THAT(text, HasSubstr("before"));
    EXPECT_THAT(text, Not(HasSubstr("secret")));
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
