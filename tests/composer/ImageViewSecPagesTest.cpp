#include "tests/composer/OutputPane.h"

#include "tests/fakes/PDFContents.h"

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace quillorn {
namespace {

using Labels = std::vector<std::string>;

class ImageViewSecPagesTest : public testing::Test {
protected:
    [[nodiscard]] static tests::FakeDrag pageDrag(bool startedHere = false) {
        tests::FakePasteboard pasteboard;
        writePageDrag({}, {}, pasteboard);
        return tests::FakeDrag(pasteboard, startedHere);
    }

    tests::OutputPane output;
    ImageViewSec& pane = output.pane;
    tests::FakeImageBrowser& browser = output.controls.browser;
};

TEST_F(ImageViewSecPagesTest, OnlyPagesMayBeDroppedHere) {
    const tests::FakeDrag files(tests::FakePasteboard::ofFiles({"/a.pdf"}));
    output.addGroup("a.pdf", 1);
    EXPECT_EQ(pane.draggingEntered(files), DragOperation::none);
    EXPECT_EQ(pane.draggingUpdated(files), DragOperation::none);
    EXPECT_TRUE(pane.performDragOperation(files));
    EXPECT_EQ(output.shown(), "a.pdf: a1");
}

TEST_F(ImageViewSecPagesTest, OverAnEmptyPaneADragIsTakenFromItsSecondMoveOn) {
    EXPECT_EQ(pane.draggingEntered(pageDrag()), DragOperation::none);
    EXPECT_EQ(browser.m_expandRequests, std::vector<std::size_t>{static_cast<std::size_t>(-1)});
    EXPECT_EQ(pane.draggingUpdated(pageDrag()), DragOperation::copy);
}

TEST_F(ImageViewSecPagesTest, ADragOpensTheLastGroupFirst) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 1);
    pane.collapseAllGroups();
    EXPECT_EQ(pane.draggingEntered(pageDrag()), DragOperation::none);
    EXPECT_EQ(browser.expansion(), "-+");
    EXPECT_EQ(pane.draggingEntered(pageDrag()), DragOperation::copy);
}

TEST_F(ImageViewSecPagesTest, TheFirstDropMakesAnUntitledGroup) {
    output.drag("a", 3);
    output.dropAt(1);
    EXPECT_EQ(output.shown(), "Untitled.pdf: a1 a2 a3");
    EXPECT_EQ(browser.expansion(), "+");
    EXPECT_FALSE(pane.isSave());
}

TEST_F(ImageViewSecPagesTest, BeforeTheFirstItemNothingIsInserted) {
    output.drag("a", 2);
    output.dropAt(0);
    EXPECT_EQ(output.shown(), "Untitled.pdf: blank") << "the group is made all the same";
    output.addGroup("b.pdf", 1);
    output.dropAt(0);
    EXPECT_EQ(output.shown(), "Untitled.pdf: blank | b.pdf: b1");
}

TEST_F(ImageViewSecPagesTest, PagesLandBehindTheItemBeforeTheDrop) {
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 2);
    output.drag("x", 2);
    output.dropAt(1);
    EXPECT_EQ(output.shown(), "a.pdf: a1 x1 x2 a2 a3 | b.pdf: b1 b2");
    EXPECT_EQ(browser.expansion(), "+-") << "only the group that got them is open";
    EXPECT_EQ(browser.m_scrolledTo, 1U);
    output.dropAt(5);
    EXPECT_EQ(output.shown(), "a.pdf: a1 x1 x2 a2 a3 x1 x2 | b.pdf: b1 b2")
        << "in front of the second group is the end of the first";
    output.dropAt(8);
    EXPECT_EQ(output.shown(), "a.pdf: a1 x1 x2 a2 a3 x1 x2 | b.pdf: b1 x1 x2 b2");
    output.dropAt(11);
    EXPECT_EQ(output.shown(), "a.pdf: a1 x1 x2 a2 a3 x1 x2 | b.pdf: b1 x1 x2 b2 x1 x2");
}

TEST_F(ImageViewSecPagesTest, ADropFillsAnEmptyGroupInDragOrder) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 0);
    output.addGroup("c.pdf", 1);
    output.drag("x", 3);
    output.dropAt(3);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 | b.pdf: x1 x2 x3 | c.pdf: c1");
    EXPECT_EQ(browser.expansion(), "-+-");
}

