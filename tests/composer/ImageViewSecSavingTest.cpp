#include "tests/composer/OutputPane.h"

#include "tests/fakes/PDFContents.h"
#include "tests/fakes/WindowLoop.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Texts = std::vector<std::string>;

class ImageViewSecSavingTest : public testing::Test {
protected:
    /// Presses the Save button, and the one of the sheet that comes.
    void save() {
        output.saveToPDFWindow.m_user = [this]() {
            pane.clickSaveToPDFSureBtn(output.saveToPDFWindow);
        };
        pane.saveToPDF();
    }
    void expectQuestion(AlertAnswer answer) {
        output.alerts.expect(Alert{"Information",
                                   "You have not saved, do you want to exit the application ?",
                                   "Yes", "No"},
                             answer);
    }

    tests::OutputPane output;
    ImageViewSec& pane = output.pane;
};

TEST_F(ImageViewSecSavingTest, EveryGroupBecomesAFileOfItsName) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 1);
    output.select({1});
    pane.rotateClockwise();
    save();
    EXPECT_EQ(tests::namesIn(output.movies()), (Texts{"a.pdf", "b.pdf"}));
    EXPECT_EQ(tests::pageTexts(output.movies() / "a.pdf"), (Texts{"Page 1 of a", "Page 2 of a"}));
    EXPECT_EQ(tests::pageRotations(output.movies() / "a.pdf"), (std::vector<int>{0, 90}));
    EXPECT_EQ(tests::pageTexts(output.movies() / "b.pdf"), Texts{"Page 1 of b"});
    EXPECT_TRUE(pane.isSave());
    EXPECT_EQ(output.workspace.m_opened, Texts{"folder " + output.movies().string()});
    EXPECT_EQ(output.saveToPDFWindow.m_stops, 1);
    EXPECT_FALSE(output.saveToPDFWindow.m_isShown);
    EXPECT_TRUE(output.statusLine.m_messages.empty());
}

TEST_F(ImageViewSecSavingTest, EachFileShowsItsProgressPageByPage) {
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 1);
    save();
    EXPECT_EQ(output.saveWindow.m_log,
              (Texts{"begin 3", "0", "1", "2", "end", "begin 1", "0", "end"}));
}

TEST(ImageViewSecWorker, WritingElsewhereShowsTheSameProgress) {
    tests::WindowLoop window;
    tests::WindowWork work{window};
    tests::OutputPane output(window.queue, work);
    output.addGroup("a.pdf", 3);
    output.saveToPDFWindow.m_user = [&output]() {
        output.pane.clickSaveToPDFSureBtn(output.saveToPDFWindow);
    };
    output.pane.saveToPDF();
    EXPECT_EQ(output.saveWindow.m_log, (Texts{"begin 3", "0", "1", "2", "end"}));
    EXPECT_EQ(tests::pageTexts(output.movies() / "a.pdf").size(), 3U);
    EXPECT_TRUE(output.pane.isSave());
}

TEST(ImageViewSecWorker, TheProgressSheetCanCancelTheSave) {
    tests::WindowLoop window;
    tests::WindowWork work{window};
    tests::OutputPane output(window.queue, work);
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 3);
    output.saveWindow.m_user = [&output]() { output.pane.cancelSaving(); };
    output.saveToPDFWindow.m_user = [&output]() {
        output.pane.clickSaveToPDFSureBtn(output.saveToPDFWindow);
    };
    output.pane.saveToPDF();
    EXPECT_FALSE(output.pane.isSave());
    EXPECT_TRUE(tests::namesIn(output.movies()).empty());
    EXPECT_EQ(output.saveWindow.m_log.front(), "begin 3");
    EXPECT_EQ(output.saveWindow.m_log.back(), "end");
    EXPECT_EQ(output.statusLine.m_messages, Texts{"Saving was cancelled after 0 of 2 files."});
}

