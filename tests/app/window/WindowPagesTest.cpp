#include "tests/app/window/WindowFixture.h"

#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QTest>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class WindowPagesTest : public WindowFixture {
protected:
    /// Drags what is selected with the mouse, from an item of a browser to a place in another.
    void dragWithMouse(PaneBrowser& from, std::size_t item, PaneBrowser& to, QPoint place) {
        bool wasDragged = false;
        from.setDragRunner([&wasDragged, &to, place](QDrag& drag) {
            wasDragged = true;
            QDragEnterEvent enter(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
            QApplication::sendEvent(to.viewport(), &enter);
            bool isWelcome = false;
            for (int i = 0; i < 2; ++i) {
                QDragMoveEvent move(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
                QApplication::sendEvent(to.viewport(), &move);
                isWelcome = move.isAccepted();
            }
            EXPECT_TRUE(isWelcome);
            QDropEvent drop(place, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
            QApplication::sendEvent(to.viewport(), &drop);
        });
        const QPoint start = middleOf(from, item);
        QTest::mousePress(from.viewport(), Qt::LeftButton, {}, start);
        const QPoint pulled = start + QPoint(3 * QApplication::startDragDistance(), 0);
        QMouseEvent move(QEvent::MouseMove, pulled, from.viewport()->mapToGlobal(pulled),
                         Qt::NoButton, Qt::LeftButton, {});
        QApplication::sendEvent(from.viewport(), &move);
        QTest::mouseRelease(from.viewport(), Qt::LeftButton, {}, pulled);
        from.setDragRunner({});
        EXPECT_TRUE(wasDragged);
    }

    /// A place right of an item, where what is dropped goes behind it.
    static QPoint behind(PaneBrowser& browser, std::size_t item) {
        const QRect cell = browser.viewportRect(browser.layoutOfItems().itemRect(item));
        return {cell.right() + 2, cell.center().y()};
    }
};

TEST_F(WindowPagesTest, PagesAreDraggedAcross) {
    start();
    open({pdf("a.pdf", 3)});
    sourceBrowser().setSelectionIndexes({0, 2}, false);
    dragWithMouse(sourceBrowser(), 2, outputBrowser(), outputBrowser().viewport()->rect().center());
    EXPECT_THAT(outputTitles(), ElementsAre("Untitled.pdf"));
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "3-a"));
    EXPECT_EQ(program().source().images().size(), 3U) << "they stay on the left, too";
}

TEST_F(WindowPagesTest, PagesAreReorderedWithTheMouse) {
    start();
    open({pdf("a.pdf", 3)});
    addAllToOutput();
    outputBrowser().setSelectionIndexes({0}, false);
    dragWithMouse(outputBrowser(), 0, outputBrowser(), behind(outputBrowser(), 2));
    EXPECT_THAT(pagesOf(0), ElementsAre("2-a", "3-a", "1-a"));
}

TEST_F(WindowPagesTest, EnterAddsPagesToTheOutput) {
    start();
    open({pdf("a.pdf", 3)});
    sourceBrowser().setFocus();
    QTest::keyClick(&sourceBrowser(), Qt::Key_A, Qt::ControlModifier);
    QTest::keyClick(&sourceBrowser(), Qt::Key_Return);
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "2-a", "3-a"));
    EXPECT_EQ(outputBrowser().selectionIndexes(), (IndexSet{0, 1, 2}));
}

TEST_F(WindowPagesTest, WhatIsAddedFollowsWhatIsSelected) {
    start();
    open({pdf("a.pdf", 3)});
    addAllToOutput();
    outputBrowser().setSelectionIndexes({0}, false);
    sourceBrowser().setSelectionIndexes({2}, false);
    menus().addToOutput.trigger();
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "3-a", "2-a", "3-a"));
    EXPECT_EQ(outputBrowser().selectionIndexes(), IndexSet{1});
    sourceBrowser().setSelectionIndexes({1}, false);
    menus().addToOutput.trigger();
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "3-a", "2-a", "2-a", "3-a"));
}