TEST_F(ImageViewSecPagesTest, ADropBehindEmptyGroupsCountsTheirPlaceholders) {
    output.addGroup("a.pdf", 0);
    output.addGroup("b.pdf", 0);
    output.addGroup("c.pdf", 3);
    output.drag("x", 1);
    output.dropAt(4);
    EXPECT_EQ(output.shown(), "a.pdf: blank | b.pdf: blank | c.pdf: c1 c2 x1 c3");
}

TEST_F(ImageViewSecPagesTest, DroppedPagesAreCopiesThatKeepTheirLabels) {
    output.drag("a", 1);
    const auto source = output.dragPagesArray.items()->front()->page();
    output.dropAt(1);
    output.dropAt(1);
    EXPECT_EQ(output.labels(0), (Labels{"a1", "a1"}));
    EXPECT_NE(pane.images()[0]->page(), source);
    EXPECT_EQ(source->document(), output.sources[0].get()) << "the source pane stays whole";
}

TEST_F(ImageViewSecPagesTest, WithoutAnEarlierDragADropInsertsNothing) {
    pane.getGroupName("a.pdf");
    browser.dropAt(1);
    EXPECT_TRUE(pane.performDragOperation(pageDrag()));
    EXPECT_EQ(output.shown(), "a.pdf: blank");
}

TEST_F(ImageViewSecPagesTest, ADropThatBeganHereBringsNothingInAgain) {
    output.addGroup("a.pdf", 2);
    browser.dropAt(2);
    EXPECT_TRUE(pane.performDragOperation(pageDrag(true)));
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2");
}

TEST_F(ImageViewSecPagesTest, MovesWithinTheFirstGroup) {
    struct Case {
        IndexSet indexes;
        std::size_t to;
        std::string shown;
    };
    for (const Case& example : std::vector<Case>{
             {{0, 1}, 4, "a.pdf: a3 a4 a1 a2 a5"},
             {{0, 1}, 5, "a.pdf: a3 a4 a5 a1 a2"},
             {{3, 4}, 0, "a.pdf: a4 a5 a1 a2 a3"},
             {{3, 4}, 2, "a.pdf: a1 a2 a4 a5 a3"},
             {{4}, 1, "a.pdf: a1 a5 a2 a3 a4"},
             {{0}, 2, "a.pdf: a2 a1 a3 a4 a5"},
             {{2, 4}, 0, "a.pdf: a3 a5 a1 a2 a4"},
             {{0, 2}, 5, "a.pdf: a2 a4 a5 a1 a3"},
         }) {
        tests::OutputPane fresh;
        fresh.addGroup("a.pdf", 5);
        fresh.move(example.indexes, example.to);
        EXPECT_EQ(fresh.shown(), example.shown);
    }
}

TEST_F(ImageViewSecPagesTest, AMoveIntoItsOwnSpanChangesNothing) {
    output.addGroup("a.pdf", 5);
    const int reloads = browser.m_reloads;
    for (const std::size_t to : {1U, 2U, 3U}) {
        output.move({1, 3}, to);
    }
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 a3 a4 a5");
    EXPECT_EQ(browser.m_reloads, reloads) << "nothing is rebuilt";
    output.move({}, 2);
    EXPECT_EQ(browser.m_reloads, reloads);
}

TEST_F(ImageViewSecPagesTest, MovesWithinALaterGroup) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 4);
    output.move({5}, 3);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 | b.pdf: b1 b4 b2 b3");
    EXPECT_EQ(browser.expansion(), "-+");
    EXPECT_EQ(browser.m_scrolledTo, 3U);
    output.move({2}, 6);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 | b.pdf: b4 b2 b3 b1");
}

TEST_F(ImageViewSecPagesTest, BehindAnEmptyGroupMovedPagesLandOnePageLater) {
    output.addGroup("a.pdf", 0);
    output.addGroup("b.pdf", 4);
    output.move({4}, 2);
    EXPECT_EQ(output.shown(), "a.pdf: blank | b.pdf: b1 b2 b4 b3") << "not before b2";
}

TEST_F(ImageViewSecPagesTest, APlaceholderAmongMovedPagesStaysBehind) {
    output.addGroup("a.pdf", 0);
    output.addGroup("b.pdf", 2);
    output.addGroup("c.pdf", 1);
    output.move({0, 1, 2}, 4);
    EXPECT_EQ(output.shown(), "a.pdf: blank | b.pdf: b1 b2 | c.pdf: c1 b1 b2");
    output.move({0, 1}, 3); // within their group
    EXPECT_EQ(output.shown(), "a.pdf: blank | b.pdf: b2 b1 | c.pdf: c1 b1 b2");
}

