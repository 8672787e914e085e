#include "tests/app/window/TroubleFixture.h"
#include "tests/fakes/HostilePDF.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/RawPDF.h"
#include "tests/fakes/TestPDF.h"

#include <QApplication>
#include <QTest>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace quillorn::tests {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

constexpr std::size_t mebibyte = 1U << 20U;

/// No file of this process grows beyond so many bytes, as on a disk without room.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &m_before);
        const rlimit lower{bytes, m_before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &lower);
        m_handler = std::signal(SIGXFSZ, SIG_IGN); // as the program does
    }
    ~FileSizeLimit() {
        ::setrlimit(RLIMIT_FSIZE, &m_before);
        std::signal(SIGXFSZ, m_handler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    rlimit m_before{};
    void (*m_handler)(int) = SIG_DFL;
};

class WindowBadInputTest : public TroubleFixture {
protected:
    [[nodiscard]] std::string bad(const std::string& name, const std::string& bytes) const {
        writeFile(files / name, bytes);
        return (files / name).string();
    }
    /// Offers a bad file between two good ones, which stay whole whatever becomes of it.
    void offerBad(const std::string& name, const std::string& bytes) {
        start();
        answerEverything();
        offer({pdf("first.pdf", 2), bad(name, bytes), pdf("second.pdf", 1)});
        EXPECT_THAT(sourceTitles(), Contains("second.pdf"));
        group("first.pdf", "First.pdf");
        save();
        EXPECT_EQ(saved("First.pdf"), pagesNamed("first.pdf", 2));
        EXPECT_EQ(readFile(files / name), bytes) << "the file was changed";
    }
    void expectRefused(const std::string& name) {
        EXPECT_THAT(sourceTitles(), Not(Contains(name)));
        EXPECT_THAT(messages(), ElementsAre("Infomation: " + name + " is not a legal file."));
        EXPECT_THAT(told(), HasSubstr(name + " was not taken in: "));
    }
};

TEST_F(WindowBadInputTest, AFileThatUnpacksToMillionsOfObjectsIsRefused) {
    offerBad("bomb.pdf", PackedPDF("/FlateDecode /FlateDecode", twiceDeflated)
                             .pageEntries("/PieceInfo 4 0 R")
                             .object(arrayOfIntegers(16 * mebibyte))
                             .pdf()
                             .bytes());
    expectRefused("bomb.pdf");
}

TEST_F(WindowBadInputTest, AFileThatUnpacksToMillionsOfCrossReferencesIsRefused) {
    offerBad("bomb.pdf", pdfOfCrossReferences(64 * mebibyte));
    expectRefused("bomb.pdf");
}

TEST_F(WindowBadInputTest, WhatIsNoPDFIsRefused) {
    offerBad("notes.pdf", "Some notes that are no PDF.");
    expectRefused("notes.pdf");
}

TEST_F(WindowBadInputTest, AnEmptyFileIsRefused) {
    offerBad("empty.pdf", "");
    expectRefused("empty.pdf");
}

TEST_F(WindowBadInputTest, ADocumentWithoutPagesIsAnEmptyGroup) {
    offerBad("none.pdf", RawPDF()
                             .object(1, "<< /Type /Catalog /Pages 2 0 R >>")
                             .object(2, "<< /Type /Pages /Kids [] /Count 0 >>")
                             .bytes());
    EXPECT_THAT(messages(), IsEmpty());
    EXPECT_THAT(sourceTitles(), Contains("none.pdf"));
    group("none.pdf", "None.pdf");
    EXPECT_THAT(pagesOf(1), IsEmpty());
}

TEST_F(WindowBadInputTest, TenThousandNestedArraysDoNoHarm) {
    constexpr std::size_t depth = 10'000;
    offerBad("nested.pdf",
             RawPDF()
                 .object(1, "<< /Type /Catalog /Pages 2 0 R >>")
                 .object(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
                 .object(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] "
                            "/PieceInfo " +
                                std::string(depth, '[') + std::string(depth, ']') + " >>")
                 .bytes());
    if (messages().empty()) {
        EXPECT_THAT(sourceTitles(), Contains("nested.pdf"));
        group("nested.pdf", "Nested.pdf");
        save();
        EXPECT_TRUE(std::filesystem::exists(outputFolder / "Nested.pdf") ||
                    told().find("Nested.pdf was not written: ") != std::string::npos);
    } else {
        expectRefused("nested.pdf");
    }
}

TEST_F(WindowBadInputTest, AChainOfTenThousandObjectsIsTakenAlong) {
    constexpr int length = 10'000;
    RawPDF chain;
    chain.object(1, "<< /Type /Catalog /Pages 2 0 R >>")
        .object(2, "<< /Type /Pages /Kids [3 0 R] /Count 1 >>")
        .object(3, "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 9 9] /PieceInfo 4 0 R >>");
    for (int i = 4; i < length; ++i) {
        chain.object(i, "<< /Next " + std::to_string(i + 1) + " 0 R >>");
    }
    chain.object(length, "<< /Last true >>");
    offerBad("chain.pdf", chain.bytes());
    EXPECT_THAT(messages(), IsEmpty());
    group("chain.pdf", "Chain.pdf");
    save();
    EXPECT_THAT(complaintsAbout(outputFolder / "Chain.pdf"), IsEmpty()) << told();
}

TEST_F(WindowBadInputTest, APageTreeOfTenThousandLevelsDoesNoHarm) {
    constexpr int levels = 10'000;
    RawPDF tree;
    tree.object(1, "<< /Type /Catalog /Pages 2 0 R >>");
    for (int i = 2; i < levels; ++i) {
        const std::string parent = i > 2 ? "/Parent " + std::to_string(i - 1) + " 0 R " : "";
        tree.object(i, "<< /Type /Pages " + parent + "/Count 1 /Kids [" + std::to_string(i + 1) +
                           " 0 R] >>");
    }
    tree.object(levels, "<< /Type /Page /Parent " + std::to_string(levels - 1) +
                            " 0 R /MediaBox [0 0 9 9] >>");
    offerBad("tree.pdf", tree.bytes());
    if (!messages().empty()) {
        expectRefused("tree.pdf");
    }
}

TEST_F(WindowBadInputTest, AFileThatIsRemovedWhileOpenIsStillSaved) {
    start();
    open({pdf("a.pdf", 2)});
    std::filesystem::remove(files / "a.pdf");
    group("a.pdf", "A.pdf");
    save();
    EXPECT_EQ(saved("A.pdf"), pagesNamed("a.pdf", 2)) << told();
}

TEST_F(WindowBadInputTest, AFileThatIsReplacedWhileOpenIsSavedAsItWas) {
    start();
    open({pdf("a.pdf", 2)});
    TestPDF("other.pdf", 5).writeTo(files / "other.pdf");
    std::filesystem::rename(files / "other.pdf", files / "a.pdf");
    group("a.pdf", "A.pdf");
    save();
    EXPECT_EQ(saved("A.pdf"), pagesNamed("a.pdf", 2)) << told();
}

TEST_F(WindowBadInputTest, AFileThatIsRewrittenInPlaceIsSavedAsItWasOrToldOf) {
    start();
    open({pdf("a.pdf", 2), pdf("b.pdf", 1)});
    group("a.pdf", "A.pdf");
    group("b.pdf", "B.pdf");
    const std::string other = TestPDF("intruder.pdf", 2).bytes();
    {
        std::ofstream rewriting(files / "a.pdf", std::ios::in | std::ios::out | std::ios::binary);
        rewriting << other;
    }
    save();
    EXPECT_EQ(saved("B.pdf"), pagesNamed("b.pdf", 1));
    if (std::filesystem::exists(outputFolder / "A.pdf")) {
        EXPECT_EQ(saved("A.pdf"), pagesNamed("a.pdf", 2));
    } else {
        EXPECT_THAT(told(), HasSubstr("A.pdf was not written: "));
        EXPECT_THAT(told(), HasSubstr("a.pdf"));
    }
}

TEST_F(WindowBadInputTest, ClosingAFileKeepsTheGroupsOfThoseThatAreGone) {
    start();
    open({pdf("a.pdf", 2), pdf("b.pdf", 1), pdf("c.pdf", 1)});
    group("a.pdf", "A.pdf");
    std::filesystem::remove(files / "a.pdf");
    sourceBrowser().setSelectionIndexes({3}, false);
    menus().source.closePDFFile.action.trigger();
    EXPECT_THAT(sourceTitles(), ElementsAre("a.pdf", "b.pdf"));
    EXPECT_THAT(told(), HasSubstr("a.pdf can no longer be opened: "));
    save();
    EXPECT_EQ(saved("A.pdf"), pagesNamed("a.pdf", 2)) << "what was taken out stays";
}

TEST_F(WindowBadInputTest, AnOutputFolderThatVanishedIsToldOfAndNoPageIsLost) {
    start();
    open({pdf("a.pdf", 2)});
    group("a.pdf", "A.pdf");
    std::filesystem::remove_all(outputFolder);
    save();
    if (!std::filesystem::exists(outputFolder / "A.pdf")) {
        EXPECT_THAT(told(), HasSubstr("A.pdf was not written: "));
        std::filesystem::create_directories(outputFolder);
        save();
    }
    EXPECT_EQ(saved("A.pdf"), pagesNamed("a.pdf", 2));
}

TEST_F(WindowBadInputTest, ADiskWithoutRoomIsToldOfAndTheOldFileStays) {
    start();
    const std::string large = TestPDF("large.pdf", 2).padPages(mebibyte).writeTo(files / "l.pdf");
    open({large, pdf("small.pdf", 1)});
    group("l.pdf", "Large.pdf");
    group("small.pdf", "Small.pdf");
    writeFile(outputFolder / "Large.pdf", "the old file");
    {
        const FileSizeLimit limit(mebibyte);
        save();
    }
    EXPECT_THAT(told(), HasSubstr("Large.pdf was not written: "));
    EXPECT_EQ(readFile(outputFolder / "Large.pdf"), "the old file");
    EXPECT_EQ(saved("Small.pdf"), pagesNamed("small.pdf", 1));
    EXPECT_THAT(namesIn(outputFolder), ElementsAre("Large.pdf", "Small.pdf"));
    save(); // there is room again
    EXPECT_EQ(saved("Large.pdf").size(), 2U) << told();
}

TEST_F(WindowBadInputTest, WithoutItsWorkingFolderTheProgramGoesOn) {
    start();
    answerEverything();
    open({pdf("a.pdf", 2), picture("p.png")});
    group("a.pdf", "A.pdf");
    group("p.png", "P.pdf");
    std::filesystem::remove_all(cache);
    program().output().expandAllGroups();
    outputBrowser().setSelectionIndexes({0}, false);
    menus().rotateRight.action.trigger();
    program().output().getGroupName("Late.pdf");
    offer({picture("q.png")});
    EXPECT_THAT(sourceTitles(), Contains("q.png")) << told();
    group("q.png", "Q.pdf");
    save();
    EXPECT_EQ(saved("A.pdf"), pagesNamed("a.pdf", 2)) << told();
    EXPECT_THAT(pageRotations(outputFolder / "A.pdf"), ElementsAre(90, 0));
    for (const char* const name : {"P.pdf", "Q.pdf", "Late.pdf"}) {
        EXPECT_EQ(saved(name).size(), 1U) << name << ": " << told();
    }
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(WindowBadInputTest, AnotherInstanceThatClosesTakesNoPageAway) {
    start();
    open({pdf("a.pdf", 2), picture("p.png")});
    {
        // As after a start from another session: the home folder is the same.
        WindowProgram other(
            {QUILLORN_PROGRAM_FOLDER,
             Resources({std::filesystem::path(QUILLORN_PROGRAM_FOLDER) / "resources"}),
             home.string(), std::make_unique<MemoryPreferences>()});
        other.start();
        answerAlert("Yes");
        EXPECT_TRUE(other.window().close());
        waitFor("the question", [this]() { return allShown(); });
    }
    group("a.pdf", "A.pdf");
    group("p.png", "P.pdf");
    save();
    EXPECT_EQ(saved("A.pdf"), pagesNamed("a.pdf", 2)) << told();
    EXPECT_EQ(saved("P.pdf").size(), 1U) << told();
}

TEST_F(WindowBadInputTest, WhatIsToldOfAConversionNamesItsDocument) {
    start();
    offer({bad("letter.rtf", R"({\rtf1\ansi{\fonttbl{\f0 No Such Font;}}\f0 text})")});
    EXPECT_THAT(told(), HasSubstr("letter.rtf: "));
    EXPECT_THAT(told(), HasSubstr("No Such Font"));
}

TEST_F(WindowBadInputTest, NamesFullOfOddCharactersAreShownAsTheyAre) {
    start();
    answerEverything();
    const std::string odd = "a%2 [*] <b>&amp; 100%.pdf";
    offer({pdf(odd, 1), bad("%@ <i>.pdf", "no PDF")});
    EXPECT_THAT(messages(), ElementsAre("Infomation: %@ <i>.pdf is not a legal file."));
    group(odd, "%1 [*] %2.pdf");
    waitFor("the title",
            [this]() { return window().windowTitle().contains(QStringLiteral("%1")); });
    save();
    EXPECT_EQ(saved("%1 [*] %2.pdf").size(), 1U) << told();
}

} // namespace
} // namespace quillorn::tests
