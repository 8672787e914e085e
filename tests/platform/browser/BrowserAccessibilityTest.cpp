#include "tests/platform/browser/BrowserTesting.h"

#include <QAccessible>

namespace quillorn {
namespace {

class BrowserAccessibilityTest : public BrowserTesting {
protected:
    BrowserAccessibilityTest() { QAccessible::setActive(true); }
    ~BrowserAccessibilityTest() override { QAccessible::setActive(false); }

    [[nodiscard]] QAccessibleInterface* list() const {
        return QAccessible::queryAccessibleInterface(m_view.get());
    }
    /// The names of all children, those that can be seen.
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> all;
        for (int i = 0; i < list()->childCount(); ++i) {
            all.push_back(list()->child(i)->text(QAccessible::Name).toStdString());
        }
        return all;
    }
};

TEST_F(BrowserAccessibilityTest, IsAListOfHeadersAndPages) {
    ASSERT_NE(list(), nullptr);
    EXPECT_EQ(list()->role(), QAccessible::List);
    const auto all = names();
    ASSERT_GT(all.size(), 4U);
    EXPECT_EQ(all[0], "Output 1, 12 pages");
    EXPECT_EQ(all[3], "3-Output 1, page 3 of 12, Output 1");
    EXPECT_EQ(list()->child(0)->role(), QAccessible::Button);
    EXPECT_EQ(list()->child(3)->role(), QAccessible::ListItem);
    EXPECT_EQ(list()->indexOfChild(list()->child(3)), 3);
    EXPECT_EQ(list()->child(3)->parent(), list());
    EXPECT_EQ(list()->child(static_cast<int>(all.size())), nullptr);
}

TEST_F(BrowserAccessibilityTest, KnowsWhereThingsAre) {
    const QPoint place = viewport()->mapToGlobal(middleOf(2));
    QAccessibleInterface* const child = list()->childAt(place.x(), place.y());
    ASSERT_NE(child, nullptr);
    EXPECT_EQ(child->text(QAccessible::Name), "3-Output 1, page 3 of 12, Output 1");
    EXPECT_EQ(child->rect().center(), place);
    EXPECT_EQ(list()->childAt(-5, -5), nullptr);
}

TEST_F(BrowserAccessibilityTest, TellsWhatIsSelectedExpandedAndFocused) {
    click(middleOf(1));
    EXPECT_TRUE(list()->child(2)->state().selected);
    EXPECT_TRUE(list()->child(2)->state().focused);
    EXPECT_FALSE(list()->child(3)->state().selected);
    EXPECT_TRUE(list()->child(0)->state().expanded);
    ASSERT_NE(list()->focusChild(), nullptr);
    EXPECT_EQ(list()->focusChild()->text(QAccessible::Name), "2-Output 1, page 2 of 12, Output 1");

    press(Qt::Key_Minus);

    EXPECT_TRUE(list()->child(0)->state().collapsed);
    EXPECT_EQ(list()->focusChild()->text(QAccessible::Name), "Output 1, 12 pages");
}

TEST_F(BrowserAccessibilityTest, ChildrenCanBeActedOn) {
    const auto act = [](QAccessibleInterface* child) {
        QAccessibleActionInterface* const actions = child->actionInterface();
        actions->doAction(actions->actionNames().front());
    };
    act(list()->child(2));
    EXPECT_EQ(selected(), (IndexSet{1}));
    act(list()->child(0));
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(0));
    act(list()->child(0));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0));
}

TEST_F(BrowserAccessibilityTest, FollowsWhatIsShown) {
    m_data.clear();
    m_view->reloadData();
    EXPECT_EQ(list()->childCount(), 0);
    m_data.addGroup("One", 1);
    m_view->reloadData();
    EXPECT_EQ(names(), (std::vector<std::string>{"One, 1 page", "1-One, page 1 of 1, One"}));
}

} // namespace
} // namespace quillorn
