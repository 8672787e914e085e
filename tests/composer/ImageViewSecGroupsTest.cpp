#include "tests/composer/OutputPane.h"

#include "panes/BackgroundLayers.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {
namespace {

namespace fs = std::filesystem;
using Names = std::vector<std::string>;

class ImageViewSecGroupsTest : public testing::Test {
protected:
    tests::OutputPane output;
    ImageViewSec& pane = output.pane;
    tests::FakeImageBrowser& browser = output.controls.browser;
};

TEST_F(ImageViewSecGroupsTest, AtTheStartThePaneIsEmptyUnsavedAndShowsItsPicture) {
    EXPECT_EQ(browser.m_animates, false);
    EXPECT_EQ(browser.m_reorders, true);
    EXPECT_FALSE(browser.m_quickLook.has_value());
    EXPECT_EQ(browser.m_destination, &pane);
    EXPECT_NE(dynamic_cast<ImageBrowserBackgroundLayerSec*>(browser.m_foreground.get()), nullptr);
    EXPECT_NE(browser.m_background, nullptr);
    EXPECT_FALSE(pane.isSave());
    EXPECT_FALSE(output.controls.clearMenu.isEnabled());
}

TEST_F(ImageViewSecGroupsTest, TheOutputFolderIsMadeAmongTheMoviesAndShownOnItsButton) {
    EXPECT_EQ(output.btnSavePath.title(), output.movies().string());
    EXPECT_TRUE(fs::is_directory(output.movies()));
    EXPECT_EQ(output.btnSavePath.m_titles,
              (Names{(output.home / "Movies").string(), output.movies().string()}));
    EXPECT_TRUE(output.preferences.m_values.empty()) << "only choosing a folder remembers it";
}

TEST_F(ImageViewSecGroupsTest, ARememberedFolderThatWasDeletedIsMadeAgain) {
    const fs::path folder = output.home / "x/y";
    output.preferences.m_values["SaveFilePlace"] = folder.string();
    pane.InitAppPath();
    EXPECT_EQ(output.btnSavePath.title(), folder.string());
    EXPECT_TRUE(fs::is_directory(folder));
}

TEST_F(ImageViewSecGroupsTest, ANewGroupShowsOnePlaceholderAndHasNoPages) {
    pane.getGroupName("Untitled.pdf");
    EXPECT_EQ(output.shown(), "Untitled.pdf: blank");
    EXPECT_EQ(pane.addPDFFileName(), Names{"Untitled.pdf"});
    ASSERT_EQ(pane.PDFArray().size(), 1U);
    EXPECT_EQ(pane.PDFArray()[0]->pageCount(), 0U);
    EXPECT_EQ(pane.newIndex(), std::vector<int>{0});
    EXPECT_EQ(pane.images()[0]->imagePath(), (output.cache() / "Untitled.pdf").string());
    EXPECT_NE(pane.images()[0]->page(), nullptr) << "a blank page is its picture";
    EXPECT_TRUE(fs::is_regular_file(output.cache() / "Untitled.pdf"));
    EXPECT_FALSE(pane.isSave());
    EXPECT_EQ(browser.m_foreground, nullptr) << "the picture of the empty pane is gone";
}

TEST_F(ImageViewSecGroupsTest, TheSameNameTwiceIsRefused) {
    pane.getGroupName("Untitled.pdf");
    output.alerts.expect("Infomation", "Untitled.pdf already exists.");
    pane.getGroupName("Untitled.pdf");
    EXPECT_EQ(pane.addPDFFileName().size(), 1U);
    EXPECT_EQ(pane.PDFArray().size(), 1U);
}

TEST_F(ImageViewSecGroupsTest, AnotherCaseIsAnotherName) {
    pane.getGroupName("Untitled.pdf");
    pane.getGroupName("Untitled.PDF");
    EXPECT_EQ(output.shown(), "Untitled.pdf: blank | Untitled.PDF: blank");
}

TEST_F(ImageViewSecGroupsTest, OtherExtensionsAreRefused) {
    output.alerts.expect("Infomation", "Untitled.txt is not of a supported format.");
    pane.getGroupName("Untitled.txt");
    EXPECT_TRUE(pane.addPDFFileName().empty());
    EXPECT_FALSE(fs::exists(output.cache() / "Untitled.txt"));
}

TEST_F(ImageViewSecGroupsTest, ASlashIsNoPartOfAName) {
    output.alerts.expect("Infomation", "../out.pdf is not of a supported format.");
    pane.getGroupName("../out.pdf");
    EXPECT_TRUE(pane.addPDFFileName().empty());
    EXPECT_EQ(output.statusLine.m_messages.size(), 1U);
}

TEST_F(ImageViewSecGroupsTest, AGroupCanDoWithoutItsWorkingFile) {
    fs::remove_all(output.cache());
    tests::writeFile(output.cache(), "in the way");
    pane.getGroupName("a.pdf");
    EXPECT_EQ(output.shown(), "a.pdf: blank");
    EXPECT_EQ(output.statusLine.m_messages.size(), 1U);
    output.drag("a", 2);
    output.dropAt(1);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2");
}

TEST_F(ImageViewSecGroupsTest, PagesStandInDocumentOrderAndCarryTheirGroupsName) {
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 0);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 a3 | b.pdf: blank");
    EXPECT_EQ(pane.images()[0]->imagePath(), "a.pdf");
    EXPECT_EQ(pane.images()[3]->imagePath(), (output.cache() / "b.pdf").string());
    EXPECT_EQ(browser.groups()[1].range, (BrowserRange{3, 4}));
}

