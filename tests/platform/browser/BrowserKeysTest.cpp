#include "tests/platform/browser/BrowserTesting.h"

namespace quillorn {
namespace {

class BrowserKeysTest : public BrowserTesting {
protected:
    [[nodiscard]] std::size_t columns() const {
        return static_cast<std::size_t>(m_view->layoutOfItems().columns());
    }
};

TEST_F(BrowserKeysTest, ArrowsGoFromPageToPage) {
    ASSERT_EQ(columns(), 4U);
    press(Qt::Key_Right);
    EXPECT_EQ(selected(), (IndexSet{0})) << "the first key finds the first page";
    press(Qt::Key_Right);
    EXPECT_EQ(selected(), (IndexSet{1}));
    press(Qt::Key_Down);
    EXPECT_EQ(selected(), (IndexSet{5}));
    press(Qt::Key_Left);
    press(Qt::Key_Up);
    EXPECT_EQ(selected(), (IndexSet{0}));
    press(Qt::Key_Left);
    EXPECT_EQ(selected(), (IndexSet{0}));
}

TEST_F(BrowserKeysTest, HomeEndAndPagesScrollAlong) {
    press(Qt::Key_End);
    EXPECT_EQ(selected(), (IndexSet{19}));
    EXPECT_TRUE(isShown(19));
    press(Qt::Key_Home);
    EXPECT_EQ(selected(), (IndexSet{0}));
    EXPECT_TRUE(isShown(0));
    press(Qt::Key_PageDown);
    EXPECT_GT(selected().front(), 3U);
    EXPECT_TRUE(isShown(selected().front()));
    press(Qt::Key_PageUp);
    EXPECT_EQ(selected(), (IndexSet{0}));
}

TEST_F(BrowserKeysTest, ShiftExtendsFromWhereItBegan) {
    click(middleOf(5));
    press(Qt::Key_Right, Qt::ShiftModifier);
    press(Qt::Key_Right, Qt::ShiftModifier);
    EXPECT_EQ(selected(), range(5, 8));
    press(Qt::Key_Up, Qt::ShiftModifier);
    EXPECT_EQ(selected(), range(3, 6));
    press(Qt::Key_End, Qt::ShiftModifier);
    EXPECT_EQ(selected(), range(5, 20));
    press(Qt::Key_Right);
    EXPECT_EQ(selected(), (IndexSet{19}));
}

TEST_F(BrowserKeysTest, CtrlMovesWithoutSelectingAndCtrlSpaceSelectsOneMore) {
    click(middleOf(1));
    press(Qt::Key_Right, Qt::ControlModifier);
    press(Qt::Key_Right, Qt::ControlModifier);
    EXPECT_EQ(selected(), (IndexSet{1}));
    EXPECT_EQ(m_view->currentIndex(), 3U);
    press(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(selected(), (IndexSet{1, 3}));
    press(Qt::Key_Space, Qt::ControlModifier);
    EXPECT_EQ(selected(), (IndexSet{1}));
}

TEST_F(BrowserKeysTest, CtrlASelectsAllAndEscapeNone) {
    press(Qt::Key_A, Qt::ControlModifier);
    EXPECT_EQ(selected(), range(0, 20));
    press(Qt::Key_Escape);
    EXPECT_EQ(selected(), IndexSet{});
}

TEST_F(BrowserKeysTest, DeleteHandsTheSelectionToTheDataSource) {
    press(Qt::Key_Delete);
    EXPECT_EQ(m_data.removed, IndexSet{});
    m_view->setSelectionIndexes({2, 4}, false);
    press(Qt::Key_Delete);
    EXPECT_EQ(m_data.removed, (IndexSet{2, 4}));
    m_view->setSelectionIndexes({6}, false);
    press(Qt::Key_Backspace);
    EXPECT_EQ(m_data.removed, (IndexSet{6}));
}

TEST_F(BrowserKeysTest, ReturnIsADoubleClick) {
    click(middleOf(4));
    press(Qt::Key_Return);
    EXPECT_EQ(m_delegate.doubleClicked, (IndexSet{4}));
}

TEST_F(BrowserKeysTest, PlusAndMinusAreForTheGroupOfThePage) {
    m_view->setSelectionIndexes({13}, false);
    press(Qt::Key_Minus);
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0));
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(1));
    EXPECT_EQ(m_view->focusedHeader(), 1U);
    press(Qt::Key_Plus);
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(1));
    press(Qt::Key_Left);
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(1)) << "arrows do it from a header";
    press(Qt::Key_Return);
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(1));
}

