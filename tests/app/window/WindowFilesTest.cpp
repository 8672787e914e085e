#include "tests/app/window/WindowFixture.h"
#include "tests/fakes/PDFContents.h"
#include "tests/fakes/TestPDF.h"
#include "tests/fakes/TestServer.h"

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QTest>
#include <QToolBar>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class WindowFilesTest : public WindowFixture {
protected:
    /// What the user does in a file panel: types names and confirms.
    void chooseFiles(const Texts& paths) {
        whenShown("openPanel", [paths](QDialog& dialog) {
            QStringList names;
            for (const std::string& path : paths) {
                names.append(QLatin1Char('"') + QString::fromStdString(path) + QLatin1Char('"'));
            }
            auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
            ASSERT_NE(name, nullptr);
            name->setText(names.join(QLatin1Char(' ')));
            dialog.accept();
        });
    }
};

TEST_F(WindowFilesTest, TheWindowStartsEmptyAndSmall) {
    start();
    EXPECT_EQ(window().size(), QSize(400, 400));
    EXPECT_EQ(window().minimumSize(), QSize(250, 300));
    EXPECT_EQ(window().outputPane().width(), 0) << "the source pane has the window to itself";
    EXPECT_EQ(window().findChild<QToolBar*>(), nullptr);
    EXPECT_FALSE(menus().save.action.isVisible());
    EXPECT_EQ(menus().about.action.text(), QStringLiteral("About Quillorn Folivane"));
    EXPECT_TRUE(std::filesystem::exists(cache / "blank.pdf"));
    EXPECT_TRUE(std::filesystem::is_directory(outputFolder));
}

TEST_F(WindowFilesTest, TheWindowShrinksToItsLeastSize) {
    start();
    open({pdf("a.pdf", 3)});
    window().resize(10, 10);
    EXPECT_EQ(window().size(), QSize(250, 300));
}

TEST_F(WindowFilesTest, TheFirstFileBringsTheWorkingSizeAndTheToolbar) {
    start();
    open({pdf("a.pdf", 3)});
    const QRect screen = window().screen()->availableGeometry();
    const QRect frame = window().frameGeometry();
    const QSize decoration = frame.size() - window().size();
    EXPECT_EQ(window().size(), QSize(810, 810).boundedTo(screen.size() - decoration));
    EXPECT_TRUE(screen.contains(frame)) << "the screen has room for all of it";
    waitFor("both panes have room", [this]() { return window().outputPane().width() > 300; });
    auto* const toolbar = window().findChild<QToolBar*>();
    ASSERT_NE(toolbar, nullptr);
    waitFor("the toolbar", [toolbar]() { return toolbar->isVisible(); });
    for (const char* const name : {"btnOpenPDFFiles", "btnAddNewGroup", "btnSave"}) {
        waitFor(name, [this, name]() {
            return window().findChild<QToolButton*>(QLatin1String(name))->isVisible();
        });
    }
}

TEST_F(WindowFilesTest, AHiddenToolbarStaysHiddenInTheNextRun) {
    start();
    open({pdf("a.pdf", 3)});
    QToolBar* const shown = window().findChild<QToolBar*>();
    ASSERT_NE(shown, nullptr);
    waitFor("the toolbar", [shown]() { return shown->toggleViewAction()->isChecked(); });
    shown->toggleViewAction()->trigger();
    answerAlert("Yes");
    ASSERT_TRUE(window().close());
    preferencesAtStart = preferencesNow();
    stop();
    start();
    open({(files / "a.pdf").string()});
    QToolBar* const next = window().findChild<QToolBar*>();
    ASSERT_NE(next, nullptr);
    EXPECT_FALSE(next->isVisible());
    EXPECT_TRUE(menus().view.actions().contains(next->toggleViewAction()));
}

TEST_F(WindowFilesTest, FilesOfThePanelBecomeGroups) {
    start();
    chooseFiles({pdf("a.pdf", 3), picture("b.png")});
    menus().addFiles.trigger();
    waitFor("both files", [this]() { return sourceTitles().size() == 2; });
    EXPECT_THAT(sourceTitles(), ElementsAre("a.pdf", "b.png"));
    EXPECT_EQ(program().source().images().size(), 4U);
}

TEST_F(WindowFilesTest, CancellingThePanelChangesNothing) {
    start();
    whenShown("openPanel", [](QDialog& dialog) { dialog.reject(); });
    QTest::keyClick(&window(), Qt::Key_O, Qt::ControlModifier);
    waitFor("the panel", [this]() { return allShown(); });
    EXPECT_THAT(sourceTitles(), IsEmpty());
}