TEST_F(ImageViewSecGroupsTest, ARebuildCollapsesAllGroups) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 1);
    pane.clearAllData();
    EXPECT_EQ(output.shown(), "");
    EXPECT_EQ(pane.rangeStart(), 0);
    pane.loadData();
    EXPECT_EQ(output.shown(), "a.pdf: a1 | b.pdf: b1");
    EXPECT_EQ(browser.expansion(), "--");
    EXPECT_EQ(pane.rangeStart(), 2);
}

TEST_F(ImageViewSecGroupsTest, ASingleGroupIsOpenedWheneverTheMenusAreJudged) {
    output.addGroup("a.pdf", 2);
    pane.collapseAllGroups();
    output.select({0});
    EXPECT_EQ(browser.expansion(), "+");
}

TEST_F(ImageViewSecGroupsTest, ClearingEmptiesEverythingAndCountsAsSaved) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 0);
    pane.clearAllGroup();
    EXPECT_EQ(output.shown(), "");
    EXPECT_TRUE(pane.addPDFFileName().empty());
    EXPECT_TRUE(pane.PDFArray().empty());
    EXPECT_TRUE(pane.newIndex().empty());
    EXPECT_TRUE(pane.images().empty());
    EXPECT_EQ(pane.rangeStart(), 0);
    EXPECT_TRUE(pane.isSave());
    EXPECT_NE(browser.m_foreground, nullptr) << "the picture is back";
    output.addGroup("a.pdf", 1);
    EXPECT_EQ(output.shown(), "a.pdf: a1") << "its name is free again";
}

TEST_F(ImageViewSecGroupsTest, AnEmptyPaneOffersNothing) {
    for (const tests::FakeMenuItem* item :
         {&output.controls.clearMenu, &output.controls.iClearMenu, &output.controls.zoomIn,
          &output.controls.zoomOut, &output.controls.iZoomIn, &output.controls.iZoomOut,
          &output.controls.collapseAll, &output.controls.expandAll, &output.controls.iCollapseAll,
          &output.changePDFName, &output.iChangePDFName, &output.deletePdfPage, &output.rotateLeft,
          &output.rotateRight, &output.iRotateLeft, &output.iRotateRight,
          &output.controls.closePDFFile, &output.controls.iClosePDFFile}) {
        EXPECT_FALSE(item->isEnabled());
    }
    EXPECT_FALSE(output.btnSave.isEnabled());
    EXPECT_TRUE(output.saveMenu.isHidden());
}

