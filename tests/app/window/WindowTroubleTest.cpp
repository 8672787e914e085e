#include "tests/app/window/WindowFixture.h"

#include <QAction>
#include <QApplication>
#include <QImage>
#include <QLabel>
#include <QPalette>
#include <QTest>
#include <QToolButton>
#include <QWindow>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;

/// What goes wrong, or comes at a bad time.
class WindowTroubleTest : public WindowFixture {
protected:
    [[nodiscard]] bool wasTold(const std::string& text) {
        return window().messageLine().messages().join(QLatin1Char('\n')).toStdString().find(text) !=
               std::string::npos;
    }
};

TEST_F(WindowTroubleTest, ALockedFileThatComesWhileAPasswordIsTypedIsAskedAboutNext) {
    start();
    const Texts locked = {lockedPDF("one.pdf"), lockedPDF("two.pdf")};
    Texts asked(2);
    answerAlert("OK", &asked[0]);
    whenShown("passwordWindow", [this, &locked](QDialog& dialog) {
        program().openFiles({locked[1]});
        waitFor("the second file", [this]() { return wasTold("two.pdf needs a password"); });
        type(dialog, "passwordText", "owner");
        click(dialog, "confirm");
    });
    answerAlert("OK", &asked[1]);
    whenShown("passwordWindow", [](QDialog& dialog) {
        type(dialog, "passwordText", "owner");
        click(dialog, "confirm");
    });
    program().openFiles({locked[0]});
    waitFor("both files", [this]() { return sourceTitles().size() == 2 && allShown(); });
    EXPECT_THAT(sourceTitles(), ElementsAre("one.pdf", "two.pdf"));
    EXPECT_EQ(asked[0],
              "Infomation !: one.pdf has been encrypted,do you want to enter a password?");
    EXPECT_EQ(asked[1],
              "Infomation !: two.pdf has been encrypted,do you want to enter a password?");
    waitFor("no window is left", []() { return QApplication::activeModalWidget() == nullptr; });
}

TEST_F(WindowTroubleTest, ALockedFileOfADropIsAskedAboutAfterIt) {
    start();
    answerAlert("OK");
    whenShown("passwordWindow", [this](QDialog& dialog) {
        EXPECT_THAT(sourceTitles(), ElementsAre("last.pdf"));
        type(dialog, "passwordText", "owner");
        click(dialog, "confirm");
    });
    dropFiles(sourceBrowser(), {lockedPDF("one.pdf"), pdf("last.pdf", 1)});
    waitFor("the answers", [this]() { return allShown() && sourceTitles().size() == 2; });
    EXPECT_THAT(sourceTitles(), ElementsAre("last.pdf", "one.pdf"));
    waitFor("no window is left", []() { return QApplication::activeModalWidget() == nullptr; });
}

TEST_F(WindowTroubleTest, CancelBetweenTwoQuickFilesEndsTheList) {
    start();
    Texts many;
    for (int i = 0; i < 20; ++i) {
        many.push_back(pdf(std::to_string(i) + ".pdf", 1));
    }
    // A file has just been shown, and the next one has not begun.
    sourceBrowser().setReloaded([this]() {
        if (sourceTitles().size() == 3) {
            window().activities().cancelAll();
        }
    });
    program().openFiles(many);
    waitFor("the end of the list",
            [this]() { return sourceTitles().size() == 20 || wasTold("files were not read"); });
    EXPECT_LT(sourceTitles().size(), 6U);
    EXPECT_TRUE(wasTold("Cancelled. "));
    waitFor("nothing goes on", [this]() { return window().activities().isIdle(); });
}

TEST_F(WindowTroubleTest, APlaceholderIsNotCopied) {
    start();
    open({pdf("a.pdf", 2)});
    addAllToOutput();
    program().output().getGroupName("Empty.pdf");
    outputBrowser().setFocus();
    outputBrowser().setSelectionIndexes({2}, false); // the placeholder
    EXPECT_FALSE(menus().copyPages.isEnabled());
    outputBrowser().setSelectionIndexes({1, 2}, false);
    EXPECT_TRUE(menus().copyPages.isEnabled());
    menus().copyPages.trigger();
    outputBrowser().setSelectionIndexes({2}, false);
    menus().pastePages.trigger();
    EXPECT_THAT(pagesOf(1), ElementsAre("2-a"));
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "2-a"));
}

TEST_F(WindowTroubleTest, WhatAConversionWritesLateDoesNotStay) {
    start();
    answerAlert("Yes");
    ASSERT_TRUE(window().close());
    EXPECT_FALSE(std::filesystem::exists(cache));
    std::filesystem::create_directories(cache);
    writeFile(cache / "late.png", "written by a thread that had not ended");
    stop();
    EXPECT_FALSE(std::filesystem::exists(cache));
}

