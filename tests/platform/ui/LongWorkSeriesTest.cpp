#include "platform/ui/widgets/ActivityPanel.h"
#include "platform/ui/widgets/WidgetDesktop.h"
#include "platform/ui/widgets/WidgetLongWork.h"
#include "tests/platform/ui/WaitForStop.h"

#include <QApplication>
#include <QLabel>
#include <QTest>
#include <QTimer>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <stop_token>
#include <thread>

namespace quillorn {
namespace {

using tests::waitForStop;

constexpr int patience = 60'000; // milliseconds

class LongWorkSeriesTest : public testing::Test {
protected:
    LongWorkSeriesTest() {
        m_window.resize(200, 100);
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window, patience));
    }
    static QWidget* workWindow() {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == QStringLiteral("longWork") && widget->isVisible()) {
                return widget;
            }
        }
        return nullptr;
    }

    QWidget m_window;
    WidgetMainThread m_mainThread;
    ActivityPanel m_activities;
    WidgetLongWork m_work{m_window, m_mainThread, m_activities};
};

TEST_F(LongWorkSeriesTest, ManyQuickPiecesHaveOneWindowThatCancelsThemAll) {
    // No piece takes as long as it takes the window to come.
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, []() {
        if (QWidget* const window = workWindow()) {
            QTest::keyClick(window, Qt::Key_Escape);
        }
    });
    look.start(5);
    const auto series = m_work.series("Adding files");
    int pieces = 0;
    const auto begin = std::chrono::steady_clock::now();
    while (series->run("Opening", [](const std::stop_token&) {})) {
        ++pieces;
        ASSERT_LT(std::chrono::steady_clock::now() - begin, std::chrono::minutes(1));
    }
    EXPECT_GT(pieces, 1);
    bool isBegun = false;
    EXPECT_FALSE(series->run("Opening", [&isBegun](const std::stop_token&) { isBegun = true; }));
    EXPECT_FALSE(isBegun) << "it was cancelled before";
}

TEST_F(LongWorkSeriesTest, TheWindowTakesClicksInLaterPiecesToo) {
    std::stop_source shown;
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, [&shown]() {
        if (workWindow() != nullptr) {
            shown.request_stop();
        }
    });
    look.start(5);
    const auto series = m_work.series("Adding files");
    EXPECT_TRUE(
        series->run("One", [&shown](const std::stop_token&) { waitForStop(shown.get_token()); }));
    QTimer press;
    press.setSingleShot(true);
    QObject::connect(&press, &QTimer::timeout, &press,
                     []() { QTest::keyClick(workWindow(), Qt::Key_Escape); });
    press.start(0);
    EXPECT_FALSE(series->run("Two", waitForStop));
}

TEST_F(LongWorkSeriesTest, TheWindowDoesNotComeBetweenPiecesWhereAnAlertMayWait) {
    const auto series = m_work.series("Adding files");
    EXPECT_TRUE(series->run("One", [](const std::stop_token&) {}));
    bool isLater = false;
    QTimer later; // fires after the window's own
    later.setSingleShot(true);
    QObject::connect(&later, &QTimer::timeout, &later, [&isLater]() { isLater = true; });
    later.start(600);
    EXPECT_TRUE(QTest::qWaitFor([&isLater]() { return isLater; }, patience));
    EXPECT_EQ(workWindow(), nullptr);
    bool isSeen = false;
    EXPECT_TRUE(series->run("Two", [this, &isSeen](const std::stop_token&) {
        m_mainThread.runAndWait([&isSeen]() { isSeen = workWindow() != nullptr; });
    }));
    EXPECT_TRUE(isSeen) << "it is there as soon as work goes on";
}

TEST_F(LongWorkSeriesTest, WhatAnotherThreadDoesIsOneActivity) {
    std::atomic<int> pieces = 0;
    int idles = 0;
    QObject::connect(&m_activities, &ActivityPanel::idleChanged, &m_activities,
                     [this, &idles]() { idles += m_activities.isIdle() ? 1 : 0; });
    std::jthread thread([&]() {
        const auto series = m_work.series("Adding files");
        for (int i = 0; i < 5; ++i) {
            pieces += series->run("Opening", [](const std::stop_token&) {}) ? 1 : 0;
        }
    });
    ASSERT_TRUE(QTest::qWaitFor([&]() { return idles > 0; }, patience));
    EXPECT_EQ(idles, 1);
    EXPECT_EQ(pieces, 5);
}

TEST_F(LongWorkSeriesTest, ACancelBetweenPiecesOfAnotherThreadEndsThem) {
    bool isBegun = false;
    std::atomic<bool> hasEnded = false;
    std::jthread thread([&]() {
        {
            const auto series = m_work.series("Adding files");
            EXPECT_TRUE(series->run("One", [](const std::stop_token&) {}));
            m_mainThread.runAndWait([this]() {
                EXPECT_FALSE(m_activities.isIdle());
                m_activities.cancelAll();
            });
            EXPECT_FALSE(
                series->run("Two", [&isBegun](const std::stop_token&) { isBegun = true; }));
        }
        hasEnded = true;
    });
    ASSERT_TRUE(QTest::qWaitFor([&]() { return hasEnded && m_activities.isIdle(); }, patience));
    thread.join();
    EXPECT_FALSE(isBegun);
}

} // namespace
} // namespace quillorn