TEST_F(ImageViewSecGroupsTest, OneEmptyGroupIsEnoughToClearZoomAndSave) {
    pane.getGroupName("a.pdf");
    for (const tests::FakeMenuItem* item :
         {&output.controls.clearMenu, &output.controls.iClearMenu, &output.controls.zoomIn,
          &output.controls.zoomOut, &output.controls.iZoomIn, &output.controls.iZoomOut,
          &output.controls.collapseAll, &output.controls.expandAll,
          &output.controls.iCollapseAll}) {
        EXPECT_TRUE(item->isEnabled());
    }
    EXPECT_TRUE(output.btnSave.isEnabled());
    EXPECT_FALSE(output.saveMenu.isHidden());
    EXPECT_FALSE(output.deletePdfPage.isEnabled());
}

TEST_F(ImageViewSecGroupsTest, ASelectionOffersWhatWorksOnPages) {
    output.addGroup("a.pdf", 2);
    const std::vector<const tests::FakeMenuItem*> items = {
        &output.changePDFName, &output.iChangePDFName,        &output.deletePdfPage,
        &output.rotateLeft,    &output.rotateRight,           &output.iRotateLeft,
        &output.iRotateRight,  &output.controls.closePDFFile, &output.controls.iClosePDFFile};
    output.select({1});
    for (const tests::FakeMenuItem* item : items) {
        EXPECT_TRUE(item->isEnabled());
    }
    output.select({});
    for (const tests::FakeMenuItem* item : items) {
        EXPECT_FALSE(item->isEnabled());
    }
}

TEST_F(ImageViewSecGroupsTest, ClosingTheOnlyGroupClearsThePane) {
    output.addGroup("a.pdf", 2);
    output.select({1});
    pane.closePDFFile();
    EXPECT_EQ(output.shown(), "");
    EXPECT_TRUE(pane.PDFArray().empty());
    EXPECT_TRUE(pane.isSave());
    EXPECT_NE(browser.m_foreground, nullptr);
}

TEST_F(ImageViewSecGroupsTest, ClosingRemovesTheGroupsOfAllSelectedPages) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 2);
    output.addGroup("c.pdf", 1);
    output.addGroup("d.pdf", 1);
    output.select({1, 2, 3, 5});
    pane.closePDFFile();
    EXPECT_EQ(output.shown(), "c.pdf: c1");
    EXPECT_EQ(pane.PDFArray().size(), 1U);
    EXPECT_EQ(pane.newIndex().size(), 4U) << "it is never shortened";
    EXPECT_FALSE(pane.isSave());
}

TEST_F(ImageViewSecGroupsTest, ClosingAnEmptyGroupLeavesItsDocumentInTheList) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 0);
    output.addGroup("c.pdf", 1);
    output.select({1});
    pane.closePDFFile();
    EXPECT_EQ(pane.addPDFFileName(), (Names{"a.pdf", "c.pdf"}));
    EXPECT_EQ(pane.PDFArray().size(), 3U);
    EXPECT_EQ(output.shown(), "a.pdf: a1 | c.pdf: blank");
}

TEST_F(ImageViewSecGroupsTest, ClosingTheLastEmptyGroupHarmsNoOther) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 0);
    output.select({1});
    pane.closePDFFile();
    EXPECT_EQ(output.shown(), "a.pdf: a1");
}

TEST_F(ImageViewSecGroupsTest, WithoutASelectionNothingIsClosed) {
    output.addGroup("a.pdf", 1);
    pane.closePDFFile();
    EXPECT_EQ(output.shown(), "a.pdf: a1");
}

} // namespace
} // namespace quillorn