TEST_F(ImageViewSecSavingTest, ASecondSaveReplacesTheFilesWithoutAQuestion) {
    output.addGroup("a.pdf", 2);
    save();
    output.select({0});
    pane.deletePdfPages();
    EXPECT_FALSE(pane.isSave());
    save();
    EXPECT_EQ(tests::pageTexts(output.movies() / "a.pdf"), Texts{"Page 2 of a"});
}

TEST_F(ImageViewSecSavingTest, AGroupWithoutPagesIsAFileToo) {
    output.addGroup("a.pdf", 0);
    save();
    EXPECT_EQ(tests::pageTexts(output.movies() / "a.pdf"), Texts{""}) << "one blank page";
    EXPECT_EQ(output.saveWindow.m_log.front(), "begin 0");
    EXPECT_EQ(output.saveWindow.m_log.back(), "end");
}

TEST_F(ImageViewSecSavingTest, CancelInTheSheetWritesNothing) {
    output.addGroup("a.pdf", 1);
    output.saveToPDFWindow.m_user = [this]() { pane.clickConcelBtn(output.saveToPDFWindow); };
    pane.saveToPDF();
    EXPECT_TRUE(tests::namesIn(output.movies()).empty());
    EXPECT_FALSE(pane.isSave());
    EXPECT_TRUE(output.workspace.m_opened.empty());
}

TEST_F(ImageViewSecSavingTest, AFileThatCannotBeWrittenDoesNotHinderTheOthers) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 1);
    fs::create_directory(output.movies() / "a.pdf");
    save();
    EXPECT_EQ(tests::pageTexts(output.movies() / "b.pdf"), Texts{"Page 1 of b"});
    EXPECT_TRUE(pane.isSave()) << "the rule is: saved, whatever became of single files";
    ASSERT_EQ(output.statusLine.m_messages.size(), 1U);
    EXPECT_TRUE(output.statusLine.m_messages[0].starts_with("a.pdf was not written: "));
    EXPECT_EQ(output.saveWindow.m_log.back(), "end");
    EXPECT_EQ(output.workspace.m_opened.size(), 1U);
}

TEST_F(ImageViewSecSavingTest, CancellingASaveKeepsWhatIsCompleteAndStaysUnsaved) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 1);
    output.addGroup("c.pdf", 1);
    output.longWork.m_texts.clear();
    output.longWork.m_cancelFrom = 1;
    save();
    EXPECT_EQ(tests::namesIn(output.movies()), Texts{"a.pdf"});
    EXPECT_FALSE(pane.isSave());
    EXPECT_TRUE(output.workspace.m_opened.empty());
    EXPECT_EQ(output.statusLine.m_messages, Texts{"Saving was cancelled after 1 of 3 files."});
    EXPECT_EQ(output.saveToPDFWindow.m_stops, 1);
    EXPECT_EQ(std::ranges::count(output.saveWindow.m_log, "end"),
              std::ranges::count(output.saveWindow.m_log, "begin 1"))
        << "no progress is left on the screen";
    output.longWork.m_cancelFrom = -1;
    save();
    EXPECT_EQ(tests::namesIn(output.movies()), (Texts{"a.pdf", "b.pdf", "c.pdf"}));
    EXPECT_TRUE(pane.isSave());
}

TEST_F(ImageViewSecSavingTest, AFolderWithAQuoteInItsNameIsShownAsAnyOther) {
    const fs::path folder = output.home / "it's";
    fs::create_directory(folder);
    pane.SetSavePath(PanelReturn::ok, OpenPanelChoice{{folder.string()}, folder.string()});
    output.addGroup("a.pdf", 1);
    save();
    EXPECT_TRUE(fs::exists(folder / "a.pdf"));
    EXPECT_EQ(output.workspace.m_opened, Texts{"folder " + folder.string()});
}

