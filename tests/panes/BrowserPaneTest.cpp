#include "panes/BrowserPane.h"

#include "panes/BackgroundLayers.h"
#include "tests/fakes/FakePaneControls.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <memory>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace quillorn {
namespace {

/// A pane without rules of its own.
class PlainPane final : public BrowserPane {
public:
    explicit PlainPane(const BrowserPaneOutlets& outlets) : BrowserPane(outlets) {
        connectBrowser(true);
    }
    void updateDatasource() override {
        groupImages();
        showImported();
        browser().reloadData();
    }
    void judgeClearMenu() override { ++m_judged; }
    void clearAllGroup() override { clearShown(); }
    bool imageBrowserMoveItemsAtIndexes(ImageBrowser& /*browser*/, const IndexSet& /*indexes*/,
                                        std::size_t /*toIndex*/) override {
        return true;
    }
    void imageBrowserRemoveItemsAtIndexes(ImageBrowser& /*browser*/,
                                          const IndexSet& /*indexes*/) override {}
    std::size_t imageBrowserWriteItemsAtIndexes(ImageBrowser& /*browser*/, const IndexSet& indexes,
                                                Pasteboard& pasteboard) override {
        return writePageDrag(images(), indexes, pasteboard);
    }
    DragOperation draggingEntered(const DraggingInfo& /*info*/) override {
        return enterLastGroup();
    }
    DragOperation draggingUpdated(const DraggingInfo& /*info*/) override {
        return DragOperation::none;
    }
    bool performDragOperation(const DraggingInfo& /*info*/) override { return false; }

    void addPages(const std::string& file, int count) {
        for (int i = 0; i < count; ++i) {
            auto page = std::make_shared<PDFPage>();
            page->setLabel(file + std::to_string(i + 1));
            appendImported(std::make_shared<ImageItemFir>(file, page));
        }
    }
    void addFile(const std::string& file, int count) {
        addPages(file, count);
        appendTitle(file);
        updateDatasource();
    }
    using BrowserPane::appendTitle;

