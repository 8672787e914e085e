#include "tests/app/window/WindowFixture.h"

#include <QDialog>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QMenuBar>
#include <QTest>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using WindowLookTest = WindowFixture;

TEST_F(WindowLookTest, TheHeadingOfAPaneIsWholeAndItsSummaryWholeOrLeftOut) {
    start();
    open({pdf("a.pdf", 3), pdf("b.pdf", 117)});
    bool wasShown = false;
    bool wasLeftOut = false;
    for (int width = 250; width < 900; width += 10) {
        window().resize(width, 400);
        QTest::qWait(0);
        for (const QLabel* const label : window().sourcePane().findChildren<QLabel*>()) {
            const bool isSummary = !label->font().bold();
            if (isSummary) {
                (label->isVisible() ? wasShown : wasLeftOut) = true;
            }
            if (label->isVisible()) {
                EXPECT_LE(label->fontMetrics().horizontalAdvance(label->text()), label->width())
                    << label->text().toStdString() << " in a window " << width << " pixels wide";
            }
        }
    }
    EXPECT_TRUE(wasShown && wasLeftOut);
}

TEST_F(WindowLookTest, ThePaneThatHasTheKeysIsMarked) {
    start();
    open({pdf("a.pdf", 3)});
    waitFor("the window is active", [this]() { return window().isActiveWindow(); });
    const auto isMarked = [](PaneView& pane) {
        const QRect line(0, pane.browser().y() - 1, pane.width(), 1);
        const QImage image = pane.grab(line).toImage();
        return image.pixelColor(image.width() / 2, 0) ==
               pane.palette().color(QPalette::Active, QPalette::Highlight);
    };
    sourceBrowser().setFocus();
    EXPECT_TRUE(isMarked(window().sourcePane()));
    EXPECT_FALSE(isMarked(window().outputPane()));
    QTest::keyClick(&sourceBrowser(), Qt::Key_F6);
    EXPECT_FALSE(isMarked(window().sourcePane()));
    EXPECT_TRUE(isMarked(window().outputPane()));
}

TEST_F(WindowLookTest, APaneHasTheKeysAgainAfterAMenuAndASheet) {
    start();
    open({pdf("a.pdf", 1)});
    addAllToOutput();
    outputBrowser().setFocus();
    QMenuBar& bar = *window().menuBar();
    QMenu& menu = menus().edit;
    QTest::mouseClick(&bar, Qt::LeftButton, {}, bar.actionGeometry(menu.menuAction()).center());
    waitFor("the menu", [&menu]() { return menu.isVisible(); });
    QTest::keyClick(&menu, Qt::Key_Escape);
    ASSERT_TRUE(bar.hasFocus());
    whenShown("groupNameWindow", [this](QDialog& dialog) {
        waitFor("the sheet has the keys", [&dialog]() { return dialog.isActiveWindow(); });
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    menus().newGroup.trigger();
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window()));
    EXPECT_TRUE(outputBrowser().hasFocus());
}

TEST_F(WindowLookTest, KeysMoveTheDivider) {
    start();
    open({pdf("a.pdf", 3)});
    const auto left = [this]() { return window().splitter().sizes().at(0); };
    const int before = left();
    QTest::keyClick(&window(), Qt::Key_F7);
    EXPECT_LT(left(), before);
    QTest::keyClick(&window(), Qt::Key_F8);
    QTest::keyClick(&window(), Qt::Key_F8);
    EXPECT_GT(left(), before);
    for (int i = 0; i < 30; ++i) {
        QTest::keyClick(&window(), Qt::Key_F8);
    }
    const int least = window().splitter().sizes().at(1);
    EXPECT_GT(least, 0) << "keys fold no pane away";
    for (int i = 0; i < 5; ++i) {
        QTest::keyClick(&window(), Qt::Key_F7);
    }
    EXPECT_GT(window().splitter().sizes().at(1), least);
}

} // namespace
} // namespace quillorn::tests
