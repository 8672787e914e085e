#include "tests/platform/browser/BrowserTesting.h"

#include <QContextMenuEvent>
#include <QFocusEvent>
#include <QScrollBar>
#include <QSignalSpy>

namespace quillorn {
namespace {

class BrowserMouseTest : public BrowserTesting {
protected:
    void askForMenu(QPoint place, QContextMenuEvent::Reason reason) const {
        QContextMenuEvent event(reason, place, viewport()->mapToGlobal(place));
        QApplication::sendEvent(viewport(), &event);
    }
    void drawBand(QPoint from, QPoint to, Qt::KeyboardModifiers modifiers = {}) const {
        QTest::mousePress(viewport(), Qt::LeftButton, modifiers, from);
        QTest::mouseMove(viewport(), to);
    }
};

TEST_F(BrowserMouseTest, AClickSelectsOnePage) {
    click(middleOf(2));
    EXPECT_EQ(selected(), (IndexSet{2}));
    click(middleOf(5));
    EXPECT_EQ(selected(), (IndexSet{5}));
    click(emptyPlace());
    EXPECT_EQ(selected(), IndexSet{});
}

TEST_F(BrowserMouseTest, CtrlClickAddsAndTakesAway) {
    click(middleOf(2));
    click(middleOf(5), Qt::ControlModifier);
    click(middleOf(6), Qt::ControlModifier);
    EXPECT_EQ(selected(), (IndexSet{2, 5, 6}));
    click(middleOf(5), Qt::ControlModifier);
    EXPECT_EQ(selected(), (IndexSet{2, 6}));
    click(emptyPlace(), Qt::ControlModifier);
    EXPECT_EQ(selected(), (IndexSet{2, 6}));
}

TEST_F(BrowserMouseTest, ShiftClickSelectsUpToThere) {
    click(middleOf(5));
    click(middleOf(2), Qt::ShiftModifier);
    EXPECT_EQ(selected(), range(2, 6));
    click(middleOf(7), Qt::ShiftModifier);
    EXPECT_EQ(selected(), range(5, 8)) << "from the same page";
}

TEST_F(BrowserMouseTest, AClickOnOneOfSeveralSelectedPagesSelectsItAlone) {
    m_view->setSelectionIndexes({1, 2, 3}, false);
    QTest::mousePress(viewport(), Qt::LeftButton, {}, middleOf(2));
    EXPECT_EQ(selected(), range(1, 4)) << "they may be about to be dragged";
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(2));
    EXPECT_EQ(selected(), (IndexSet{2}));
}

TEST_F(BrowserMouseTest, ADoubleClickIsReported) {
    QTest::mouseDClick(viewport(), Qt::LeftButton, {}, middleOf(3));
    EXPECT_EQ(m_delegate.doubleClicked, (IndexSet{3}));
    QTest::mouseDClick(viewport(), Qt::LeftButton, {}, emptyPlace());
    EXPECT_EQ(m_delegate.doubleClicked, (IndexSet{3}));
}

TEST_F(BrowserMouseTest, AClickOnAHeaderCollapsesAndExpands) {
    click(headerOf(0));
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(0));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(1));
    click(headerOf(0));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0));
    QTest::mouseDClick(viewport(), Qt::LeftButton, {}, headerOf(0));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0)) << "two clicks";
}

TEST_F(BrowserMouseTest, CtrlClickOnAHeaderIsForAllGroups) {
    click(headerOf(0), Qt::ControlModifier);
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(0));
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(1));
    click(headerOf(1), Qt::ControlModifier);
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(1));
}

TEST_F(BrowserMouseTest, LettingGoBesideTheHeaderDoesNothing) {
    QTest::mousePress(viewport(), Qt::LeftButton, {}, headerOf(0));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(1));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0));
}

TEST_F(BrowserMouseTest, ARubberBandSelectsWhatItMeets) {
    drawBand(emptyPlace(), middleOf(2));
    EXPECT_EQ(selected(), (IndexSet{2, 3}));
    QTest::mouseMove(viewport(), middleOf(5));
    EXPECT_EQ(selected(), (IndexSet{5, 6, 7})) << "what it no longer meets is let go";
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(5));
    EXPECT_EQ(selected(), (IndexSet{5, 6, 7}));
}

TEST_F(BrowserMouseTest, ARubberBandWithShiftAddsAndWithCtrlToggles) {
    m_view->setSelectionIndexes({0, 3}, false);
    drawBand(emptyPlace(), middleOf(2), Qt::ShiftModifier);
    EXPECT_EQ(selected(), (IndexSet{0, 2, 3}));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(2));

    drawBand(emptyPlace(), middleOf(2), Qt::ControlModifier);
    EXPECT_EQ(selected(), (IndexSet{0}));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(2));
}

