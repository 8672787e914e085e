#include "platform/ui/widgets/ActivityPanel.h"
#include "platform/ui/widgets/InputGuard.h"
#include "platform/ui/widgets/MessageLine.h"
#include "platform/ui/widgets/WidgetControls.h"
#include "platform/ui/widgets/WidgetDesktop.h"
#include "platform/ui/widgets/WidgetLongWork.h"
#include "platform/ui/widgets/WidgetSheets.h"
#include "platform/ui/widgets/WidgetText.h"
#include "tests/platform/ui/WaitForStop.h"

#include <QAbstractButton>
#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QShortcutEvent>
#include <QSignalSpy>
#include <QTest>
#include <QTimer>
#include <atomic>
#include <condition_variable>
#include <gtest/gtest.h>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <thread>

namespace quillorn {
namespace {

using tests::waitForStop;

constexpr int patience = 60'000; // milliseconds

TEST(WidgetSlider, KeepsAValueBeyondItsBounds) {
    QSlider widget;
    WidgetSlider slider(widget, 0.5F, []() {});
    slider.setFloatValue(1.1F);
    EXPECT_FLOAT_EQ(slider.floatValue(), 1.1F);
    EXPECT_EQ(widget.value(), widget.maximum());
}

TEST(WidgetSlider, TellsWhenTheUserMovesIt) {
    QSlider widget;
    int moves = 0;
    WidgetSlider slider(widget, 0.5F, [&moves]() { ++moves; });
    slider.setFloatValue(0.6F);
    EXPECT_EQ(moves, 0) << "that was the program";
    widget.setValue(widget.minimum());
    EXPECT_EQ(moves, 1);
    EXPECT_FLOAT_EQ(slider.floatValue(), 0);
}

TEST(WidgetTextField, IsTheSameTextInTwoSheets) {
    WidgetTextField field(".pdf");
    QLineEdit one;
    QLineEdit other;
    field.attach(one);
    field.attach(other);
    QTest::keyClicks(&one, QStringLiteral("x"));
    EXPECT_EQ(field.stringValue(), ".pdfx");
    EXPECT_EQ(other.text(), QStringLiteral(".pdfx"));
    field.setStringValue("");
    EXPECT_EQ(one.text(), QString());
}

TEST(ActionMenuItem, ShowsAnAmpersandOfItsTitle) {
    QAction action;
    ActionMenuItem item(action);
    item.setTitle("Cut & Paste");
    EXPECT_EQ(action.text(), QStringLiteral("Cut && Paste"));
    item.setHidden(true);
    EXPECT_TRUE(item.isHidden());
}

TEST(NameFilter, NamesEachTypeInBothCasesOnce) {
    EXPECT_TRUE(
        nameFilter({"pdf", "PDF", "png"}).endsWith(QStringLiteral("(*.pdf *.PDF *.png *.PNG)")));
}

TEST(PathText, KeepsNamesWithOddLetters) {
    for (const char* const path : {"/tmp/größe.pdf", "/tmp/a b&c<i>.pdf", "/tmp/\"quoted\".pdf"}) {
        EXPECT_EQ(pathFromQString(pathToQString(path)), path);
    }
}

TEST(MessageLine, KeepsWhatWasToldBefore) {
    MessageLine line;
    line.showMessage("One.");
    line.showMessage("Two.");
    EXPECT_EQ(line.messages(), (QStringList{QStringLiteral("One."), QStringLiteral("Two.")}));
}

TEST(MessageLine, KeepsABoundedNumber) {
    MessageLine line;
    for (int i = 0; i < 2000; ++i) {
        line.showMessage(std::to_string(i));
    }
    EXPECT_LE(line.messages().size(), 1000);
    EXPECT_EQ(line.messages().last(), QStringLiteral("1999"));
}

class WidgetLongWorkTest : public testing::Test {
protected:
    WidgetLongWorkTest() {
        m_window.resize(200, 100);
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window, patience));
    }

    QWidget m_window;
    WidgetMainThread m_mainThread;
    ActivityPanel m_activities;
    WidgetLongWork m_work{m_window, m_mainThread, m_activities};
};

TEST_F(WidgetLongWorkTest, TheWindowGoesOnWhileItWaits) {
    std::atomic<bool> hasHandedOver = false;
    const auto here = std::this_thread::get_id();
    EXPECT_TRUE(m_work.run("Working", [&](const std::stop_token&) {
        EXPECT_NE(std::this_thread::get_id(), here);
        m_mainThread.runAndWait([&]() { hasHandedOver = std::this_thread::get_id() == here; });
    }));
    EXPECT_TRUE(hasHandedOver);
}

TEST_F(WidgetLongWorkTest, ClicksOnTheWindowAreDroppedMeanwhile) {
    QPushButton button(&m_window);
    int clicks = 0;
    QObject::connect(&button, &QPushButton::clicked, &button, [&clicks]() { ++clicks; });
    button.show();
    EXPECT_TRUE(m_work.run("", [&](const std::stop_token&) {
        m_mainThread.runAndWait([&]() {
            QTest::mouseClick(&button, Qt::LeftButton);
            EXPECT_FALSE(m_window.close()) << "nor does it close";
        });
    }));
    EXPECT_EQ(clicks, 0);
    QTest::mouseClick(&button, Qt::LeftButton);
    EXPECT_EQ(clicks, 1);
}