TEST_F(BrowserKeysTest, AsteriskAndSlashAreForAllGroups) {
    press(Qt::Key_Slash);
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(0));
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(1));
    press(Qt::Key_Asterisk);
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(1));
}

TEST_F(BrowserKeysTest, WhenAllIsCollapsedArrowsGoFromHeaderToHeader) {
    m_view->setAllGroupsExpanded(false);
    press(Qt::Key_Down);
    EXPECT_EQ(m_view->focusedHeader(), 0U);
    press(Qt::Key_Down);
    EXPECT_EQ(m_view->focusedHeader(), 1U);
    press(Qt::Key_Down);
    EXPECT_EQ(m_view->focusedHeader(), 1U);
    press(Qt::Key_Return);
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(1));
    press(Qt::Key_Down);
    EXPECT_EQ(selected(), (IndexSet{12})) << "into the group";
    EXPECT_EQ(m_view->focusedHeader(), std::nullopt);
}

TEST_F(BrowserKeysTest, CtrlUpAndDownGoToTheHeaders) {
    click(middleOf(3));
    press(Qt::Key_Up, Qt::ControlModifier);
    EXPECT_EQ(m_view->focusedHeader(), 0U);
    press(Qt::Key_Down, Qt::ControlModifier);
    EXPECT_EQ(m_view->focusedHeader(), 1U);
    press(Qt::Key_Up);
    EXPECT_EQ(selected(), (IndexSet{11})) << "the page above the header";
}

TEST_F(BrowserKeysTest, NothingHappensWithoutPages) {
    m_data.clear();
    m_view->reloadData();
    for (const int key : {Qt::Key_Down, Qt::Key_End, Qt::Key_Space, Qt::Key_Return, Qt::Key_Delete,
                          Qt::Key_Minus, Qt::Key_Asterisk, Qt::Key_Escape}) {
        press(key);
        press(key, Qt::ShiftModifier);
        press(key, Qt::ControlModifier);
    }
    EXPECT_EQ(selected(), IndexSet{});
    EXPECT_EQ(m_view->focusedHeader(), std::nullopt);
}

class PreviewTest : public BrowserTesting {
protected:
    PreviewTest() { m_view->setCanControlQuickLookPanel(true); }

    [[nodiscard]] static QWidget* preview() {
        for (QWidget* const window : QApplication::topLevelWidgets()) {
            if (window->isVisible() && window->accessibleName() == "Preview") {
                return window;
            }
        }
        return nullptr;
    }
};

TEST_F(PreviewTest, SpaceShowsAndHidesIt) {
    press(Qt::Key_Space);
    EXPECT_EQ(preview(), nullptr) << "there is nothing to show";
    click(middleOf(2));
    press(Qt::Key_Space);
    ASSERT_NE(preview(), nullptr);
    EXPECT_EQ(preview()->windowTitle(), "3-Output 1");
    preview()->grab();
    QTest::keyClick(preview(), Qt::Key_Space);
    EXPECT_EQ(preview(), nullptr);
    EXPECT_FALSE(m_view->isPreviewShown());
}

TEST_F(PreviewTest, FollowsTheSelectionAndItsOwnArrows) {
    click(middleOf(2));
    press(Qt::Key_Space);
    ASSERT_NE(preview(), nullptr);
    m_view->setSelectionIndexes({13}, false);
    EXPECT_EQ(preview()->windowTitle(), "2-Output 2");
    EXPECT_EQ(preview()->accessibleDescription(), "2-Output 2, page 2 of 8, Output 2");
    QTest::keyClick(preview(), Qt::Key_Right);
    EXPECT_EQ(preview()->windowTitle(), "3-Output 2");
    EXPECT_EQ(selected(), (IndexSet{14}));
    QTest::keyClick(preview(), Qt::Key_Escape);
    EXPECT_EQ(preview(), nullptr);
    EXPECT_EQ(selected(), (IndexSet{14}));
}

TEST_F(PreviewTest, GoesWhenItsPageGoes) {
    click(middleOf(2));
    press(Qt::Key_Space);
    ASSERT_NE(preview(), nullptr);
    m_data.clear();
    m_view->reloadData();
    EXPECT_EQ(preview(), nullptr);
}

TEST_F(PreviewTest, StaysAwayWhereItIsNotWanted) {
    m_view->setCanControlQuickLookPanel(false);
    click(middleOf(2));
    press(Qt::Key_Space);
    EXPECT_EQ(preview(), nullptr);
}

} // namespace
} // namespace quillorn
