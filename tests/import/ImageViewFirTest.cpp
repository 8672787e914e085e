#include "tests/import/SourcePane.h"

#include "panes/BackgroundLayers.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

using Names = std::vector<std::string>;

class ImageViewFirTest : public testing::Test {
protected:
    tests::SourcePane source;
    ImageViewFir& pane = source.pane;
    tests::FakeImageBrowser& browser = source.controls.browser;
};

TEST_F(ImageViewFirTest, AtTheStartThePaneIsEmptyAndShowsItsPicture) {
    EXPECT_EQ(browser.m_animates, true);
    EXPECT_EQ(browser.m_reorders, true);
    EXPECT_EQ(browser.m_quickLook, true);
    EXPECT_EQ(browser.m_destination, &pane);
    EXPECT_NE(dynamic_cast<ImageBrowserBackgroundLayerFir*>(browser.m_foreground.get()), nullptr);
    EXPECT_FALSE(source.controls.clearMenu.isEnabled());
    EXPECT_TRUE(source.mainWindow.m_toolbars.empty());
}

TEST_F(ImageViewFirTest, OneFileIsShownOpenAndSeveralAreShownClosed) {
    source.open({source.pdf("a.pdf", 5)});
    EXPECT_EQ(browser.groups().at(0).range, (BrowserRange{0, 5}));
    EXPECT_EQ(browser.expansion(), "+");
    EXPECT_EQ(browser.m_animates, false);
    EXPECT_EQ(browser.m_foreground, nullptr) << "the picture is gone";
    EXPECT_NE(browser.m_background, nullptr);
    source.open({source.pdf("b.pdf", 3)});
    EXPECT_EQ(browser.groups().at(1).range, (BrowserRange{5, 8}));
    EXPECT_EQ(browser.expansion(), "--");
    EXPECT_EQ(pane.pdfFilesName(),
              (Names{(source.home / "a.pdf").string(), (source.home / "b.pdf").string()}));
}

TEST_F(ImageViewFirTest, TheFirstFileLaysOutTheWindowOnce) {
    source.open({source.pdf("a.pdf", 1)});
    EXPECT_EQ(source.mainWindow.m_frame, (WindowFrame{315, 45, 810, 810}));
    EXPECT_TRUE(source.mainWindow.m_animated);
    EXPECT_EQ(source.splitView.m_position, std::pair(405.0, std::size_t{0}));
    EXPECT_EQ(source.splitView.m_style, DividerStyle::paneSplitter);
    EXPECT_EQ(source.splitView.m_frame, (WindowFrame{-2, 17, 813, 774}));
    EXPECT_EQ(source.mainWindow.m_toolbars.size(), 1U);
    EXPECT_TRUE(source.mainWindow.m_allowsFullScreen);
    source.mainWindow.m_frame = {1, 2, 3, 4};
    pane.clearAllGroup();
    source.open({source.pdf("b.pdf", 1)});
    EXPECT_EQ(source.mainWindow.m_frame, (WindowFrame{1, 2, 3, 4})) << "the user's size stays";
    EXPECT_EQ(source.mainWindow.m_toolbars.size(), 1U);
    EXPECT_EQ(browser.m_foreground, nullptr) << "but the picture goes each time";
}

