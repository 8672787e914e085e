#include "tests/app/journeys/JourneyFixture.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TestImage.h"
#include "tests/fakes/TestPDF.h"
#include "tests/fakes/WordDocument.h"

#include <csignal>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class JourneysTest : public JourneyFixture {
protected:
    /// Ten files of all kinds; the first is one that may lead a drop.
    [[nodiscard]] Texts tenFiles() const {
        Texts all = {pdf("alpha.pdf", 3), pdf("beta.pdf", 2), pdf("gamma.pdf", 1)};
        all.push_back(TestPDF("turned.pdf", 2).setRotation(0, 90).writeTo(files / "turned.pdf"));
        all.push_back(pdf("forty.pdf", 40));
        const auto add = [&](const std::string& name, const std::string& bytes) {
            writeFile(files / name, bytes);
            all.push_back((files / name).string());
        };
        add("picture.png", TestPNG(testPicture(300, 200)).bytes());
        add("page.html", "<!doctype html><title>Page</title><p>A web page</p>");
        add("letter.docx", wordDocument("A letter of Word"));
        add("notes.txt", "Some plain notes\n");
        add("rich.rtf", R"({\rtf1\ansi Some rich text})");
        return all;
    }
    /// Every file of a folder with its content.
    [[nodiscard]] static std::map<std::string, std::string>
    contentsOf(const std::filesystem::path& folder) {
        std::map<std::string, std::string> contents;
        for (const std::string& name : namesIn(folder)) {
            contents[name] = readFile(folder / name);
        }
        return contents;
    }
    /// Saves with the keys, and waits until everything is written.
    void save() {
        key("mainWindow", "ctrl+s");
        key("saveToPDFWindow", "Return");
        waitForNo("saveToPDFWindow");
        ASSERT_TRUE(waitUntil([this]() { return std::filesystem::exists(folders / "opened"); }));
    }
    void close() {
        key("mainWindow", "ctrl+q");
        EXPECT_EQ(end(), 0);
        EXPECT_FALSE(std::filesystem::exists(cache)) << "working files are left";
    }
    /// Answers the question of closing with unsaved work.
    void closeUnsaved() {
        key("mainWindow", "ctrl+q");
        click("alert", "Button", "Yes");
        EXPECT_EQ(end(), 0);
        EXPECT_FALSE(std::filesystem::exists(cache)) << "working files are left";
    }
};

