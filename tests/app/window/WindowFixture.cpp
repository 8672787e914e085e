#include "tests/app/window/WindowFixture.h"

#include "tests/fakes/TestImage.h"
#include "tests/fakes/TestPDF.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QTest>
#include <QUrl>
#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <map>
#include <utility>

namespace quillorn::tests {

namespace {

constexpr int patience = 60'000; // milliseconds; far more than anything here needs
constexpr int lookEvery = 5;     // milliseconds

std::string plain(const QString& text) {
    return QString(text).remove(QLatin1Char('&')).toStdString();
}

} // namespace

WindowFixture::WindowFixture()
    : m_path("PATH", (folders / "bin").string() + ":" + std::getenv("PATH")) {
    for (const auto& folder : {home, files, folders / "bin"}) {
        std::filesystem::create_directory(folder);
    }
    const std::filesystem::path opener = folders / "bin" / "xdg-open";
    writeFile(opener,
              "#!/bin/sh\nprintf '%s\\n' \"$1\" >>'" + (folders / "opened").string() + "'\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
}

WindowFixture::~WindowFixture() {
    EXPECT_TRUE(allShown()) << "the window \"" << m_scripts.front().name << "\" was not shown";
    m_program.reset();
}

void WindowFixture::start() {
    auto preferences = std::make_unique<MemoryPreferences>();
    preferences->m_values = preferencesAtStart;
    m_preferences = preferences.get();
    m_program = std::make_unique<WindowProgram>(WindowProgram::Surroundings{
        QUILLORN_PROGRAM_FOLDER,
        Resources({std::filesystem::path(QUILLORN_PROGRAM_FOLDER) / "resources"}), home.string(),
        std::move(preferences)});
    m_program->start();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window(), patience));
    window().activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window(), patience));
}

std::string WindowFixture::pdf(const std::string& name, std::size_t pages) const {
    return TestPDF(name, pages).writeTo(files / name).string();
}

std::string WindowFixture::lockedPDF(const std::string& name) const {
    const auto open = TestPDF(name, 2).writeTo(folders / "plain.pdf");
    return encryptPDF(open, files / name, {"user", "owner", {"--print=none"}}).string();
}

std::string WindowFixture::picture(const std::string& name) const {
    writeFile(files / name, TestPNG(testPicture(60, 40)).bytes());
    return (files / name).string();
}

void WindowFixture::waitFor(const char* what, const std::function<bool()>& condition) {
    EXPECT_TRUE(QTest::qWaitFor(condition, patience)) << "in vain: " << what;
}

void WindowFixture::open(const Texts& paths) {
    const std::size_t before = program().source().pdfFilesName().size();
    program().openFiles(paths);
    waitFor("files are taken in", [this, before, &paths]() {
        return program().source().pdfFilesName().size() == before + paths.size() &&
               program().source().pdfFileNumber() == 0 && window().activities().isIdle();
    });
}

void WindowFixture::addAllToOutput() {
    sourceBrowser().selectAll();
    menus().addToOutput.trigger();
}

void WindowFixture::whenShown(const std::string& name, std::function<void(QDialog&)> user) {
    m_scripts.push_back({name, std::move(user)});
    if (m_scripts.size() == 1) {
        lookSoon();
    }
}

void WindowFixture::lookSoon() {
    // Each time a new timer: one whose slot waits in an inner event loop does not fire there.
    QTimer::singleShot(lookEvery, &m_context, [this]() { runScripts(); });
}

void WindowFixture::answerAlert(const std::string& button, std::string* text) {
    whenShown("alert", [button, text](QDialog& dialog) {
        if (text != nullptr) {
            *text = dynamic_cast<QMessageBox&>(dialog).windowTitle().toStdString() + ": " +
                    dynamic_cast<QMessageBox&>(dialog).text().toStdString();
        }
        click(dialog, button);
    });
}

void WindowFixture::runScripts() {
    if (m_scripts.empty()) {
        return;
    }
    lookSoon();
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<QDialog*>(widget);
        if (dialog == nullptr || !dialog->isVisible() ||
            dialog->objectName().toStdString() != m_scripts.front().name) {
            continue;
        }
        const Script script = std::move(m_scripts.front());
        m_scripts.erase(m_scripts.begin());
        script.user(*dialog); // which may open another window and wait for that
        return;
    }
}

bool WindowFixture::dropFiles(PaneBrowser& browser, const Texts& paths) {
    QMimeData data;
    QList<QUrl> urls;
    for (const std::string& path : paths) {
        urls.append(QUrl::fromLocalFile(QString::fromStdString(path)));
    }
    data.setUrls(urls);
    const QPoint place = browser.viewport()->rect().center();
    QWidget* const viewport = browser.viewport();
    QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &enter);
    bool isWelcome = false;
    for (int i = 0; i < 2; ++i) { // the pointer moves; the first answer may still be a no
        QDragMoveEvent move(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(viewport, &move);
        isWelcome = move.isAccepted();
    }
    if (!isWelcome) {
        QDragLeaveEvent leave;
        QApplication::sendEvent(viewport, &leave);
        return false;
    }
    QDropEvent drop(place, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(viewport, &drop);
    return drop.isAccepted();
}

QPoint WindowFixture::middleOf(PaneBrowser& browser, std::size_t item) {
    return browser.viewportRect(browser.layoutOfItems().itemRect(item)).center();
}

WindowFixture::Texts WindowFixture::sourceTitles() {
    Texts titles;
    for (const ImageBrowserGroup& group : program().source().groupArray()) {
        titles.push_back(group.title);
    }
    return titles;
}

WindowFixture::Texts WindowFixture::outputTitles() {
    return program().output().addPDFFileName();
}

WindowFixture::Texts WindowFixture::pagesOf(std::size_t group) {
    Texts titles;
    const auto& document = *program().output().PDFArray().at(group);
    for (std::size_t i = 0; i < document.pageCount(); ++i) {
        titles.push_back(document.pageAtIndex(i)->label());
    }
    return titles;
}

WindowFixture::Texts WindowFixture::openedByDesktop() const {
    Texts opened;
    std::ifstream stream(folders / "opened");
    for (std::string line; std::getline(stream, line);) {
        opened.push_back(line);
    }
    return opened;
}

void type(QDialog& dialog, const char* line, const std::string& text) {
    auto* const edit = dialog.findChild<QLineEdit*>(QLatin1String(line));
    ASSERT_NE(edit, nullptr) << line;
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, QString::fromStdString(text));
}

void click(QDialog& dialog, const std::string& button) {
    for (QAbstractButton* const candidate : dialog.findChildren<QAbstractButton*>()) {
        if (plain(candidate->text()) == button || candidate->objectName().toStdString() == button) {
            QTest::mouseClick(candidate, Qt::LeftButton);
            return;
        }
    }
    ADD_FAILURE() << "there is no button " << button;
}

} // namespace quillorn::tests