TEST_F(ImageViewFirTest, TheToolbarHasTheThreeButtonsOfTheWindow) {
    pane.setupToolbar();
    Toolbar expected;
    expected.identifier = "Toolbar Identifier";
    expected.allowsUserCustomization = true;
    expected.autosavesConfiguration = true;
    EXPECT_EQ(source.mainWindow.m_toolbars, std::vector<Toolbar>{expected});
    EXPECT_EQ(source.mainWindow.m_toolbarDelegate, &pane);
    const Names identifiers = {"Open PDF Ident",      "NSToolbarFlexibleSpaceItem",
                               "Add New Group Ident", "NSToolbarSeparatorItem",
                               "Save PDF Ident",      "NSToolbarSpaceItem"};
    EXPECT_EQ(pane.toolbarDefaultItemIdentifiers(), identifiers);
    EXPECT_EQ(pane.toolbarAllowedItemIdentifiers(), identifiers);
    const auto save = pane.toolbarItemForItemIdentifier("Save PDF Ident");
    ASSERT_TRUE(save.has_value());
    EXPECT_EQ(save->label, "Save");
    EXPECT_EQ(save->paletteLabel, "Save");
    EXPECT_EQ(save->toolTip, "Save");
    EXPECT_EQ(save->view, &source.btnSave);
    const auto group = pane.toolbarItemForItemIdentifier("Add New Group Ident");
    ASSERT_TRUE(group.has_value());
    EXPECT_EQ(group->label, "Create A New PDF");
    EXPECT_EQ(group->view, &source.btnAddNewGroup);
    const auto open = pane.toolbarItemForItemIdentifier("Open PDF Ident");
    ASSERT_TRUE(open.has_value());
    EXPECT_EQ(open->toolTip, "Add Files");
    EXPECT_EQ(open->view, &source.btnOpenPDFFiles);
    EXPECT_FALSE(pane.toolbarItemForItemIdentifier("NSToolbarSpaceItem").has_value());
}

TEST_F(ImageViewFirTest, PagesCanNeitherBeMovedNorDeleted) {
    source.open({source.pdf("a.pdf", 3)});
    const int reloads = browser.m_reloads;
    EXPECT_TRUE(pane.imageBrowserMoveItemsAtIndexes(browser, {0}, 3));
    pane.imageBrowserRemoveItemsAtIndexes(browser, {0, 1});
    EXPECT_EQ(source.shown(), "a.pdf: 1-a 2-a 3-a");
    EXPECT_EQ(browser.m_reloads, reloads);
}

TEST_F(ImageViewFirTest, ADragRecordsItsPagesInTheOrderOfThePane) {
    source.open({source.pdf("a.pdf", 6)});
    EXPECT_EQ(source.dragPagesArray.items(), nullptr);
    tests::FakePasteboard pasteboard;
    EXPECT_EQ(pane.imageBrowserWriteItemsAtIndexes(browser, {0, 2, 5}, pasteboard), 3U);
    EXPECT_EQ(pasteboard.propertyListForType(pasteboard_type::filenames),
              (Names{"pdf", "pdf", "pdf"}));
    EXPECT_EQ(*source.dragPagesArray.items(),
              (PageItems{pane.images()[0], pane.images()[2], pane.images()[5]}));
}

TEST_F(ImageViewFirTest, MenusFollowContentAndSelection) {
    const std::vector<const tests::FakeMenuItem*> content = {
        &source.controls.clearMenu,   &source.controls.zoomIn,    &source.controls.zoomOut,
        &source.controls.collapseAll, &source.controls.expandAll, &source.controls.iClearMenu,
        &source.controls.iZoomIn,     &source.controls.iZoomOut,  &source.controls.iCollapseAll};
    const std::vector<const tests::FakeMenuItem*> selection = {&source.controls.closePDFFile,
                                                               &source.controls.iClosePDFFile};
    const auto expectAll = [](const std::vector<const tests::FakeMenuItem*>& items, bool enabled) {
        for (const tests::FakeMenuItem* item : items) {
            EXPECT_EQ(item->isEnabled(), enabled);
        }
    };
    expectAll(content, false);
    expectAll(selection, false);
    source.open({source.pdf("a.pdf", 2)});
    expectAll(content, true);
    expectAll(selection, false);
    browser.select({1});
    expectAll(selection, true);
    pane.clearAllGroup();
    expectAll(content, false);
    expectAll(selection, false);
}

TEST_F(ImageViewFirTest, ClosingRemovesTheFileOfTheSelectedPage) {
    source.open({source.pdf("a.pdf", 2), source.pdf("b.pdf", 1), source.pdf("c.pdf", 1)});
    const BrowserColor before = browser.groups()[0].backgroundColor;
    const auto page = pane.images()[0]->page();
    browser.select({2});
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "a.pdf: 1-a 2-a | c.pdf: 1-c");
    EXPECT_EQ(pane.pdfFilesName(),
              (Names{(source.home / "a.pdf").string(), (source.home / "c.pdf").string()}));
    EXPECT_EQ(browser.expansion(), "--");
    EXPECT_NE(browser.groups()[0].backgroundColor, before);
    EXPECT_NE(pane.images()[0]->page(), page) << "the files are opened anew";
    EXPECT_EQ(pane.rangeStart(), 3);
    EXPECT_TRUE(browser.selectionIndexes().empty());
}