TEST_F(WindowFilesTest, TheImportPanelOffersWebPagesAndDocuments) {
    start();
    QStringList filters;
    whenShown("openPanel", [&filters](QDialog& dialog) {
        filters = static_cast<QFileDialog&>(dialog).nameFilters();
        dialog.reject();
    });
    menus().importDocuments.trigger();
    waitFor("the panel", [this]() { return allShown(); });
    ASSERT_EQ(filters.size(), 1);
    for (const char* const pattern :
         {"*.html", "*.webarchive", "*.rtf", "*.docx", "*.txt", "*.pdf", "*.PDF"}) {
        EXPECT_THAT(filters.front().toStdString(), HasSubstr(pattern));
    }
}

TEST_F(WindowFilesTest, EachPanelIsTitledAsItsCommand) {
    start();
    Texts titles;
    const auto note = [&titles](QDialog& dialog) {
        titles.push_back(dialog.windowTitle().toStdString());
        dialog.reject();
    };
    whenShown("openPanel", note);
    menus().addFiles.trigger();
    waitFor("the panel", [this]() { return allShown(); });
    whenShown("openPanel", note);
    menus().importDocuments.trigger();
    waitFor("the other panel", [this]() { return allShown(); });
    EXPECT_THAT(titles, ElementsAre("Add Files", "Import Documents"));
}

TEST_F(WindowFilesTest, DroppedFilesBecomeGroups) {
    start();
    EXPECT_TRUE(dropFiles(sourceBrowser(), {picture("b.png"), pdf("a.pdf", 2)}));
    EXPECT_THAT(sourceTitles(), ElementsAre("b.png", "a.pdf"));
}

TEST_F(WindowFilesTest, ADropThatLeadsWithAWebPageIsRefused) {
    start();
    writeFile(files / "a.html", "<p>Hello</p>");
    EXPECT_FALSE(dropFiles(sourceBrowser(), {(files / "a.html").string(), pdf("a.pdf", 2)}));
    EXPECT_THAT(sourceTitles(), IsEmpty());
}

TEST_F(WindowFilesTest, WebPagesAskOtherMachinesWhereThatIsPreferred) {
    const TestServer server(
        [](const std::string&) { return TestServer::page("text/css", "p{color:red}"); });
    writeFile(files / "a.html", "<link rel=stylesheet href='" + server.url() + "/a.css'><p>Hello");
    start();
    open({(files / "a.html").string()});
    EXPECT_EQ(server.visitors(), 0);
    stop();
    preferencesAtStart["AllowRemote"] = "true";
    start();
    open({(files / "a.html").string()});
    EXPECT_GT(server.visitors(), 0); // the engine may connect more than once
}

TEST_F(WindowFilesTest, FilesCannotBeDroppedOnTheOutput) {
    start();
    open({pdf("a.pdf", 2)});
    EXPECT_FALSE(dropFiles(outputBrowser(), {pdf("b.pdf", 2)}));
    EXPECT_THAT(outputTitles(), IsEmpty());
}

TEST_F(WindowFilesTest, ADropEndsAtTheFirstFileOfNoLegalKind) {
    start();
    writeFile(files / "notes.xyz", "notes");
    std::string text;
    answerAlert("OK", &text);
    dropFiles(sourceBrowser(),
              {picture("photo.png"), (files / "notes.xyz").string(), pdf("a.pdf", 2)});
    EXPECT_THAT(sourceTitles(), ElementsAre("photo.png"));
    EXPECT_EQ(text, "Infomation: notes.xyz is not a legal file.");
}

TEST_F(WindowFilesTest, AFileThatIsGoneIsToldOf) {
    start();
    std::string text;
    answerAlert("OK", &text);
    program().openFiles({(files / "gone.pdf").string()});
    waitFor("the alert", [this]() { return allShown(); });
    EXPECT_EQ(text, "Infomation: gone.pdf is not a legal file.");
    EXPECT_THAT(window().messageLine().messages().join(QLatin1Char('\n')).toStdString(),
                HasSubstr("gone.pdf was not taken in: "));
}

TEST_F(WindowFilesTest, TheSameFileTwiceIsToldOf) {
    start();
    const std::string file = pdf("a.pdf", 2);
    open({file});
    std::string text;
    answerAlert("OK", &text);
    dropFiles(sourceBrowser(), {file});
    EXPECT_EQ(text, "Infomation: a.pdf already exists!");
    EXPECT_EQ(program().source().images().size(), 2U);
}

TEST_F(WindowFilesTest, ADroppedWordFileMayHaveABlankInItsNameAndStandsOnce) {
    const std::string file = (files / "Report Q1.doc").string();
    std::filesystem::copy_file(QUILLORN_TEST_DATA "/word/quarter.doc", file);
    start();
    EXPECT_TRUE(dropFiles(sourceBrowser(), {picture("b.png"), file}));
    waitFor("the document", [this]() { return sourceTitles().size() == 2; });
    EXPECT_THAT(sourceTitles(), ElementsAre("b.png", "Report Q1.doc"));
    EXPECT_THAT(pageTexts(cache / "Report Q1.doc"),
                ElementsAre(HasSubstr("Figures of the first quarter")));

    std::string text;
    answerAlert("OK", &text);
    dropFiles(sourceBrowser(), {picture("c.png"), file});
    waitFor("the alert", [this]() { return allShown(); });
    EXPECT_EQ(text, "Infomation: Report Q1.doc already exists!");
    EXPECT_THAT(sourceTitles(), ElementsAre("b.png", "Report Q1.doc", "c.png"));
    EXPECT_EQ(program().source().images().size(), 3U);
}

