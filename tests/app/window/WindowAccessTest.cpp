#include "tests/app/window/WindowFixture.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QApplication>
#include <QMenu>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>
#include <utility>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A user who acts on the window by a screen reader or a voice, which reach its parts without keys
/// and clicks.
class WindowAccessTest : public WindowFixture {
public:
    WindowAccessTest() {
        QAccessible::setActive(true);
        QObject::connect(&m_look, &QTimer::timeout, &m_look, [this]() { refuseUninvited(); });
    }
    ~WindowAccessTest() override { QAccessible::setActive(false); }

protected:
    void press(QAbstractButton& button) {
        auto* const part = QAccessible::queryAccessibleInterface(&button);
        ASSERT_NE(part->actionInterface(), nullptr);
        part->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        waitFor("the button comes up", [&button]() { return !button.isDown(); });
    }
    void press(QDialog& dialog, const QString& text) {
        for (QAbstractButton* const button : dialog.findChildren<QAbstractButton*>()) {
            if (button->text().remove(QLatin1Char('&')) == text) {
                press(*button);
                return;
            }
        }
        ADD_FAILURE() << "there is no button " << text.toStdString();
    }
    void press(QMenu& menu, const QAction& entry) {
        auto* const whole = QAccessible::queryAccessibleInterface(&menu);
        const auto number = static_cast<int>(menu.actions().indexOf(&entry));
        auto* const part = whole->child(number);
        ASSERT_NE(part, nullptr);
        part->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
    }
    /// What a browser has for an item, or for its first header.
    [[nodiscard]] static QAccessibleInterface& firstOf(PaneBrowser& browser,
                                                       QAccessible::Role role) {
        auto* const list = QAccessible::queryAccessibleInterface(&browser);
        int child = 0;
        while (list->child(child)->role() != role) {
            ++child;
        }
        return *list->child(child);
    }
    static void act(QAccessibleInterface& part) {
        QAccessibleActionInterface& actions = *part.actionInterface();
        // Also what it does not offer: a program may ask for it all the same.
        actions.doAction(part.role() == QAccessible::Button
                             ? QAccessibleActionInterface::toggleAction()
                             : QAccessibleActionInterface::setFocusAction());
    }

    /// A source of two pages, and an output of them.
    void compose() {
        open({pdf("a.pdf", 2)});
        addAllToOutput();
        outputBrowser().setSelectionIndexes({0}, false);
    }
    /// Does something while the window waits for a save to end. Whatever else it opens meanwhile
    /// is closed and noted in `uninvited`.
    void whileSaving(const std::function<void(QDialog& sheet)>& user) {
        bool wasThere = false;
        whenShown("saveToPDFWindow", [this, &user, &wasThere](QDialog& dialog) {
            bool isSaving = false;
            // A posted call: the wait of the save hands it on before the end of the writing.
            QObject inTheWait;
            QObject::connect(
                &inTheWait, &QObject::objectNameChanged, &m_look,
                [this, &user, &dialog, &isSaving, &wasThere]() {
                    EXPECT_TRUE(isSaving);
                    wasThere = true;
                    m_look.start(lookEvery);
                    user(dialog);
                    m_look.stop();
                },
                Qt::QueuedConnection);
            inTheWait.setObjectName(QStringLiteral("saving"));
            isSaving = true;
            click(dialog, "confirm");
            isSaving = false;
        });
        menus().save.action.trigger();
        EXPECT_TRUE(wasThere);
        waitFor("no window is left", []() { return QApplication::activeModalWidget() == nullptr; });
    }

    Texts uninvited;

private:
    static constexpr int lookEvery = 5; // milliseconds

    void refuseUninvited() {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            auto* const dialog = qobject_cast<QDialog*>(widget);
            if (dialog != nullptr && dialog->isVisible() &&
                dialog->objectName() != QStringLiteral("saveToPDFWindow") &&
                dialog->objectName() != QStringLiteral("saveWindow")) {
                uninvited.push_back(dialog->objectName().toStdString());
                dialog->reject();
                return;
            }
        }
    }

    QTimer m_look;
};

TEST_F(WindowAccessTest, ButtonsOfTheToolbarStartNothingWhileTheWindowWaits) {
    start();
    compose();
    whileSaving([this](QDialog& /*sheet*/) {
        press(*window().btnAddNewGroup().widget());
        press(*window().btnOpenPDFFiles().widget());
    });
    EXPECT_THAT(uninvited, IsEmpty());
    whenShown("groupNameWindow", [](QDialog& dialog) { dialog.reject(); });
    press(*window().btnAddNewGroup().widget());
}