TEST_F(WindowPagesTest, PagesAreAddedToANewGroup) {
    start();
    open({pdf("a.pdf", 2)});
    addAllToOutput();
    whenShown("groupNameWindow", [](QDialog& dialog) { click(dialog, "confirm"); });
    sourceBrowser().setSelectionIndexes({1}, false);
    menus().addToNewGroup.trigger();
    EXPECT_THAT(outputTitles(), ElementsAre("Untitled.pdf", "Untitled 2.pdf"));
    EXPECT_THAT(pagesOf(1), ElementsAre("2-a"));
}

TEST_F(WindowPagesTest, PagesAreCopiedFromOneGroupToAnotherWithKeys) {
    start();
    open({pdf("a.pdf", 2)});
    addAllToOutput();
    program().output().getGroupName("Second.pdf");
    outputBrowser().setFocus();
    outputBrowser().setSelectionIndexes({0}, false);
    QTest::keyClick(&outputBrowser(), Qt::Key_C, Qt::ControlModifier);
    outputBrowser().setSelectionIndexes({2}, false); // the empty group's placeholder
    QTest::keyClick(&outputBrowser(), Qt::Key_V, Qt::ControlModifier);
    EXPECT_THAT(pagesOf(1), ElementsAre("1-a"));
}

TEST_F(WindowPagesTest, AltWithArrowsMovesPages) {
    start();
    open({pdf("a.pdf", 4)});
    addAllToOutput();
    outputBrowser().setFocus();
    outputBrowser().setSelectionIndexes({1, 2}, false);
    QTest::keyClick(&outputBrowser(), Qt::Key_Right, Qt::AltModifier);
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "4-a", "2-a", "3-a"));
    EXPECT_EQ(outputBrowser().selectionIndexes(), (IndexSet{2, 3}));
    QTest::keyClick(&outputBrowser(), Qt::Key_Right, Qt::AltModifier);
    EXPECT_THAT(pagesOf(0), ElementsAre("1-a", "4-a", "2-a", "3-a")) << "they are at the end";
    for (int i = 0; i < 3; ++i) {
        QTest::keyClick(&outputBrowser(), Qt::Key_Left, Qt::AltModifier);
    }
    EXPECT_THAT(pagesOf(0), ElementsAre("2-a", "3-a", "1-a", "4-a"));
    EXPECT_EQ(outputBrowser().selectionIndexes(), (IndexSet{0, 1}));
}

TEST_F(WindowPagesTest, MovingWithKeysStaysInItsGroup) {
    start();
    open({pdf("a.pdf", 2)});
    program().output().getGroupName("Empty.pdf");
    program().output().getGroupName("Second.pdf");
    outputBrowser().setSelectionIndexes({1}, false);
    addAllToOutput();
    outputBrowser().setSelectionIndexes({2}, false);
    menus().moveEarlier.trigger();
    EXPECT_THAT(pagesOf(0), IsEmpty());
    EXPECT_THAT(pagesOf(1), ElementsAre("2-a", "1-a"));
    menus().moveEarlier.trigger();
    EXPECT_THAT(pagesOf(1), ElementsAre("2-a", "1-a")) << "no page leaves its group";
}

TEST_F(WindowPagesTest, PagesAreTurned) {
    start();
    open({pdf("a.pdf", 2)});
    addAllToOutput();
    outputBrowser().setFocus();
    outputBrowser().setSelectionIndexes({1}, false);
    QTest::keyClick(&outputBrowser(), Qt::Key_R, Qt::ControlModifier);
    const auto& document = *program().output().PDFArray()[0];
    EXPECT_EQ(document.pageAtIndex(0)->rotation(), 0);
    EXPECT_EQ(document.pageAtIndex(1)->rotation(), 90);
    EXPECT_EQ(outputBrowser().selectionIndexes(), IndexSet{1});
    QTest::keyClick(&outputBrowser(), Qt::Key_R, Qt::ControlModifier | Qt::ShiftModifier);
    EXPECT_EQ(document.pageAtIndex(1)->rotation() % 360, 0);
}