TEST_F(WindowFilesTest, ALockedFileOpensWithItsPassword) {
    start();
    std::string text;
    answerAlert("OK", &text);
    whenShown("passwordWindow", [](QDialog& dialog) {
        type(dialog, "passwordText", "owner");
        click(dialog, "confirm");
    });
    program().openFiles({lockedPDF("private.pdf")});
    waitFor("the file", [this]() { return !sourceTitles().empty(); });
    EXPECT_EQ(text,
              "Infomation !: private.pdf has been encrypted,do you want to enter a password?");
    EXPECT_THAT(sourceTitles(), ElementsAre("private.pdf"));
}

TEST_F(WindowFilesTest, AWrongPasswordIsToldOf) {
    start();
    answerAlert("OK");
    whenShown("passwordWindow", [](QDialog& dialog) {
        type(dialog, "passwordText", "user"); // opens it, but does not allow printing
        QTest::keyClick(&dialog, Qt::Key_Return);
    });
    std::string text;
    answerAlert("OK", &text);
    program().openFiles({lockedPDF("private.pdf")});
    waitFor("the answer", [this]() { return allShown(); });
    EXPECT_EQ(text, "Infomation: Password entered is incorrect!");
    EXPECT_THAT(sourceTitles(), IsEmpty());
}

TEST_F(WindowFilesTest, ThePasswordWindowCanBeLeft) {
    start();
    answerAlert("OK");
    whenShown("passwordWindow", [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    program().openFiles({lockedPDF("private.pdf")});
    waitFor("both windows", [this]() { return allShown(); });
    waitFor("no window is left", []() { return QApplication::activeModalWidget() == nullptr; });
    EXPECT_THAT(sourceTitles(), IsEmpty());
}

TEST_F(WindowFilesTest, ClosingTheOnlyFileEmptiesThePane) {
    start();
    open({pdf("a.pdf", 2)});
    EXPECT_FALSE(menus().close.isEnabled());
    sourceBrowser().setFocus();
    sourceBrowser().selectAll();
    EXPECT_TRUE(menus().close.isEnabled());
    QTest::keyClick(&sourceBrowser(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_THAT(sourceTitles(), IsEmpty());
    EXPECT_FALSE(menus().source.clearMenu.action.isEnabled());
}

TEST_F(WindowFilesTest, ZoomKeysActOnThePaneThatHasTheKeys) {
    start();
    open({pdf("a.pdf", 2)});
    addAllToOutput();
    const float before = outputBrowser().zoomValue();
    outputBrowser().setFocus();
    QTest::keyClick(&outputBrowser(), Qt::Key_Plus, Qt::ControlModifier);
    EXPECT_GT(outputBrowser().zoomValue(), before);
    EXPECT_EQ(sourceBrowser().zoomValue(), before);
    QTest::keyClick(&outputBrowser(), Qt::Key_Minus, Qt::ControlModifier);
    EXPECT_FLOAT_EQ(outputBrowser().zoomValue(), before);
    QTest::keyClick(&outputBrowser(), Qt::Key_F6);
    EXPECT_TRUE(sourceBrowser().hasFocus());
}

TEST_F(WindowFilesTest, TheSliderZoomsItsPane) {
    start();
    open({pdf("a.pdf", 2)});
    window().sourcePane().slider().setValue(1000);
    EXPECT_FLOAT_EQ(sourceBrowser().zoomValue(), 1.0F);
}

TEST_F(WindowFilesTest, HelpOpensTheManual) {
    start();
    QTest::keyClick(&window(), Qt::Key_F1);
    waitFor("the viewer", [this]() { return !openedByDesktop().empty(); });
    EXPECT_THAT(openedByDesktop(), ElementsAre(HasSubstr("Help.pdf")));
}

TEST_F(WindowFilesTest, AboutTellsTheVersion) {
    start();
    QStringList texts;
    whenShown("winAbout", [&texts](QDialog& dialog) {
        for (const QLabel* const label : dialog.findChildren<QLabel*>()) {
            texts.append(label->text());
        }
        dialog.close();
    });
    menus().about.action.trigger();
    EXPECT_TRUE(texts.contains(QStringLiteral("Quillorn Folivane")));
    EXPECT_TRUE(texts.contains(QStringLiteral("Version " QUILLORN_VERSION)));
}

} // namespace
} // namespace quillorn::tests
