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