TEST_F(JourneysTest, TenMixedFilesBecomeTwoPDFs) {
    const Texts ten = tenFiles();
    const auto before = contentsOf(files);
    start();
    EXPECT_EQ(dropFiles(ten, "Source"), "taken");
    EXPECT_THAT(headersOf("Source", 10),
                ElementsAre(StartsWith("alpha.pdf, 3 pages"), StartsWith("beta.pdf, 2 pages"),
                            StartsWith("gamma.pdf, 1 page"), StartsWith("turned.pdf, 2 pages"),
                            StartsWith("forty.pdf, 40 pages"), StartsWith("picture.png, 1 page"),
                            StartsWith("page.html, 1 page"), StartsWith("letter.docx, 1 page"),
                            StartsWith("notes.txt, 1 page"), StartsWith("rich.rtf, 1 page")));

    expand("Source", "alpha.pdf");
    dragItem("Source", "1-alpha", middleOfPane("Output"));
    EXPECT_THAT(pagesOf("Output", 1), ElementsAre(StartsWith("1-alpha, page 1 of 1, Untitled")));
    dragItem("Source", "3-alpha", behindItem("Output", "1-alpha"));
    pagesOf("Output", 2);
    expand("Source", "beta.pdf");
    click("mainWindow", "ListItem", "1-beta", "Source");
    click("mainWindow", "ListItem", "2-beta", "Source", "ctrl");
    dragItem("Source", "1-beta", behindItem("Output", "1-alpha"));
    EXPECT_THAT(pagesOf("Output", 4), ElementsAre(StartsWith("1-alpha"), StartsWith("1-beta"),
                                                  StartsWith("2-beta"), StartsWith("3-alpha")));
    click("mainWindow", "ListItem", "2-beta", "Output");
    key("mainWindow", "ctrl+r");
    key("mainWindow", "F2");
    type("changeNameWindow", "Report");
    key("changeNameWindow", "Return");
    waitForNo("changeNameWindow");

    click("mainWindow", "Button", "Create A New PDF");
    type("groupNameWindow", "Mixed");
    key("groupNameWindow", "Return");
    waitForNo("groupNameWindow");
    EXPECT_THAT(headersOf("Output", 2),
                ElementsAre(StartsWith("Report.pdf"), StartsWith("Mixed.pdf")));
    for (const char* const title : {"alpha.pdf", "beta.pdf"}) {
        click("mainWindow", "Button", title, "Source"); // folds it
    }
    for (const char* const name : {"page.html", "letter.docx", "notes.txt", "rich.rtf"}) {
        expand("Source", name);
    }
    expand("Output", "Mixed.pdf");
    std::string last = "blank"; // the picture of the group without pages
    for (const char* const page : {"1-page", "1-letter", "1-notes", "1-rich"}) {
        static_cast<void>(waitForItem("Output", last)); // into sight
        dragItem("Source", page, behindItem("Output", last));
        last = page;
    }
    waitFor("four pages in Mixed", [](const Sight& sight) {
        return sight.find("mainWindow", "Button", "Mixed.pdf, 4 pages", "Output").has_value();
    });

    save();
    EXPECT_THAT(namesIn(outputFolder), ElementsAre("Mixed.pdf", "Report.pdf"));
    EXPECT_THAT(pageTexts(outputFolder / "Report.pdf"),
                ElementsAre("Page 1 of alpha.pdf", "Page 1 of beta.pdf", "Page 2 of beta.pdf",
                            "Page 3 of alpha.pdf"));
    EXPECT_THAT(pageRotations(outputFolder / "Report.pdf"), ElementsAre(0, 0, 90, 0));
    EXPECT_THAT(
        pageTexts(outputFolder / "Mixed.pdf"),
        ElementsAre("A web page", "A letter of Word", "Some plain notes", "Some rich text"));
    for (const char* const name : {"Mixed.pdf", "Report.pdf"}) {
        EXPECT_THAT(complaintsAbout(outputFolder / name), IsEmpty()) << name;
    }
    EXPECT_EQ(readFile(folders / "opened"), outputFolder.string() + "\n");
    close();
    EXPECT_EQ(contentsOf(files), before) << "a source was changed";
}

TEST_F(JourneysTest, PagesAreReorderedTurnedAndDeletedWithTheMouse) {
    start({pdf("a.pdf", 5)});
    pagesOf("Source", 5);
    key("mainWindow", "ctrl+a");
    dragItem("Source", "1-a", middleOfPane("Output"));
    pagesOf("Output", 5);
    dragItem("Output", "1-a", behindItem("Output", "3-a"));
    waitFor("the first page is third", [](const Sight& sight) {
        const auto names = sight.namesIn("Output", "ListItem");
        return names.size() == 5 && names[2].starts_with("1-a");
    });
    click("mainWindow", "ListItem", "2-a", "Output");
    click("mainWindow", "ListItem", "5-a", "Output", "ctrl");
    key("mainWindow", "Delete");
    EXPECT_THAT(pagesOf("Output", 3),
                ElementsAre(StartsWith("3-a"), StartsWith("1-a"), StartsWith("4-a")));
    pagesOf("Source", 5);
    click("mainWindow", "ListItem", "1-a", "Output");
    key("mainWindow", "ctrl+shift+r");
    save();
    EXPECT_THAT(pageTexts(outputFolder / "Untitled.pdf"),
                ElementsAre("Page 3 of a.pdf", "Page 1 of a.pdf", "Page 4 of a.pdf"));
    EXPECT_THAT(pageRotations(outputFolder / "Untitled.pdf"), ElementsAre(0, 270, 0));
    close();
}

TEST_F(JourneysTest, FilesDroppedOneAfterTheOtherStand) {
    const Texts ten = tenFiles();
    start();
    EXPECT_EQ(dropFiles({ten[0]}, "Source"), "taken");
    headersOf("Source", 1);
    pagesOf("Source", 3);
    EXPECT_EQ(dropFiles({ten[5], ten[6]}, "Source"), "taken");
    EXPECT_THAT(
        headersOf("Source", 3),
        ElementsAre(StartsWith("alpha.pdf"), StartsWith("picture.png"), StartsWith("page.html")));
    closeUnsaved();
}