TEST_F(WindowPagesTest, DeleteDeletesPagesOfTheOutputOnly) {
    start();
    open({pdf("a.pdf", 3)});
    addAllToOutput();
    outputBrowser().setSelectionIndexes({0, 1}, false);
    sourceBrowser().setFocus();
    QTest::keyClick(&sourceBrowser(), Qt::Key_Delete);
    EXPECT_EQ(pagesOf(0).size(), 3U) << "the keys are in the source pane";
    EXPECT_EQ(program().source().images().size(), 3U);
    outputBrowser().setFocus();
    QTest::keyClick(&outputBrowser(), Qt::Key_Delete);
    EXPECT_THAT(pagesOf(0), ElementsAre("3-a"));
}

TEST_F(WindowPagesTest, AGroupGetsItsNameInASheet) {
    start();
    whenShown("groupNameWindow", [](QDialog& dialog) {
        type(dialog, "name", "Report");
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    QTest::keyClick(&window(), Qt::Key_N, Qt::ControlModifier);
    EXPECT_THAT(outputTitles(), ElementsAre("Report.pdf"));
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(WindowPagesTest, ANameOfAnotherFormatIsRefusedAndTheSheetCloses) {
    start();
    std::string text;
    whenShown("groupNameWindow", [](QDialog& dialog) {
        type(dialog, "name", "Report");
        type(dialog, "extension", ".txt");
        click(dialog, "confirm");
    });
    answerAlert("OK", &text);
    menus().newGroup.trigger();
    EXPECT_EQ(text, "Infomation: Report.txt is not of a supported format.");
    EXPECT_THAT(outputTitles(), IsEmpty());
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}

TEST_F(WindowPagesTest, AGroupIsRenamed) {
    start();
    open({pdf("a.pdf", 1)});
    addAllToOutput();
    outputBrowser().setSelectionIndexes({0}, false);
    whenShown("changeNameWindow", [](QDialog& dialog) {
        EXPECT_EQ(dialog.findChild<QLineEdit*>(QStringLiteral("name"))->text(),
                  QStringLiteral("Untitled"));
        type(dialog, "name", "Letter");
        click(dialog, "confirm");
    });
    QTest::keyClick(&window(), Qt::Key_F2);
    EXPECT_THAT(outputTitles(), ElementsAre("Letter.pdf"));
    waitFor("the title", [this]() {
        return window().windowTitle() == QStringLiteral("Letter.pdf[*] – Quillorn Folivane");
    });
    EXPECT_TRUE(window().isWindowModified());
}

TEST_F(WindowPagesTest, ARefusedNewNameLeavesTheSheetOpen) {
    start();
    open({pdf("a.pdf", 1)});
    addAllToOutput();
    outputBrowser().setSelectionIndexes({0}, false);
    std::string text;
    whenShown("changeNameWindow", [](QDialog& dialog) { click(dialog, "confirm"); });
    answerAlert("OK", &text);
    whenShown("changeNameWindow",
              [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    menus().changePDFName.action.trigger();
    EXPECT_EQ(text, "Infomation: Untitled.pdf already exists.");
    EXPECT_THAT(outputTitles(), ElementsAre("Untitled.pdf"));
}

TEST_F(WindowPagesTest, CommandsFollowTheSelection) {
    start();
    open({pdf("a.pdf", 2)});
    for (const QAction* const action :
         {&menus().rotateRight.action, &menus().deletePdfPage.action, &menus().moveLater,
          &menus().changePDFName.action, &menus().addToOutput, &menus().pastePages}) {
        EXPECT_FALSE(action->isEnabled()) << action->text().toStdString();
    }
    addAllToOutput();
    EXPECT_TRUE(menus().addToOutput.isEnabled());
    EXPECT_TRUE(menus().pastePages.isEnabled());
    outputBrowser().setSelectionIndexes({1}, false);
    for (const QAction* const action : {&menus().rotateRight.action, &menus().deletePdfPage.action,
                                        &menus().moveLater, &menus().changePDFName.action}) {
        EXPECT_TRUE(action->isEnabled()) << action->text().toStdString();
    }
}

} // namespace
} // namespace quillorn::tests