TEST_F(WidgetLongWorkTest, KeysAndShortcutsAreDroppedMeanwhile) {
    QLineEdit line(&m_window);
    line.show();
    QAction command;
    command.setShortcut(Qt::CTRL | Qt::Key_K);
    m_window.addAction(&command);
    QPushButton button(QStringLiteral("&Go"), &m_window);
    button.show();
    int commands = 0;
    QObject::connect(&command, &QAction::triggered, &command, [&commands]() { ++commands; });
    QObject::connect(&button, &QPushButton::clicked, &button, [&commands]() { ++commands; });
    m_window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&m_window, patience));
    line.setFocus();
    const auto typeAll = [&]() {
        QTest::keyClick(&line, Qt::Key_A);
        QTest::keyClick(&line, Qt::Key_K, Qt::ControlModifier);
        QTest::keyClick(&line, Qt::Key_G, Qt::AltModifier);
    };
    EXPECT_TRUE(m_work.run("", [&](const std::stop_token&) { m_mainThread.runAndWait(typeAll); }));
    EXPECT_EQ(line.text(), QString());
    EXPECT_EQ(commands, 0);
    typeAll();
    EXPECT_EQ(line.text(), QStringLiteral("a"));
    EXPECT_TRUE(QTest::qWaitFor([&commands]() { return commands >= 2; }, patience));
    EXPECT_EQ(commands, 2);
}

/// Tells whether the event of a shortcut came to it, such as that of a button's marked letter.
class Marked final : public QWidget {
public:
    using QWidget::QWidget;
    bool isTaken = false;

protected:
    bool event(QEvent* event) override {
        isTaken = isTaken || event->type() == QEvent::Shortcut;
        return QWidget::event(event);
    }
};

TEST_F(WidgetLongWorkTest, AWindowThatOpensMeanwhileTakesItsMarkedLetters) {
    Marked before(&m_window);
    bool isTaken = false;
    const auto press = [this, &before, &isTaken]() {
        QDialog alert(&m_window);
        Marked button(&alert);
        alert.show();
        QShortcutEvent letter(QKeySequence(Qt::ALT | Qt::Key_Y), 1);
        QApplication::sendEvent(&button, &letter);
        QApplication::sendEvent(&before, &letter);
        isTaken = button.isTaken;
    };
    EXPECT_TRUE(m_work.run("", [&](const std::stop_token&) { m_mainThread.runAndWait(press); }));
    EXPECT_TRUE(isTaken);
    EXPECT_FALSE(before.isTaken) << "its window takes no input";
}

TEST_F(WidgetLongWorkTest, CanBeCancelledInItsWindow) {
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, []() {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == QStringLiteral("longWork") && widget->isVisible()) {
                QTest::keyClick(widget, Qt::Key_Escape);
            }
        }
    });
    look.start(5);
    EXPECT_FALSE(m_work.run("Working", waitForStop));
}

void pressByScreenReader(QAbstractButton& button) {
    QAccessible::queryAccessibleInterface(&button)->actionInterface()->doAction(
        QAccessibleActionInterface::pressAction());
}

TEST_F(WidgetLongWorkTest, AScreenReaderPressesCancelAndNothingBehindIt) {
    QPushButton button(&m_window);
    int commands = 0;
    QObject::connect(&button, &QPushButton::clicked, &button,
                     whileTakingInput(m_window, [&commands]() { ++commands; }));
    QTimer look;
    QObject::connect(&look, &QTimer::timeout, &look, [&button, &look]() {
        for (QWidget* const widget : QApplication::topLevelWidgets()) {
            if (widget->objectName() == QStringLiteral("longWork") && widget->isVisible()) {
                look.stop(); // a button that is pressed again and again is never let go
                pressByScreenReader(button);
                EXPECT_FALSE(InputGuard::takesInput(button));
                EXPECT_TRUE(InputGuard::takesInput(*widget));
                pressByScreenReader(*widget->findChild<QPushButton*>());
            }
        }
    });
    look.start(5);
    EXPECT_FALSE(m_work.run("Working", waitForStop)) << "it was cancelled";
    EXPECT_TRUE(QTest::qWaitFor([&button]() { return !button.isDown(); }, patience));
    EXPECT_EQ(commands, 0);
    pressByScreenReader(button);
    EXPECT_TRUE(QTest::qWaitFor([&commands]() { return commands == 1; }, patience));
}

TEST(InputGuard, AWindowBehindAModalOneTakesNoInput) {
    QWidget window;
    window.show();
    EXPECT_TRUE(InputGuard::takesInput(window));
    QDialog sheet(&window);
    sheet.setWindowModality(Qt::WindowModal);
    sheet.show();
    QWidget menu(&sheet, Qt::Popup);
    EXPECT_FALSE(InputGuard::takesInput(window));
    EXPECT_TRUE(InputGuard::takesInput(sheet));
    EXPECT_TRUE(InputGuard::takesInput(menu)) << "which the sheet opened";
    sheet.hide();
    EXPECT_TRUE(InputGuard::takesInput(window));
}