TEST_F(JourneysTest, ClosingWithUnsavedWorkAsksFirst) {
    start({pdf("a.pdf", 2)});
    pagesOf("Source", 2);
    dragItem("Source", "1-a", middleOfPane("Output"));
    pagesOf("Output", 1);
    display->key("alt+F4");
    const Seen question = waitForNode("alert", "StaticText", "");
    EXPECT_EQ(question.name, "You have not saved, do you want to exit the application ?");
    click("alert", "Button", "No");
    waitForNo("alert");
    EXPECT_TRUE(std::filesystem::exists(cache / "blank.pdf"));
    pagesOf("Output", 1);
    closeUnsaved();
    EXPECT_THAT(namesIn(outputFolder), IsEmpty());
}

TEST_F(JourneysTest, ASecondStartHandsItsFilesOver) {
    start({pdf("a.pdf", 2)});
    headersOf("Source", 1);
    const std::string later = pdf("b.pdf", 1);
    const ProgramResult second = program({"b.pdf"}).run();
    EXPECT_EQ(second.status, 0) << second.errors;
    EXPECT_THAT(headersOf("Source", 2), ElementsAre(StartsWith("a.pdf"), StartsWith("b.pdf")));
    closeUnsaved();
    // And who comes when it has gone has a window of his own.
    start({later});
    headersOf("Source", 1);
    closeUnsaved();
}

TEST_F(JourneysTest, KeysAloneDoEverything) {
    start({pdf("a.pdf", 3), pdf("b.pdf", 2)});
    headersOf("Source", 2);
    key("mainWindow", "ctrl+shift+Right"); // expand all
    pagesOf("Source", 5);
    key("mainWindow", "ctrl+a");
    key("mainWindow", "Return");
    pagesOf("Output", 5);
    key("mainWindow", "F6");
    waitFor("the keys are in the output pane", [](const Sight& sight) {
        return !sight.all([](const Seen& seen) { return seen.isFocused && seen.list == "Output"; })
                    .empty();
    });
    key("mainWindow", "Home");
    key("mainWindow", "alt+Right");
    key("mainWindow", "ctrl+r");
    waitFor("a page was moved", [](const Sight& sight) {
        const auto names = sight.namesIn("Output", "ListItem");
        return names.size() == 5 && names[1].starts_with("1-a");
    });
    key("mainWindow", "End");
    key("mainWindow", "Delete");
    pagesOf("Output", 4);
    key("mainWindow", "Home");
    key("mainWindow", "F2");
    type("changeNameWindow", "Keys");
    key("changeNameWindow", "Return");
    waitForNo("changeNameWindow");
    key("mainWindow", "ctrl+n");
    type("groupNameWindow", "Empty");
    key("groupNameWindow", "Return");
    waitForNo("groupNameWindow");
    headersOf("Output", 2);
    save();
    EXPECT_THAT(
        pageTexts(outputFolder / "Keys.pdf"),
        ElementsAre("Page 2 of a.pdf", "Page 1 of a.pdf", "Page 3 of a.pdf", "Page 1 of b.pdf"));
    EXPECT_THAT(pageRotations(outputFolder / "Keys.pdf"), ElementsAre(0, 90, 0, 0));
    EXPECT_EQ(pageTexts(outputFolder / "Empty.pdf").size(), 1U);
    close();
}

TEST_F(JourneysTest, EscapeCancelsADrag) {
    start({pdf("a.pdf", 2)});
    const Seen page = [this]() {
        pagesOf("Source", 2);
        return waitForItem("Source", "1-a");
    }();
    display->movePointer(page.middle());
    display->press();
    int way = 0;
    waitFor("a drag", [&](const Sight& sight) {
        display->movePointer({page.middle().x + ++way % 60, page.middle().y});
        return sight.pointer != "usual";
    });
    display->key("Escape");
    waitFor("its end", [](const Sight& sight) { return sight.pointer == "usual"; });
    display->release();
    pagesOf("Source", 2);
    dragItem("Source", "1-a", middleOfPane("Output")); // the next one works
    pagesOf("Output", 1);
    closeUnsaved();
}

} // namespace
} // namespace quillorn::tests
