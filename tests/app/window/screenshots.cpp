#include "app/WindowProgram.h"
#include "tests/fakes/MemoryPreferences.h"
#include "tests/fakes/TemporaryFolder.h"

#include <QApplication>
#include <QDir>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QMimeData>
#include <QPainter>
#include <QPalette>
#include <QPixmap>
#include <QStyleFactory>
#include <QTest>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

// Pictures of the program's window in its states, for people to look at:
//     quillorn-window-screenshots FOLDER [--dark] PDF-OR-IMAGE...
// QT_SCALE_FACTOR=2 makes them as on a screen of 200 %.

namespace {

using namespace quillorn;

constexpr int patience = 60'000; // milliseconds

QPalette darkPalette() {
    QPalette palette(QColor(53, 53, 57));
    palette.setColor(QPalette::Base, QColor(35, 35, 38));
    palette.setColor(QPalette::Highlight, QColor(61, 126, 219));
    palette.setColor(QPalette::HighlightedText, Qt::white);
    for (const QPalette::ColorRole role :
         {QPalette::WindowText, QPalette::Text, QPalette::ButtonText, QPalette::ToolTipText}) {
        palette.setColor(role, QColor(232, 232, 235));
        palette.setColor(QPalette::Disabled, role, QColor(130, 130, 134));
    }
    palette.setColor(QPalette::PlaceholderText, QColor(170, 170, 175));
    return palette;
}

class Photographer {
public:
    Photographer(std::filesystem::path folder, std::vector<std::string> files)
        : m_folder(std::move(folder)), m_files(std::move(files)) {
        m_program = std::make_unique<WindowProgram>(WindowProgram::Surroundings{
            QUILLORN_PROGRAM_FOLDER,
            Resources({std::filesystem::path(QUILLORN_PROGRAM_FOLDER) / "resources"}),
            m_home.path().string(), std::make_unique<tests::MemoryPreferences>()});
    }

    int run() {
        start();
        fill();
        dialogs();
        sizes();
        return m_failures;
    }

private:
    MainWindow& window() { return m_program->window(); }
    WindowMenus& menus() { return m_program->window().menus(); }

    void settle() {
        if (!QTest::qWaitFor(
                [this]() {
                    return m_program->source().pdfFileNumber() == 0 &&
                           window().activities().isIdle();
                },
                patience)) {
            ++m_failures;
        }
        QTest::qWait(900); // pictures of pages come in; nobody tells when all are there
    }

    void take(const std::string& name, QWidget* widget = nullptr) {
        QWidget& shown = widget != nullptr ? *widget : window();
        const QString file = QString::fromStdString((m_folder / (name + ".png")).string());
        if (shown.grab().save(file)) {
            std::printf("%s\n", qPrintable(file));
        } else {
            std::fprintf(stderr, "%s cannot be written\n", qPrintable(file));
            ++m_failures;
        }
    }

    /// Runs a command that opens a window, takes a picture of that and closes it.
    void takeDialog(const std::string& name, const std::function<void()>& command) {
        bool wasTaken = false;
        QTimer timer;
        QObject::connect(&timer, &QTimer::timeout, &timer, [&]() {
            if (QWidget* const modal = QApplication::activeModalWidget()) {
                timer.stop();
                QTest::qWait(100);
                take(name, modal);
                wasTaken = true;
                modal->close();
            }
        });
        timer.start(20);
        command();
        if (!wasTaken && !QTest::qWaitFor([&wasTaken]() { return wasTaken; }, patience)) {
            ++m_failures;
        }
    }

    void start() {
        m_program->start();
        if (!QTest::qWaitForWindowExposed(&window(), patience)) {
            ++m_failures;
        }
        take("01-empty");
        window().resize(250, 300);
        QTest::qWait(50);
        take("02-empty-smallest");
        window().resize(400, 400);
    }

    void fill() {
        m_program->openFiles({m_files.front()});
        if (!QTest::qWaitFor([this]() { return !m_program->source().images().empty(); },
                             patience)) {
            ++m_failures;
        }
        settle();
        take("03-one-file");
        m_program->openFiles({m_files.begin() + 1, m_files.end()});
        settle();
        take("04-many-files");
        m_program->source().expandAllGroups();
        settle();
        take("05-expanded");
        window().sourcePane().browser().setSelectionIndexes({0, 1, 2}, false);
        menus().addToOutput.trigger();
        settle();
        take("06-output");
        m_program->output().getGroupName("Second.pdf");
        const IndexSet placeholder = {m_program->output().images().size() - 1};
        settle();
        take("07-empty-group");
        window().outputPane().browser().setSelectionIndexes(placeholder, false);
        window().sourcePane().browser().setSelectionIndexes({1, 2}, false);
        menus().addToOutput.trigger();
        m_program->output().expandAllGroups();
        window().outputPane().browser().setSelectionIndexes({1}, false);
        m_program->output().rotateClockwise();
        m_program->output().expandAllGroups();
        window().messageLine().showMessage("scan.tiff was not taken in: it is cut short.");
        settle();
        take("08-composed");
        drag();
        menus().sourceContext.popup(window().mapToGlobal(QPoint(80, 200)));
        QTest::qWait(100);
        take("10-source-menu", &menus().sourceContext);
        menus().sourceContext.close();
        menus().outputContext.popup(window().mapToGlobal(QPoint(480, 200)));
        QTest::qWait(100);
        take("11-output-menu", &menus().outputContext);
        menus().outputContext.close();
        for (QMenu* const menu : {&menus().file, &menus().edit, &menus().view, &menus().pages,
                                  &menus().sourceMenu, &menus().outputMenu, &menus().help}) {
            menu->popup(window().mapToGlobal(QPoint(20, 30)));
            QTest::qWait(60);
            take("12-menu-" + menu->title().remove(QLatin1Char('&')).toLower().toStdString(), menu);
            menu->close();
        }
    }