    int m_judged = 0;

protected:
    std::shared_ptr<PictureLayer> newPictureLayer() const override {
        return std::make_shared<ImageBrowserBackgroundLayerFir>();
    }
};

class BrowserPaneTest : public testing::Test {
protected:
    tests::FakePaneControls controls;
    PlainPane pane{controls.outlets()};
};

TEST_F(BrowserPaneTest, AnEmptyPaneHasNoItemsAndNoGroups) {
    EXPECT_EQ(pane.numberOfItemsInImageBrowser(controls.browser), 0U);
    EXPECT_EQ(pane.numberOfGroupsInImageBrowser(controls.browser), 0U);
    EXPECT_EQ(pane.groupingStyle(), ImageBrowserGroupStyle::disclosure);
}

TEST_F(BrowserPaneTest, ThePaneServesItsBrowserInEveryRole) {
    EXPECT_EQ(controls.browser.m_dataSource, &pane);
    EXPECT_EQ(controls.browser.m_delegate, &pane);
    EXPECT_EQ(controls.browser.m_destination, &pane);
    EXPECT_EQ(controls.browser.m_animates, true);
    EXPECT_EQ(controls.browser.m_reorders, true);
}

TEST_F(BrowserPaneTest, EachFileBecomesOneGroupBehindTheOthers) {
    pane.addFile("a.pdf", 5);
    pane.addFile("b.pdf", 3);
    ASSERT_EQ(pane.groupArray().size(), 2U);
    EXPECT_EQ(pane.groupArray()[0].range, (BrowserRange{0, 5}));
    EXPECT_EQ(pane.groupArray()[1].range, (BrowserRange{5, 8}));
    EXPECT_EQ(pane.groupArray()[1].title, "b.pdf");
    EXPECT_EQ(pane.groupArray()[1].style, ImageBrowserGroupStyle::disclosure);
    EXPECT_EQ(pane.rangeStart(), 8);
    EXPECT_EQ(pane.images().size(), 8U);
    EXPECT_TRUE(pane.importedImages().empty());
    EXPECT_TRUE(pane.pdfFileName().empty());
    EXPECT_EQ(pane.pdfFileNumber(), 0);
    EXPECT_EQ(controls.browser.titlesOfGroup(1),
              (std::vector<std::string>{"b.pdf1", "b.pdf2", "b.pdf3"}));
}

TEST_F(BrowserPaneTest, TwoTitlesInOneCallEachGetAllPendingPages) {
    pane.addPages("a", 2);
    pane.addPages("b", 1);
    pane.appendTitle("a");
    pane.appendTitle("b");
    EXPECT_EQ(pane.pdfFileNumber(), 2);
    pane.groupImages();
    ASSERT_EQ(pane.groupArray().size(), 2U);
    EXPECT_EQ(pane.groupArray()[0].range, (BrowserRange{0, 3}));
    EXPECT_EQ(pane.groupArray()[1].range, (BrowserRange{3, 6}));
    EXPECT_EQ(pane.rangeStart(), 6);
}

TEST_F(BrowserPaneTest, AFileWithoutPagesIsAnEmptyGroup) {
    pane.addFile("none.pdf", 0);
    EXPECT_EQ(pane.groupArray().at(0).range, (BrowserRange{0, 0}));
}

TEST_F(BrowserPaneTest, GroupColoursAreRandomAndHardlyMoreThanOne) {
    std::set<float> reds;
    for (int i = 0; i < 50; ++i) {
        pane.addFile("a", 1);
        const BrowserColor color = pane.groupArray().back().backgroundColor;
        for (const float component : {color.red, color.green, color.blue}) {
            EXPECT_GE(component, 0.0F);
            EXPECT_LE(component, 1.0738F);
        }
        reds.insert(color.red);
    }
    EXPECT_GT(reds.size(), 40U);
}

TEST_F(BrowserPaneTest, ColoursAreTheDrawsInReverse) {
    std::srand(7);
    const int r1 = std::rand();
    const int r2 = std::rand();
    const int r3 = std::rand();
    std::srand(7);
    pane.appendTitle("a");
    pane.groupImages();
    const BrowserColor color = pane.groupArray().at(0).backgroundColor;
    EXPECT_EQ(color.red, static_cast<float>(r3 * 5e-10));
    EXPECT_EQ(color.green, static_cast<float>(r2 * 5e-10));
    EXPECT_EQ(color.blue, static_cast<float>(r1 * 5e-10));
}

TEST_F(BrowserPaneTest, AnIndexBeyondTheListsIsARangeError) {
    pane.addFile("a", 1);
    EXPECT_THROW((void)pane.imageBrowserItemAtIndex(controls.browser, 1), std::out_of_range);
    EXPECT_THROW((void)pane.imageBrowserGroupAtIndex(controls.browser, 1), std::out_of_range);
}

TEST_F(BrowserPaneTest, AnItemIsShownWithItsPageItsLabelAndItsIdentifier) {
    pane.addFile("a", 1);
    const ImageBrowserItem item = pane.imageBrowserItemAtIndex(controls.browser, 0);
    EXPECT_EQ(item.title, "a1");
    EXPECT_EQ(item.uid, pane.images()[0]->imageUID());
    EXPECT_EQ(item.page, pane.images()[0]->page());
}

TEST_F(BrowserPaneTest, ASelectionJudgesTheMenus) {
    pane.addFile("a", 1);
    const int before = pane.m_judged;
    controls.browser.select({0});
    EXPECT_EQ(pane.m_judged, before + 1);
}

TEST_F(BrowserPaneTest, ClicksOnCellsAndBackgroundChangeNothing) {
    pane.addFile("a", 1);
    const int before = pane.m_judged;
    pane.imageBrowserCellWasDoubleClickedAtIndex(controls.browser, 0);
    pane.imageBrowserBackgroundWasRightClicked(controls.browser);
    pane.imageBrowserCellWasRightClickedAtIndex(controls.browser, 0);
    EXPECT_EQ(pane.m_judged, before);
    EXPECT_EQ(controls.browser.expansion(), "+");
}

TEST_F(BrowserPaneTest, TheSliderZoomsTheBrowser) {
    controls.slider.m_value = 0.75F;
    pane.zoomSliderDidChange();
    EXPECT_EQ(controls.browser.zoomValue(), 0.75F);
    EXPECT_EQ(controls.browser.m_displays, 1);
}

TEST_F(BrowserPaneTest, ZoomingInMovesSliderAndBrowserByATenth) {
    controls.slider.m_value = 0.5F;
    controls.zoomOut.setEnabled(false);
    pane.zoomIn();
    EXPECT_EQ(controls.slider.m_value, static_cast<float>(static_cast<double>(0.5F) + 0.1));
    EXPECT_EQ(controls.browser.zoomValue(), controls.slider.m_value);
    EXPECT_TRUE(controls.zoomOut.isEnabled());
    EXPECT_TRUE(controls.zoomIn.isEnabled());
    EXPECT_EQ(controls.browser.m_displays, 1);
}

TEST_F(BrowserPaneTest, AStepMayPassTheBoundAndTheNextClickGreysTheEntry) {
    controls.slider.m_value = 0.95F;
    pane.zoomIn();
    EXPECT_GT(controls.slider.m_value, 1.04F) << "the step is not clamped";
    EXPECT_TRUE(controls.zoomIn.isEnabled()) << "the step itself greys nothing";
    pane.zoomIn();
    EXPECT_FALSE(controls.zoomIn.isEnabled());
    EXPECT_LT(controls.slider.m_value, 1.06F) << "there is no further step";
    pane.zoomOut();
    EXPECT_TRUE(controls.zoomIn.isEnabled());
}

TEST_F(BrowserPaneTest, AtTheLeastValueZoomingOutGreysItsEntry) {
    controls.slider.m_value = 0.05F;
    pane.zoomOut();
    EXPECT_LT(controls.slider.m_value, 0.0F);
    EXPECT_TRUE(controls.zoomOut.isEnabled());
    pane.zoomOut();
    EXPECT_FALSE(controls.zoomOut.isEnabled());
    EXPECT_EQ(controls.browser.m_displays, 2);
    pane.zoomIn();
    EXPECT_TRUE(controls.zoomOut.isEnabled());
}

TEST_F(BrowserPaneTest, TheToggleFollowsTheFirstGroup) {
    pane.addFile("a", 1);
    pane.addFile("b", 1);
    pane.addFile("c", 1);
    pane.collapseAllGroups();
    EXPECT_EQ(controls.browser.expansion(), "---");
    controls.browser.expandGroupAtIndex(0);
    pane.exAcoAllGroups();
    EXPECT_EQ(controls.browser.expansion(), "---") << "the first was open";
    controls.browser.expandGroupAtIndex(2);
    pane.exAcoAllGroups();
    EXPECT_EQ(controls.browser.expansion(), "+++") << "the first was closed";
}

TEST_F(BrowserPaneTest, WithoutGroupsTheToggleDoesNothing) {
    EXPECT_TRUE(pane.isExpandedOfGroup());
    pane.exAcoAllGroups();
    EXPECT_TRUE(controls.browser.m_expandRequests.empty());
}

TEST_F(BrowserPaneTest, ADragOpensTheLastGroupBeforeItIsAnswered) {
    const tests::FakeDrag drag{tests::FakePasteboard()};
    pane.addFile("a", 1);
    pane.addFile("b", 1);
    pane.collapseAllGroups();
    EXPECT_EQ(pane.draggingEntered(drag), DragOperation::none);
    EXPECT_EQ(controls.browser.expansion(), "-+");
    EXPECT_EQ(pane.draggingEntered(drag), DragOperation::copy);
}

TEST_F(BrowserPaneTest, OverAnEmptyPaneADragAsksForAGroupThatIsNotThere) {
    EXPECT_EQ(pane.draggingEntered(tests::FakeDrag{tests::FakePasteboard()}), DragOperation::none);
    EXPECT_EQ(controls.browser.m_expandRequests,
              (std::vector<std::size_t>{static_cast<std::size_t>(-1)}));
}

TEST_F(BrowserPaneTest, TheBackgroundStaysWhenThePictureGoes) {
    pane.setBackColor();
    ASSERT_NE(controls.browser.m_background, nullptr);
    const auto* const picture =
        dynamic_cast<const ImageBrowserBackgroundLayerFir*>(controls.browser.m_foreground.get());
    ASSERT_NE(picture, nullptr) << "the picture of the pane's own kind";
    EXPECT_EQ(picture->owner(), &controls.browser);
    pane.removeBackColor();
    EXPECT_EQ(controls.browser.m_foreground, nullptr);
    EXPECT_NE(controls.browser.m_background, nullptr);
}

} // namespace
} // namespace quillorn