TEST_F(WidgetLongWorkTest, WhatOtherThreadsDoIsCancelledInThePanel) {
    std::atomic<bool> wasFinished = true;
    std::jthread thread([&]() { wasFinished = m_work.run("Working", waitForStop); });
    ASSERT_TRUE(QTest::qWaitFor([this]() { return !m_activities.isIdle(); }, patience));
    m_activities.cancelAll();
    ASSERT_TRUE(QTest::qWaitFor([this]() { return m_activities.isIdle(); }, patience));
    thread.join();
    EXPECT_FALSE(wasFinished);
}

TEST_F(WidgetLongWorkTest, AnExceptionComesBack) {
    EXPECT_THROW(static_cast<void>(m_work.run(
                     "", [](const std::stop_token&) { throw std::runtime_error("no"); })),
                 std::runtime_error);
}

TEST(WidgetProgressSheet, TellsHowFarItIsWithoutPaintingEveryPage) {
    QWidget window;
    window.show();
    WidgetProgressSheet sheet(window, []() {});
    constexpr int pages = 10'000;
    sheet.begin(pages);
    auto* const bar = window.findChild<QProgressBar*>();
    ASSERT_NE(bar, nullptr);
    const QSignalSpy values(bar, &QProgressBar::valueChanged);

    for (int page = 0; page < pages; ++page) {
        sheet.setValue(static_cast<std::size_t>(page));
    }

    EXPECT_LT(values.count(), 10) << "so many at once cannot be seen";
    EXPECT_TRUE(QTest::qWaitFor([bar]() { return bar->value() == pages - 1; }, patience));
    sheet.end();
}

TEST(WidgetProgressSheet, IsCancelledByEscapeButNotByAKeyTooMuch) {
    QWidget window;
    window.show();
    int cancels = 0;
    WidgetProgressSheet sheet(window, [&cancels]() { ++cancels; });
    sheet.begin(3);
    QWidget* const dialog = QApplication::activeModalWidget();
    ASSERT_NE(dialog, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog, patience));
    for (const Qt::Key key : {Qt::Key_Return, Qt::Key_Enter, Qt::Key_Space}) {
        QTest::keyClick(dialog->focusWidget(), key);
    }
    EXPECT_EQ(cancels, 0);
    QTest::keyClick(dialog->focusWidget(), Qt::Key_Tab);
    auto* const button = qobject_cast<QPushButton*>(dialog->focusWidget());
    ASSERT_NE(button, nullptr) << "Tab leads to the button";
    QTest::keyClick(button, Qt::Key_Space);
    EXPECT_EQ(cancels, 1);
    sheet.end();
}

TEST(WidgetProgressSheet, StaysUntilItHasTheKeysToGiveBack) {
    QWidget window;
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window, patience));
    WidgetProgressSheet sheet(window, []() {});
    sheet.begin(1);
    QWidget* const dialog = QApplication::activeModalWidget();
    ASSERT_NE(dialog, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog, patience));
    QApplication::setActiveWindow(nullptr); // as where the keys are still on their way
    sheet.end();
    QCoreApplication::processEvents();
    EXPECT_TRUE(dialog->isVisible());
    dialog->activateWindow();
    EXPECT_TRUE(QTest::qWaitFor([&]() { return !dialog->isVisible(); }, patience));
    EXPECT_TRUE(QTest::qWaitForWindowActive(&window, patience));
}

TEST(WidgetProgressSheet, GoesWithoutTheKeysToo) {
    QWidget window;
    window.show();
    WidgetProgressSheet sheet(window, []() {});
    sheet.begin(1);
    QWidget* const dialog = QApplication::activeModalWidget();
    ASSERT_NE(dialog, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog, patience));
    QApplication::setActiveWindow(nullptr);
    sheet.end();
    EXPECT_TRUE(QTest::qWaitFor([&]() { return !dialog->isVisible(); }, patience));
}

TEST(WidgetSheet, IsMadeWhenItIsFirstShownAndEndsWithItsModalRun) {
    QWidget window;
    window.show();
    int made = 0;
    WidgetSheet sheet({[&]() {
                           ++made;
                           return std::make_unique<QDialog>(&window).release();
                       },
                       {},
                       {}});
    sheet.stopModal(); // nothing is running
    for (int run = 0; run < 2; ++run) {
        QTimer::singleShot(0, &window, [&sheet]() {
            sheet.stopModal();
            sheet.orderOut();
        });
        sheet.runModal();
    }
    EXPECT_EQ(made, 1);
}

TEST(WidgetSheet, EndsWhenItIsClosed) {
    QWidget window;
    window.show();
    QDialog* dialog = nullptr;
    WidgetSheet sheet({[&]() {
                           dialog = std::make_unique<QDialog>(&window).release();
                           return dialog;
                       },
                       {},
                       {}});
    QTimer::singleShot(0, &window, [&dialog]() { dialog->close(); });
    sheet.runModal();
    EXPECT_FALSE(dialog->isVisible());
}

} // namespace
} // namespace quillorn