TEST_F(ImageViewFirTest, ClosingTakesAllFilesOfTheSelection) {
    source.open({source.pdf("a.pdf", 2), source.pdf("b.pdf", 2), source.pdf("c.pdf", 2),
                 source.pdf("d.pdf", 1)});
    browser.select({0, 2, 3, 6});
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "c.pdf: 1-c 2-c");
    EXPECT_EQ(browser.expansion(), "+");
}

TEST_F(ImageViewFirTest, ClosingTheOnlyFileShowsThePictureAgain) {
    source.open({source.pdf("a.pdf", 2)});
    browser.select({0});
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "");
    EXPECT_TRUE(pane.pdfFilesName().empty());
    EXPECT_NE(browser.m_foreground, nullptr);
    source.open({(source.home / "a.pdf").string()});
    EXPECT_EQ(source.shown(), "a.pdf: 1-a 2-a") << "it is no duplicate any more";
}

TEST_F(ImageViewFirTest, WithoutASelectionNothingIsClosed) {
    source.open({source.pdf("a.pdf", 2)});
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "a.pdf: 1-a 2-a");
}

TEST_F(ImageViewFirTest, AFileThatIsGoneByThenBecomesAnEmptyGroup) {
    source.open({source.pdf("a.pdf", 2), source.pdf("b.pdf", 1), source.pdf("c.pdf", 1)});
    std::filesystem::remove(source.home / "a.pdf");
    browser.select({2});
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "a.pdf: | c.pdf: 1-c");
    EXPECT_EQ(source.statusLine.m_messages.size(), 1U);
    browser.select({0});
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "") << "no page is left, and so the pane is cleared";
}

TEST_F(ImageViewFirTest, AnUnlockedFileStaysUnlockedWhenAnotherIsClosed) {
    source.expectQuestion("private.pdf", AlertAnswer::defaultButton);
    source.typePassword("secret");
    source.open({source.encrypted("private.pdf", "secret"), source.pdf("b.pdf", 1)});
    browser.select({2});
    pane.closePDFFile();
    EXPECT_EQ(source.shown(), "private.pdf: 1-private 2-private");
}

TEST_F(ImageViewFirTest, PagesDraggedBeforeTheirFileWasClosedCanStillBeUsed) {
    source.open({source.pdf("a.pdf", 2)});
    tests::FakePasteboard pasteboard;
    (void)pane.imageBrowserWriteItemsAtIndexes(browser, {1}, pasteboard);
    browser.select({0});
    pane.closePDFFile();
    const auto page = source.dragPagesArray.items()->front()->page();
    EXPECT_EQ(page->label(), "2-a");
    EXPECT_TRUE(page->geometry().has_value());
    EXPECT_EQ(page->document(), nullptr);
}

TEST_F(ImageViewFirTest, ClearingEmptiesThePaneAndLetsFilesInAgain) {
    source.open({source.pdf("a.pdf", 2), source.pdf("b.pdf", 1)});
    pane.clearAllGroup();
    EXPECT_EQ(source.shown(), "");
    EXPECT_TRUE(pane.images().empty());
    EXPECT_TRUE(pane.pdfFilesName().empty());
    EXPECT_EQ(pane.rangeStart(), 0);
    EXPECT_NE(browser.m_foreground, nullptr);
    source.open({(source.home / "b.pdf").string()});
    EXPECT_EQ(source.shown(), "b.pdf: 1-b");
}

TEST_F(ImageViewFirTest, ClearingLeavesWhatIsPending) {
    ImportRun run;
    pane.addAnImageWithPath(source.pdf("a.pdf", 2), run);
    pane.clearAllGroup();
    EXPECT_EQ(pane.importedImages().size(), 2U);
    EXPECT_EQ(pane.pdfFileNumber(), 1);
}

} // namespace
} // namespace quillorn
