#include "tests/app/window/TroubleFixture.h"

#include "tests/fakes/PDFContents.h"

#include <QAbstractButton>
#include <QApplication>
#include <QLineEdit>
#include <QMessageBox>
#include <QTest>
#include <QTimer>
#include <algorithm>
#include <utility>

namespace quillorn::tests {

namespace {

constexpr int lookEvery = 5; // milliseconds

} // namespace

void TroubleFixture::answerEverything(std::optional<std::string> password) {
    m_password = std::move(password);
    if (!std::exchange(m_isAnswering, true)) {
        lookForQuestions();
    }
}

void TroubleFixture::lookForQuestions() {
    // Each time a new timer: one whose slot waits in an inner event loop does not fire there.
    QTimer::singleShot(lookEvery, &m_user, [this]() { lookForQuestions(); });
    auto* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
    if (dialog == nullptr || !dialog->isVisible()) {
        return;
    }
    if (auto* const box = qobject_cast<QMessageBox*>(dialog)) {
        m_messages.push_back(box->windowTitle().toStdString() + ": " + box->text().toStdString());
        const bool asksForPassword = box->text().contains(QStringLiteral("has been encrypted"));
        if (asksForPassword && !m_password) {
            QTest::keyClick(box, Qt::Key_Escape);
        } else {
            QTest::keyClick(box, Qt::Key_Return);
        }
    } else if (dialog->objectName() == QStringLiteral("passwordWindow") && m_password) {
        // Set as pasted, since not every password can be typed here.
        dialog->findChild<QLineEdit*>(QStringLiteral("passwordText"))
            ->setText(QString::fromStdString(*m_password));
        click(*dialog, "confirm");
    }
}

std::string TroubleFixture::told() {
    return window().messageLine().messages().join(QLatin1Char('\n')).toStdString();
}

void TroubleFixture::offer(const Texts& paths) {
    // Files come in one after the other, so the last one stands for all.
    static int number = 0;
    const std::string last = pdf("last " + std::to_string(++number) + ".pdf", 1);
    Texts all = paths;
    all.push_back(last);
    program().openFiles(all);
    waitFor("the files", [this, &last]() {
        const Texts& names = program().source().pdfFilesName();
        return std::ranges::find(names, last) != names.end() &&
               program().source().pdfFileNumber() == 0 && window().activities().isIdle() &&
               QApplication::activeModalWidget() == nullptr;
    });
}

void TroubleFixture::group(const std::string& title, const std::string& name) {
    const auto& groups = program().source().groupArray();
    const auto found = std::ranges::find(groups, title, &ImageBrowserGroup::title);
    ASSERT_NE(found, groups.end()) << title;
    IndexSet pages;
    for (std::size_t page = found->range.first; page < found->range.end; ++page) {
        pages.push_back(page);
    }
    program().output().getGroupName(name);
    sourceBrowser().setSelectionIndexes(pages, false);
    outputBrowser().setSelectionIndexes({program().output().images().size() - 1}, false);
    menus().addToOutput.trigger();
}

void TroubleFixture::save() {
    whenShown("saveToPDFWindow", [](QDialog& dialog) { click(dialog, "confirm"); });
    menus().save.action.trigger();
    waitFor("the end of the save", []() { return QApplication::activeModalWidget() == nullptr; });
}

WindowFixture::Texts TroubleFixture::saved(const std::string& name) const {
    return std::filesystem::exists(outputFolder / name) ? pageTexts(outputFolder / name) : Texts();
}

WindowFixture::Texts TroubleFixture::pagesNamed(const std::string& name, std::size_t count) {
    Texts texts;
    for (std::size_t page = 1; page <= count; ++page) {
        texts.push_back("Page " + std::to_string(page) + " of " + name);
    }
    return texts;
}

} // namespace quillorn::tests