TEST_F(ImageViewSecPagesTest, APlaceholderCannotBeMoved) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 0);
    const int reloads = browser.m_reloads;
    output.move({2}, 0);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 | b.pdf: blank");
    EXPECT_EQ(browser.m_reloads, reloads);
}

TEST_F(ImageViewSecPagesTest, AMoveIntoAnotherGroupCopies) {
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 2);
    output.addGroup("c.pdf", 1);
    output.move({0, 2}, 4);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 a3 | b.pdf: b1 a1 a3 b2 | c.pdf: c1");
    EXPECT_EQ(browser.expansion(), "++-") << "both groups are open";
    EXPECT_NE(pane.PDFArray()[1]->pageAtIndex(1), pane.PDFArray()[0]->pageAtIndex(0));
}

TEST_F(ImageViewSecPagesTest, AMoveIntoAnEmptyGroupFillsIt) {
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 0);
    output.move({0, 1}, 4);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 a3 | b.pdf: a1 a2");
}

TEST_F(ImageViewSecPagesTest, DestinationOneLooksAtTheItemThatIsThere) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 3);
    output.move({3}, 1);
    EXPECT_EQ(output.shown(), "a.pdf: a1 | b.pdf: b3 b1 b2") << "a move, and no copy into a.pdf";
}

TEST_F(ImageViewSecPagesTest, TheOnlyPageOfAllCanBeDroppedBehindItself) {
    output.addGroup("a.pdf", 1);
    output.move({0}, 1);
    EXPECT_EQ(output.shown(), "a.pdf: a1");
}

TEST_F(ImageViewSecPagesTest, AMoveOfPagesOfTwoGroupsLosesNone) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 3);
    output.move({0, 2}, 5);
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 | b.pdf: b2 a1 b1 b3");
}

TEST_F(ImageViewSecPagesTest, TheDeleteKeyRemovesPagesOfOneGroup) {
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 2);
    pane.imageBrowserRemoveItemsAtIndexes(browser, {0, 2});
    EXPECT_EQ(output.shown(), "a.pdf: a2 | b.pdf: b1 b2");
    EXPECT_EQ(browser.expansion(), "+-");
}

TEST_F(ImageViewSecPagesTest, DeletingAcrossGroupsOrAPlaceholderDoesNothing) {
    output.addGroup("a.pdf", 2);
    output.addGroup("b.pdf", 2);
    output.addGroup("c.pdf", 0);
    const int reloads = browser.m_reloads;
    pane.imageBrowserRemoveItemsAtIndexes(browser, {1, 2});
    pane.imageBrowserRemoveItemsAtIndexes(browser, {4});
    pane.imageBrowserRemoveItemsAtIndexes(browser, {});
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 | b.pdf: b1 b2 | c.pdf: blank");
    EXPECT_EQ(browser.m_reloads, reloads);
}

TEST_F(ImageViewSecPagesTest, TheDeleteCommandRemovesTheSelectedPages) {
    output.addGroup("a.pdf", 3);
    output.addGroup("b.pdf", 3);
    output.select({4});
    pane.deletePdfPages();
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 a3 | b.pdf: b1 b3");
    EXPECT_EQ(browser.expansion(), "-+");
    EXPECT_TRUE(browser.selectionIndexes().empty()) << "the selection is not restored";
    EXPECT_EQ(browser.m_scrolledTo, 4U) << "the place where it was stays in sight";
}

TEST_F(ImageViewSecPagesTest, DeletingEveryPageLeavesThePlaceholder) {
    output.addGroup("a.pdf", 2);
    output.select({0, 1});
    pane.deletePdfPages();
    EXPECT_EQ(output.shown(), "a.pdf: blank");
    EXPECT_EQ(pane.PDFArray()[0]->pageCount(), 0U);
    output.drag("x", 1);
    output.dropAt(1);
    EXPECT_EQ(output.shown(), "a.pdf: x1");
}

