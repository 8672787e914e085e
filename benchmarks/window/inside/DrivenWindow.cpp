#include "benchmarks/window/inside/DrivenWindow.h"

#include "platform/ui/SettingsPreferences.h"

#include <QApplication>
#include <QEvent>
#include <QGuiApplication>
#include <QMessageBox>
#include <cstdio>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace bench {

using namespace quillorn;

namespace {

constexpr auto patience = std::chrono::minutes(3);

std::filesystem::path programFolder() {
    std::error_code error;
    return std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
}

} // namespace

DrivenWindow::DrivenWindow(const std::filesystem::path& home)
    : m_program(std::make_unique<WindowProgram>(
          WindowProgram::Surroundings{programFolder(), Resources::ofProgram(), home.string(),
                                      std::make_unique<SettingsPreferences>()})) {
    for (PaneBrowser* const browser : {&source(), &output()}) {
        browser->viewport()->installEventFilter(this);
    }
    constexpr int lookEvery = 200; // milliseconds
    connect(&m_alertTimer, &QTimer::timeout, this, endOnAlert);
    m_alertTimer.start(lookEvery);
    m_watched = source().viewport();
    m_program->start();
    waitFor("the window is painted", [this]() { return m_painted > 0; });
    flush();
}

DrivenWindow::~DrivenWindow() = default;

void DrivenWindow::endOnAlert() {
    for (const QWidget* const widget : QApplication::topLevelWidgets()) {
        const auto* const alert = qobject_cast<const QMessageBox*>(widget);
        if (alert != nullptr && alert->isVisible()) {
            std::fprintf(stderr, "quillorn_bench_window: an alert: %s\n",
                         alert->text().toUtf8().constData());
            std::_Exit(EXIT_FAILURE);
        }
    }
}

bool DrivenWindow::eventFilter(QObject* object, QEvent* event) {
    if (object == m_watched && event->type() == QEvent::Paint) {
        ++m_painted;
    }
    return false;
}

void DrivenWindow::waitFor(const std::string& what, const std::function<bool()>& condition) {
    const auto end = Clock::now() + patience;
    while (!condition()) {
        if (Clock::now() > end) {
            throw std::runtime_error("waited in vain: " + what);
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
    }
}

void DrivenWindow::flush() {
    QGuiApplication::sync();
}

void DrivenWindow::open(const std::vector<std::string>& paths) {
    const std::size_t before = program().source().pdfFilesName().size();
    program().openFiles(paths);
    waitFor("files are taken in", [this, before, &paths]() {
        return program().source().pdfFilesName().size() == before + paths.size() &&
               program().source().pdfFileNumber() == 0 && window().activities().isIdle();
    });
}

void DrivenWindow::waitForPictures(PaneBrowser& browser) {
    waitFor("pictures", [&browser]() { return browser.showsAllPictures(); });
    browser.viewport()->repaint();
    flush();
}

double DrivenWindow::timeToPainted(PaneBrowser& browser, const std::function<void()>& change) {
    // Nothing of what was before is still to be painted.
    QCoreApplication::processEvents();
    flush();
    m_watched = browser.viewport();
    m_painted = 0;
    const auto begin = Clock::now();
    change();
    waitFor("the change is painted", [this]() { return m_painted > 0; });
    flush();
    return milliseconds(Clock::now() - begin);
}

void DrivenWindow::select(PaneBrowser& browser, std::size_t first, std::size_t end) {
    browser.setSelectionIndexes(BrowserSelection({first, end}).indexes(), false);
}

} // namespace bench
