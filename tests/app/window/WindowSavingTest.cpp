#include "tests/app/window/WindowFixture.h"

#include "platform/pdf/PDFSource.h"

#include <QApplication>
#include <QLabel>
#include <QLineEdit>
#include <QTest>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quillorn::tests {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class WindowSavingTest : public WindowFixture {
protected:
    /// Opens the save sheet and confirms it.
    void save() {
        whenShown("saveToPDFWindow", [](QDialog& dialog) { click(dialog, "confirm"); });
        QTest::keyClick(&window(), Qt::Key_S, Qt::ControlModifier);
    }
    /// Two output groups, of two pages and of none.
    void compose() {
        open({pdf("a.pdf", 2)});
        addAllToOutput();
        program().output().getGroupName("Empty.pdf");
    }
    [[nodiscard]] static std::size_t pageCount(const std::filesystem::path& file) {
        const auto source = PDFSource::open(file);
        return source ? (*source)->pageCount() : 0;
    }
};

TEST_F(WindowSavingTest, EveryGroupBecomesAFileAndTheFolderIsShown) {
    start();
    compose();
    save();
    EXPECT_EQ(pageCount(outputFolder / "Untitled.pdf"), 2U);
    EXPECT_EQ(pageCount(outputFolder / "Empty.pdf"), 1U) << "one blank page";
    waitFor("the file manager", [this]() { return !openedByDesktop().empty(); });
    EXPECT_THAT(openedByDesktop(), ElementsAre(outputFolder.string()));
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
    waitFor("the title's star goes", [this]() { return !window().isWindowModified(); });
}

TEST_F(WindowSavingTest, TheSheetTellsWhatIsWrittenAndWhatIsReplaced) {
    start();
    compose();
    writeFile(outputFolder / "Empty.pdf", "older");
    std::string names;
    std::string replaced;
    std::string folder;
    whenShown("saveToPDFWindow", [&](QDialog& dialog) {
        names = dialog.findChild<QLabel*>(QStringLiteral("names"))->text().toStdString();
        replaced = dialog.findChild<QLabel*>(QStringLiteral("replaced"))->text().toStdString();
        folder =
            dialog.findChild<QAbstractButton*>(QStringLiteral("folder"))->toolTip().toStdString();
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    menus().save.action.trigger();
    EXPECT_EQ(names, "2 PDFs will be written:\nUntitled.pdf\nEmpty.pdf");
    EXPECT_EQ(replaced, "One file of that name is there already and is replaced.");
    EXPECT_EQ(folder, outputFolder.string());
    EXPECT_EQ(readFile(outputFolder / "Empty.pdf"), "older") << "cancelled";
}

TEST_F(WindowSavingTest, TheFolderIsChosenInTheSheet) {
    start();
    compose();
    const std::filesystem::path chosen = folders / "chosen";
    std::filesystem::create_directory(chosen);
    whenShown("saveToPDFWindow", [](QDialog& dialog) { click(dialog, "folder"); });
    whenShown("openPanel", [chosen](QDialog& dialog) {
        auto* const name = dialog.findChild<QLineEdit*>(QStringLiteral("fileNameEdit"));
        name->setText(QString::fromStdString(chosen.string()));
        dialog.accept();
    });
    whenShown("saveToPDFWindow", [](QDialog& dialog) { click(dialog, "confirm"); });
    menus().save.action.trigger();
    EXPECT_EQ(pageCount(chosen / "Untitled.pdf"), 2U);
    EXPECT_THAT(namesIn(outputFolder), IsEmpty());
}

TEST_F(WindowSavingTest, ARememberedFolderIsUsed) {
    preferencesAtStart["SaveFilePlace"] = (folders / "remembered").string();
    start();
    compose();
    save();
    EXPECT_EQ(pageCount(folders / "remembered" / "Untitled.pdf"), 2U);
}

TEST_F(WindowSavingTest, AFileThatCannotBeWrittenIsToldOf) {
    start();
    compose();
    std::filesystem::create_directory(outputFolder / "Untitled.pdf");
    save();
    EXPECT_THAT(window().messageLine().messages().join(QLatin1Char('\n')).toStdString(),
                HasSubstr("Untitled.pdf was not written: "));
    EXPECT_EQ(pageCount(outputFolder / "Empty.pdf"), 1U) << "the others are";
}

TEST_F(WindowSavingTest, ClosingAtOnceAsks) {
    start();
    std::string text;
    answerAlert("No", &text);
    EXPECT_FALSE(window().close());
    EXPECT_EQ(text, "Information: You have not saved, do you want to exit the application ?");
    EXPECT_TRUE(window().isVisible());
    EXPECT_TRUE(std::filesystem::exists(cache / "blank.pdf"));
    answerAlert("Yes");
    EXPECT_TRUE(window().close());
    EXPECT_FALSE(std::filesystem::exists(cache));
}

TEST_F(WindowSavingTest, EscapeKeepsTheWindowOpen) {
    start();
    whenShown("alert", [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Escape); });
    EXPECT_FALSE(window().close());
    EXPECT_TRUE(window().isVisible());
}

TEST_F(WindowSavingTest, ASavedWindowClosesWithoutAQuestion) {
    start();
    compose();
    save();
    waitFor("the save ends", [this]() { return !window().isWindowModified(); });
    window().activateWindow(); // no window manager does that here when the sheets are gone
    waitFor("the window is active", [this]() { return window().isActiveWindow(); });
    QTest::keyClick(&window(), Qt::Key_Q, Qt::ControlModifier);
    waitFor("the window closes", [this]() { return !window().isVisible(); });
    EXPECT_FALSE(std::filesystem::exists(cache));
}

TEST_F(WindowSavingTest, AChangeAfterASaveIsAskedFor) {
    start();
    compose();
    save();
    addAllToOutput();
    answerAlert("No");
    EXPECT_FALSE(window().close());
}

TEST_F(WindowSavingTest, TheProgramEndsWhileFilesComeIn) {
    start();
    Texts many;
    for (int i = 0; i < 20; ++i) {
        many.push_back(picture(std::to_string(i) + ".png"));
    }
    program().openFiles(many);
    answerAlert("Yes");
    EXPECT_TRUE(window().close());
    stop();
}

} // namespace
} // namespace quillorn::tests