TEST_F(ImageViewSecPagesTest, DraggingOutLeavesTheLatestSourceDragAlone) {
    output.addGroup("a.pdf", 3);
    const auto before = output.dragPagesArray.items();
    tests::FakePasteboard pasteboard;
    EXPECT_EQ(pane.imageBrowserWriteItemsAtIndexes(browser, {0, 2}, pasteboard), 2U);
    EXPECT_EQ(pasteboard.types().front(), pasteboard_type::pages);
    EXPECT_EQ(pasteboard.propertyListForType(pasteboard_type::filenames), (Labels{"pdf", "pdf"}));
    EXPECT_EQ(output.dragPagesArray.items(), before);
}

TEST_F(ImageViewSecPagesTest, TurningReplacesPagesByTurnedCopies) {
    output.addGroup("a.pdf", 4);
    const auto before = pane.PDFArray()[0]->pageAtIndex(1);
    output.select({1, 3});
    pane.rotateClockwise();
    EXPECT_EQ(output.shown(), "a.pdf: a1 a2 a3 a4") << "order and labels stay";
    EXPECT_EQ(browser.selectionIndexes(), (IndexSet{1, 3}));
    EXPECT_EQ(browser.expansion(), "+");
    const PDFDocument& document = *pane.PDFArray()[0];
    EXPECT_NE(document.pageAtIndex(1), before);
    EXPECT_EQ(before->rotation(), 0);
    for (const std::size_t i : {0U, 1U, 2U, 3U}) {
        EXPECT_EQ(document.pageAtIndex(i)->rotation(), i % 2 == 1 ? 90 : 0);
    }
}

TEST_F(ImageViewSecPagesTest, FourTurnsAddAFullTurn) {
    output.addGroup("a.pdf", 1);
    output.select({0});
    for (int i = 0; i < 4; ++i) {
        pane.rotateClockwise();
    }
    EXPECT_EQ(pane.PDFArray()[0]->pageAtIndex(0)->rotation(), 360);
    pane.rotateCounterclockwise();
    EXPECT_EQ(pane.PDFArray()[0]->pageAtIndex(0)->rotation(), 270);
}

TEST_F(ImageViewSecPagesTest, ThePagesBeforeTurningAreKeptInTheScratchFile) {
    output.addGroup("a.pdf", 3);
    output.select({0, 2});
    pane.rotateCounterclockwise();
    const std::filesystem::path scratch = output.cache() / "rotate.pdf";
    EXPECT_EQ(tests::pageTexts(scratch), (Labels{"Page 1 of a", "Page 3 of a"}));
    EXPECT_EQ(tests::pageRotations(scratch), (std::vector<int>{0, 0}));
    output.select({1});
    pane.rotateCounterclockwise();
    EXPECT_EQ(tests::pageTexts(scratch), Labels{"Page 2 of a"});
}

TEST_F(ImageViewSecPagesTest, PagesTurnWithoutAScratchFileToo) {
    output.addGroup("a.pdf", 1);
    std::filesystem::remove_all(output.cache());
    tests::writeFile(output.cache(), "no folder, and none can be made");
    output.select({0});
    pane.rotateClockwise();
    EXPECT_EQ(pane.PDFArray()[0]->pageAtIndex(0)->rotation(), 90);
    EXPECT_EQ(output.statusLine.m_messages.size(), 1U);
}

TEST_F(ImageViewSecPagesTest, BehindAnEmptyGroupTheSelectionLandsOneItemEarly) {
    output.addGroup("a.pdf", 0);
    output.addGroup("b.pdf", 2);
    output.select({2});
    pane.rotateClockwise();
    EXPECT_EQ(pane.PDFArray()[1]->pageAtIndex(1)->rotation(), 90);
    EXPECT_EQ(browser.selectionIndexes(), IndexSet{1});
}

TEST_F(ImageViewSecPagesTest, TurningAcrossGroupsOrAPlaceholderDoesNothing) {
    output.addGroup("a.pdf", 1);
    output.addGroup("b.pdf", 1);
    output.addGroup("c.pdf", 0);
    const int reloads = browser.m_reloads;
    for (const IndexSet& selection : {IndexSet{0, 1}, IndexSet{2}, IndexSet{}}) {
        output.select(selection);
        pane.rotateClockwise();
        pane.rotateCounterclockwise();
    }
    EXPECT_EQ(browser.m_reloads, reloads);
    EXPECT_FALSE(std::filesystem::exists(output.cache() / "rotate.pdf"));
}

} // namespace
} // namespace quillorn