    void drag() {
        PaneBrowser& browser = window().outputPane().browser();
        QMimeData data;
        data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/a.png"))});
        PaneBrowser& source = window().sourcePane().browser();
        const QPoint place = source.viewport()->rect().center();
        QDragEnterEvent enter(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(source.viewport(), &enter);
        QDragMoveEvent move(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        QApplication::sendEvent(source.viewport(), &move);
        take("09-dragging-files");
        QDragLeaveEvent leave;
        QApplication::sendEvent(source.viewport(), &leave);

        browser.setDragRunner([this, &browser](QDrag& drag) {
            const QRect cell = browser.viewportRect(browser.layoutOfItems().itemRect(0));
            const QPoint gap(cell.right() + 2, cell.center().y());
            QDragEnterEvent enters(gap, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
            QApplication::sendEvent(browser.viewport(), &enters);
            QDragMoveEvent moves(gap, Qt::CopyAction, drag.mimeData(), Qt::LeftButton, {});
            QApplication::sendEvent(browser.viewport(), &moves);
            take("09-dragging-pages");
            QDragLeaveEvent leaves;
            QApplication::sendEvent(browser.viewport(), &leaves);
        });
        const QPoint from = browser.viewportRect(browser.layoutOfItems().itemRect(1)).center();
        QTest::mousePress(browser.viewport(), Qt::LeftButton, {}, from);
        const QPoint to = from + QPoint(60, 0);
        QMouseEvent pull(QEvent::MouseMove, to, browser.viewport()->mapToGlobal(to), Qt::NoButton,
                         Qt::LeftButton, {});
        QApplication::sendEvent(browser.viewport(), &pull);
        QTest::mouseRelease(browser.viewport(), Qt::LeftButton, {}, to);
        browser.setDragRunner({});
    }

    void dialogs() {
        takeDialog("20-new-group", [this]() { menus().newGroup.trigger(); });
        takeDialog("21-rename", [this]() { menus().changePDFName.action.trigger(); });
        takeDialog("22-save", [this]() { menus().save.action.trigger(); });
        takeDialog("23-about", [this]() { menus().about.action.trigger(); });
        takeDialog("24-open", [this]() { menus().addFiles.trigger(); });
        takeDialog("25-password", [this]() { window().sheets().passwordWindow.runModal(); });
        takeDialog("26-close", [this]() { window().close(); });
        auto& progress = window().sheets().saveWindow;
        takeDialog("27-progress", [&progress]() {
            progress.begin(100);
            progress.setValue(42);
            QTest::qWait(300);
            progress.end();
        });
    }

    void sizes() {
        for (const auto& [name, size] :
             {std::pair{"30-smallest", QSize(250, 300)}, std::pair{"31-wide", QSize(1280, 600)},
              std::pair{"32-4k", QSize(3840, 2100)}}) {
            window().resize(size);
            settle();
            take(name);
        }
        window().resize(810, 810);
        m_program->source().collapseAllGroups();
        m_program->output().collapseAllGroups();
        settle();
        take("33-collapsed");
        m_program->source().clearAllGroup();
        m_program->output().clearAllGroup();
        settle();
        take("34-cleared");
    }

    std::filesystem::path m_folder;
    std::vector<std::string> m_files;
    const tests::TemporaryFolder m_home;
    std::unique_ptr<WindowProgram> m_program;
    int m_failures = 0;
};

} // namespace

int main(int argc, char** argv) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication::setAttribute(Qt::AA_DontUseNativeDialogs);
    QApplication application(argc, argv);
    QApplication::setStyle(QStyleFactory::create(QStringLiteral("fusion")));
    QApplication::setApplicationDisplayName(QStringLiteral("Quillorn Folivane"));
    QApplication::setQuitOnLastWindowClosed(false);
    QApplication::setWindowIcon(
        QIcon(QStringLiteral(QUILLORN_PROGRAM_FOLDER "/resources/quillorn-folivane.png")));
    std::vector<std::string> words(argv + 1, argv + argc);
    if (std::erase(words, "--dark") > 0) {
        QApplication::setPalette(darkPalette());
    }
    if (words.size() < 3) {
        std::fputs("usage: quillorn-window-screenshots FOLDER [--dark] FILE FILE...\n", stderr);
        return 2;
    }
    const std::filesystem::path folder = words.front();
    std::filesystem::create_directories(folder);
    words.erase(words.begin());
    return Photographer(folder, words).run();
}