TEST_F(WindowAccessTest, EntriesOfMenusStartNothingWhileTheWindowWaits) {
    start();
    compose();
    whileSaving([this](QDialog& /*sheet*/) {
        press(menus().outputMenu, menus().output.clearMenu.action);
        press(menus().sourceMenu, menus().source.clearMenu.action);
        press(menus().pages, menus().deletePdfPage.action);
        press(menus().pages, menus().moveLater);
        press(menus().edit, menus().selectAll);
        press(menus().file, menus().newGroup);
        press(menus().view, menus().messages);
    });
    EXPECT_THAT(uninvited, IsEmpty());
    EXPECT_THAT(sourceTitles(), ElementsAre("a.pdf"));
    ASSERT_THAT(outputTitles(), ElementsAre("Untitled.pdf"));
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "2-a"));
    EXPECT_EQ(outputBrowser().selectionIndexes(), (IndexSet{0}));
    press(menus().outputMenu, menus().output.clearMenu.action);
    EXPECT_THAT(outputTitles(), IsEmpty());
}

TEST_F(WindowAccessTest, ASheetIsConfirmedAndCancelledOnce) {
    start();
    compose();
    bool isOpen = false;
    whileSaving([this, &isOpen](QDialog& sheet) {
        press(sheet, QStringLiteral("Save"));
        press(sheet, QStringLiteral("Cancel"));
        press(*sheet.findChild<QAbstractButton*>(QStringLiteral("folder")));
        isOpen = sheet.isVisible();
    });
    EXPECT_TRUE(isOpen);
    EXPECT_THAT(uninvited, IsEmpty());
    waitFor("the file manager", [this]() { return !openedByDesktop().empty(); });
    EXPECT_THAT(openedByDesktop(), ElementsAre(outputFolder.string()));
}

TEST_F(WindowAccessTest, TheZoomStaysWhileTheWindowWaits) {
    start();
    compose();
    QSlider& slider = window().outputPane().slider();
    QAccessibleValueInterface& value =
        *QAccessible::queryAccessibleInterface(&slider)->valueInterface();
    const int before = slider.value();
    const float zoom = outputBrowser().zoomValue();
    whileSaving([&value, &slider](QDialog& /*sheet*/) { value.setCurrentValue(slider.maximum()); });
    EXPECT_EQ(slider.value(), before);
    EXPECT_EQ(outputBrowser().zoomValue(), zoom);
    value.setCurrentValue(slider.maximum());
    EXPECT_GT(outputBrowser().zoomValue(), zoom);
}

TEST_F(WindowAccessTest, PagesAndHeadersAreNotAvailableWhileTheWindowWaits) {
    start();
    compose();
    auto& page = firstOf(sourceBrowser(), QAccessible::ListItem);
    auto& header = firstOf(sourceBrowser(), QAccessible::Button);
    sourceBrowser().setSelectionIndexes({1}, false);
    EXPECT_FALSE(page.state().disabled);
    whileSaving([&page, &header](QDialog& /*sheet*/) {
        EXPECT_TRUE(page.state().disabled);
        EXPECT_TRUE(header.state().disabled);
        EXPECT_TRUE(page.parent()->state().disabled);
        EXPECT_THAT(header.actionInterface()->actionNames(), IsEmpty());
        act(page);
        act(header);
    });
    EXPECT_EQ(sourceBrowser().selectionIndexes(), (IndexSet{1}));
    EXPECT_TRUE(sourceBrowser().isGroupExpandedAtIndex(0));
    EXPECT_FALSE(page.state().disabled);
    EXPECT_FALSE(page.parent()->state().disabled);
    act(page);
    EXPECT_EQ(sourceBrowser().selectionIndexes(), (IndexSet{0}));
    act(header);
    EXPECT_FALSE(sourceBrowser().isGroupExpandedAtIndex(0));
}

TEST_F(WindowAccessTest, NothingBehindASheetIsActedOn) {
    start();
    compose();
    whenShown("saveToPDFWindow", [this](QDialog& dialog) {
        press(menus().outputMenu, menus().output.clearMenu.action);
        act(firstOf(sourceBrowser(), QAccessible::Button));
        press(dialog, QStringLiteral("Save"));
    });
    menus().save.action.trigger();
    EXPECT_THAT(outputTitles(), ElementsAre("Untitled.pdf"));
    EXPECT_TRUE(sourceBrowser().isGroupExpandedAtIndex(0));
    waitFor("the file manager", [this]() { return !openedByDesktop().empty(); });
}

} // namespace
} // namespace quillorn::tests
