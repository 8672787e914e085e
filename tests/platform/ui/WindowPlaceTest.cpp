#include "platform/ui/widgets/WidgetWindow.h"

#include <QCoreApplication>
#include <QMainWindow>
#include <QRect>
#include <QSize>
#include <QTest>
#include <gtest/gtest.h>

namespace quillorn {
namespace {

constexpr int patience = 60'000;                   // milliseconds
constexpr WindowFrame centred{520, 250, 400, 400}; // of 1440 x 900

TEST(PlacedOnScreen, IsWhereTheFrameSays) {
    const QRect screen(0, 0, 1440, 900);
    EXPECT_EQ(placedOnScreen(centred, screen, screen), QRect(520, 250, 400, 400));
}

TEST(PlacedOnScreen, CountsFromTheCornerOfTheWindowsOwnScreen) {
    const QRect second(1920, -180, 1440, 900);
    EXPECT_EQ(placedOnScreen(centred, second, second), QRect(2440, 70, 400, 400));
    const QRect left(-1440, 0, 1440, 900);
    EXPECT_EQ(placedOnScreen(centred, left, left), QRect(-920, 250, 400, 400));
}

TEST(PlacedOnScreen, StaysInTheRoomThatThereIs) {
    const QRect screen(0, 0, 800, 600);
    const QRect room(0, 30, 800, 540); // between panels
    EXPECT_EQ(placedOnScreen({-5, -105, 810, 810}, screen, room), room);
    EXPECT_EQ(placedOnScreen({5000, 5000, 400, 400}, screen, room), QRect(400, 170, 400, 400))
        << "a screen that has gone";
}

TEST(WidgetWindow, ThatFillsTheScreenHasItsNewFrameAfterwards) {
    QMainWindow window;
    WidgetWindow controlled(window, []() {});
    controlled.setFrame({10, 40, 400, 300}, true);
    for (const auto fill : {&QMainWindow::showMaximized, &QMainWindow::showFullScreen}) {
        window.showNormal();
        controlled.setFrame({10, 40, 400, 300}, true);
        EXPECT_TRUE(QTest::qWaitFor([&]() { return window.size() == QSize(400, 300); }, patience));
        (window.*fill)();
        EXPECT_TRUE(QTest::qWaitFor([&]() { return window.width() > 500; }, patience));
        controlled.setFrame({20, 50, 420, 310}, true);
        controlled.setFrame({20, 50, 500, 350}, true);
        EXPECT_GT(window.width(), 500);
        window.showNormal();
        EXPECT_TRUE(QTest::qWaitFor([&]() { return window.geometry() == QRect(20, 50, 500, 350); },
                                    patience));
        window.resize(450, 320);
        QCoreApplication::processEvents();
        (window.*fill)();
        window.showNormal();
        EXPECT_TRUE(QTest::qWaitFor([&]() { return window.size() == QSize(450, 320); }, patience));
    }
}

} // namespace
} // namespace quillorn