TEST_F(WindowTroubleTest, TheTitleShowsNamesAsTheyAre) {
    start();
    program().output().getGroupName("100%2 [*].pdf");
    program().output().getGroupName("b.pdf");
    waitFor("the title", [this]() { return window().isWindowModified(); });
    EXPECT_EQ(window().windowHandle()->title().toStdString(),
              "100%2 [*].pdf and 1 more* – Quillorn Folivane");
}

TEST_F(WindowTroubleTest, ControlCharactersInNamesAreShownAsSigns) {
    start();
    // A line break, and what makes the letters after it run from right to left.
    const std::string file = pdf("two\nlines \u202Efdp.pdf", 1);
    open({file});
    const QString shown = QStringLiteral("two\u240Alines \uFFFDfdp.pdf");
    EXPECT_EQ(sourceBrowser().groupTitle(0).toStdString(), shown.toStdString());
    std::string text;
    answerAlert("OK", &text);
    dropFiles(sourceBrowser(), {file});
    EXPECT_EQ(text, "Infomation: " + shown.toStdString() + " already exists!");
    program().output().getGroupName("two\nlines.pdf");
    waitFor("the title", [this]() { return window().isWindowModified(); });
    EXPECT_EQ(window().windowHandle()->title().toStdString(),
              "two\u240Alines.pdf* – Quillorn Folivane");
}

/// How light the drawn part of a picture is, from 0 to 1.
double lightnessOf(const QImage& picture) {
    double sum = 0;
    double weight = 0;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            const QColor color = picture.pixelColor(x, y);
            sum += color.alphaF() * color.lightnessF();
            weight += color.alphaF();
        }
    }
    return weight > 0 ? sum / weight : 0;
}

TEST_F(WindowTroubleTest, ArrowsToWhatHasNoRoomAreSeenInADarkTheme) {
    const QPalette before = QApplication::palette();
    QPalette dark(QColor(49, 54, 59), QColor(42, 46, 50));
    dark.setColor(QPalette::ButtonText, Qt::white);
    QApplication::setPalette(dark);
    start();
    open({pdf("a.pdf", 1)});
    window().resize(250, 300);
    for (const char* const name : {"qt_toolbar_ext_button", "qt_menubar_ext_button"}) {
        auto* const button = window().findChild<QToolButton*>(QLatin1String(name));
        ASSERT_NE(button, nullptr) << name;
        waitFor(name, [button]() { return button->isVisible(); });
        EXPECT_GT(lightnessOf(button->icon().pixmap(16, 16).toImage()), 0.7) << name;
    }
    QApplication::setPalette(before);
}

TEST_F(WindowTroubleTest, TheSummariesOfPanesAreSeenInADarkTheme) {
    const QPalette before = QApplication::palette();
    QPalette dark(QColor(49, 54, 59), QColor(42, 46, 50));
    dark.setColor(QPalette::WindowText, Qt::white);
    dark.setColor(QPalette::PlaceholderText, QColor(0, 0, 0, 128)); // as some desktops leave it
    QApplication::setPalette(dark);
    start();
    open({pdf("a.pdf", 1)});
    QLabel* summary = nullptr;
    waitFor("the summary", [this, &summary]() {
        for (QLabel* const label : window().sourcePane().findChildren<QLabel*>()) {
            if (label->text() == QStringLiteral("1 file, 1 page")) {
                summary = label;
            }
        }
        return summary != nullptr;
    });
    ASSERT_NE(summary, nullptr);
    const QColor color = summary->palette().color(summary->foregroundRole());
    EXPECT_GT(color.lightnessF() * color.alphaF(), 0.5);
    QApplication::setPalette(before);
}

TEST_F(WindowTroubleTest, TheLeastWindowHasRoomForTheTitlesOfItsPanes) {
    start();
    open({pdf("a.pdf", 1)});
    window().resize(250, 300);
    waitFor("the panes", [this]() { return window().outputPane().width() < 130; });
    for (PaneView* const pane : {&window().sourcePane(), &window().outputPane()}) {
        auto* const title = pane->findChild<QLabel*>();
        ASSERT_NE(title, nullptr);
        EXPECT_GE(title->width(), title->sizeHint().width()) << title->text().toStdString();
    }
}

TEST_F(WindowTroubleTest, TheSaveSheetIsConfirmedByTheKeyThatItStartsWith) {
    start();
    open({pdf("a.pdf", 1)});
    addAllToOutput();
    whenShown("saveToPDFWindow", [](QDialog& dialog) {
        ASSERT_NE(dialog.focusWidget(), nullptr);
        EXPECT_EQ(dialog.focusWidget()->objectName(), QStringLiteral("confirm"));
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    menus().save.action.trigger();
}

} // namespace
} // namespace quillorn::tests