TEST_F(BrowserMouseTest, EscapeTakesARubberBandBack) {
    m_view->setSelectionIndexes({0, 3}, false);
    drawBand(emptyPlace(), middleOf(2), Qt::ShiftModifier);
    press(Qt::Key_Escape);
    EXPECT_EQ(selected(), (IndexSet{0, 3}));
    QTest::mouseMove(viewport(), middleOf(5));
    EXPECT_EQ(selected(), (IndexSet{0, 3}));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(5));
}

TEST_F(BrowserMouseTest, ARubberBandHeldAtTheEdgeScrollsAndSelectsOn) {
    drawBand(emptyPlace(), QPoint(20, viewport()->height() + 30));
    EXPECT_TRUE(QTest::qWaitFor([this] { return selected() == range(4, 20); }, 20'000));
    EXPECT_GT(scrolled(), 0);
    QTest::mouseMove(viewport(), QPoint(20, -40));
    EXPECT_TRUE(QTest::qWaitFor([this] { return scrolled() == 0; }, 20'000));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, QPoint(20, -40));
}

TEST_F(BrowserMouseTest, TheWheelScrollsBelowARubberBand) {
    drawBand(emptyPlace(), middleOf(2));
    EXPECT_EQ(selected(), (IndexSet{2, 3}));
    m_view->verticalScrollBar()->setValue(m_view->verticalScrollBar()->maximum());
    EXPECT_GT(selected().size(), 2U) << "the pointer is elsewhere in the contents now";
    m_view->verticalScrollBar()->setValue(0);
    EXPECT_EQ(selected(), (IndexSet{2, 3}));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(2));
}

TEST_F(BrowserMouseTest, ARubberBandWhoseReleaseWasLostEnds) {
    drawBand(emptyPlace(), middleOf(2));
    QTest::mousePress(viewport(), Qt::LeftButton, {}, middleOf(5)); // the next one, on a page
    EXPECT_EQ(selected(), (IndexSet{5}));
    QTest::mouseMove(viewport(), middleOf(5) + QPoint(1, 0));
    EXPECT_EQ(selected(), (IndexSet{5}));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(5));
}

TEST_F(BrowserMouseTest, ARubberBandEndsWhenTheKeysGoElsewhere) {
    drawBand(emptyPlace(), middleOf(2));
    QFocusEvent out(QEvent::FocusOut, Qt::ActiveWindowFocusReason);
    QApplication::sendEvent(m_view.get(), &out);
    QTest::mouseMove(viewport(), middleOf(5));
    EXPECT_EQ(selected(), (IndexSet{2, 3}));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(5));
}

TEST_F(BrowserMouseTest, AMenuOnAPageSelectsItUnlessItIsSelected) {
    QSignalSpy menus(m_view.get(), &ImageBrowserView::contextMenuRequested);
    m_view->setSelectionIndexes({1, 2}, false);

    askForMenu(middleOf(2), QContextMenuEvent::Mouse);
    EXPECT_EQ(selected(), (IndexSet{1, 2}));
    askForMenu(middleOf(5), QContextMenuEvent::Mouse);
    EXPECT_EQ(selected(), (IndexSet{5}));

    EXPECT_EQ(m_delegate.rightClicked, (IndexSet{2, 5}));
    ASSERT_EQ(menus.count(), 2);
    EXPECT_EQ(menus.at(1).at(0).toPoint(), viewport()->mapToGlobal(middleOf(5)));
}

TEST_F(BrowserMouseTest, AMenuOnAHeaderIsForAllItsPages) {
    askForMenu(headerOf(0), QContextMenuEvent::Mouse);
    EXPECT_EQ(selected(), range(0, 12));
    EXPECT_EQ(m_delegate.backgroundRightClicks, 1);
}

TEST_F(BrowserMouseTest, AMenuOnTheBackgroundLeavesTheSelection) {
    m_view->setSelectionIndexes({1, 2}, false);
    askForMenu(emptyPlace(), QContextMenuEvent::Mouse);
    EXPECT_EQ(selected(), (IndexSet{1, 2}));
    EXPECT_EQ(m_delegate.backgroundRightClicks, 1);
    EXPECT_EQ(m_delegate.rightClicked, IndexSet{});
}

TEST_F(BrowserMouseTest, TheMenuKeyAsksAtTheCurrentPage) {
    QSignalSpy menus(m_view.get(), &ImageBrowserView::contextMenuRequested);
    click(middleOf(5));
    askForMenu(QPoint(0, 0), QContextMenuEvent::Keyboard);
    EXPECT_EQ(m_delegate.rightClicked, (IndexSet{5}));
    ASSERT_EQ(menus.count(), 1);
    EXPECT_EQ(menus.at(0).at(0).toPoint(), viewport()->mapToGlobal(middleOf(5)));
}

} // namespace
} // namespace quillorn