TEST_F(ImageViewSecSavingTest, AChosenFolderIsShownUsedAndRemembered) {
    const fs::path folder = output.home / "Chosen";
    fs::create_directory(folder);
    output.filePanels.choose(OpenPanelChoice{{folder.string()}, output.home.path().string()});
    pane.onBtnSetSavePath();
    ASSERT_EQ(output.filePanels.m_panels.size(), 1U);
    OpenPanel expected;
    expected.canChooseFiles = false;
    expected.canChooseDirectories = true;
    expected.canCreateDirectories = true;
    expected.folder = output.movies().string();
    EXPECT_EQ(output.filePanels.m_panels[0], expected);
    EXPECT_EQ(output.btnSavePath.title(), folder.string());
    EXPECT_EQ(output.preferences.m_values.at("SaveFilePlace"), folder.string());
}

TEST_F(ImageViewSecSavingTest, CancellingTheChooserChangesNothing) {
    output.filePanels.cancel();
    pane.onBtnSetSavePath();
    EXPECT_EQ(output.btnSavePath.title(), output.movies().string());
    EXPECT_TRUE(output.preferences.m_values.empty());
}

TEST_F(ImageViewSecSavingTest, AFolderThatCannotBeWrittenIsRefused) {
    // Nobody can write there, not even an administrator.
    const std::string folder = "/proc/self/fdinfo-none";
    output.alerts.expect("Information", folder + " does not write! ");
    pane.SetSavePath(PanelReturn::ok, OpenPanelChoice{{folder}, folder});
    EXPECT_EQ(output.btnSavePath.title(), output.movies().string());
    EXPECT_TRUE(output.preferences.m_values.empty());
}

TEST_F(ImageViewSecSavingTest, APreferenceThatCannotBeKeptIsToldOf) {
    output.preferences.m_fails = true;
    const std::string folder = output.home.path().string();
    pane.SetSavePath(PanelReturn::ok, OpenPanelChoice{{folder}, folder});
    EXPECT_EQ(output.btnSavePath.title(), folder) << "it counts for this run";
    EXPECT_EQ(output.statusLine.m_messages.size(), 1U);
}

TEST_F(ImageViewSecSavingTest, ClosingAtOnceAsks) {
    expectQuestion(AlertAnswer::defaultButton);
    EXPECT_TRUE(pane.windowShouldClose(output.mainWindow));
    EXPECT_FALSE(fs::exists(output.cache()));
}

TEST_F(ImageViewSecSavingTest, AfterASaveTheWindowClosesWithoutAQuestion) {
    output.addGroup("a.pdf", 1);
    save();
    EXPECT_TRUE(pane.windowShouldClose(output.mainWindow));
    EXPECT_FALSE(fs::exists(output.cache()));
    EXPECT_TRUE(fs::exists(output.movies() / "a.pdf"));
}

TEST_F(ImageViewSecSavingTest, AChangeAfterASaveAsksAgain) {
    output.addGroup("a.pdf", 1);
    save();
    output.drag("x", 1);
    output.dropAt(1);
    expectQuestion(AlertAnswer::alternateButton);
    EXPECT_FALSE(pane.windowShouldClose(output.mainWindow));
    EXPECT_TRUE(fs::exists(output.cache() / "a.pdf")) << "No keeps everything";
    EXPECT_EQ(output.shown(), "a.pdf: a1 x1");
}

TEST_F(ImageViewSecSavingTest, AnotherWindowClosesWithoutAQuestionAndEndsItsModalRun) {
    tests::FakeSheet other;
    EXPECT_TRUE(pane.windowShouldClose(other));
    EXPECT_EQ(other.m_stops, 1);
    EXPECT_FALSE(fs::exists(output.cache()));
}

TEST_F(ImageViewSecSavingTest, AWorkingFolderThatIsGoneDoesNotKeepTheWindowOpen) {
    fs::remove_all(output.cache());
    expectQuestion(AlertAnswer::defaultButton);
    EXPECT_TRUE(pane.windowShouldClose(output.mainWindow));
}

TEST_F(ImageViewSecSavingTest, TheProgramEndsWithItsLastWindow) {
    EXPECT_TRUE(ImageViewSec::applicationShouldTerminateAfterLastWindowClosed());
}

} // namespace
} // namespace quillorn
