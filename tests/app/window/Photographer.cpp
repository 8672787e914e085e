#include "tests/app/window/Photographer.h"

#include "platform/browser/PagePreview.h"
#include "tests/fakes/MemoryPreferences.h"
#include "tests/fakes/TestImage.h"
#include "tests/fakes/TestPDF.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDrag>
#include <QDragEnterEvent>
#include <QDragMoveEvent>
#include <QLineEdit>
#include <QMessageBox>
#include <QMimeData>
#include <QPainter>
#include <QProgressBar>
#include <QTest>
#include <QToolBar>
#include <QUrl>
#include <cstdio>
#include <utility>

namespace quillorn::tests {

namespace {

constexpr int patience = 60'000; // milliseconds
constexpr int lookEvery = 5;     // milliseconds
constexpr QSize smallest(250, 300);
constexpr QSize working(810, 810);
constexpr QSize wide(1280, 700);
constexpr QSize fourK(3840, 2100);

void type(QDialog& dialog, const char* line, const QString& text) {
    auto* const edit = dialog.findChild<QLineEdit*>(QLatin1String(line));
    edit->setFocus();
    edit->selectAll();
    QTest::keyClicks(edit, text);
}

void confirm(QDialog& dialog) {
    QTest::mouseClick(dialog.findChild<QAbstractButton*>(QStringLiteral("confirm")),
                      Qt::LeftButton);
}

void escape(QDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_Escape);
}

void enter(QDialog& dialog) {
    QTest::keyClick(&dialog, Qt::Key_Return);
}

template <typename Event>
void sendDrag(QWidget& widget, QPoint place, const QMimeData& data) {
    Event event(place, Qt::CopyAction, &data, Qt::LeftButton, {});
    QApplication::sendEvent(&widget, &event);
}

} // namespace

Photographer::Photographer(std::filesystem::path folder, std::vector<std::string> files)
    : m_folder(std::move(folder)), m_files(std::move(files)) {
    m_program = std::make_unique<WindowProgram>(WindowProgram::Surroundings{
        QUILLORN_PROGRAM_FOLDER,
        Resources({std::filesystem::path(QUILLORN_PROGRAM_FOLDER) / "resources"}),
        m_home.path().string(), std::make_unique<MemoryPreferences>()});
}

int Photographer::run() {
    start();
    fill();
    compose();
    selectWithBand();
    dragFiles();
    drags();
    openMenus();
    preview();
    naming();
    saving();
    passwords();
    importing();
    plainDialogs();
    sizes();
    fullOutputs();
    return m_failures;
}

void Photographer::fail(const std::string& what) {
    std::fprintf(stderr, "in vain: %s\n", what.c_str());
    ++m_failures;
}

void Photographer::waitFor(const std::string& what, const std::function<bool()>& condition) {
    if (!QTest::qWaitFor(condition, patience)) {
        fail(what);
    }
}

void Photographer::catchUp() {
    // A timer of no time comes behind those that were started before it, and behind the events
    // that were posted. What it finds may have put off something in its turn.
    constexpr int rounds = 2;
    for (int i = 0; i < rounds; ++i) {
        QTimer timer;
        timer.setSingleShot(true);
        timer.start(0);
        waitFor("what was put off", [&timer]() { return !timer.isActive(); });
    }
}

void Photographer::settle() {
    catchUp();
    waitFor("everything is read", [this]() {
        return m_program->source().pdfFileNumber() == 0 && window().activities().isIdle() &&
               window().activities().isHidden();
    });
    waitFor("all pages are drawn", [this]() {
        const auto isDone = [](const PaneBrowser& browser) {
            return !browser.isGliding() && browser.showsAllPictures();
        };
        return isDone(source()) && isDone(output());
    });
    catchUp();
}

void Photographer::save(const std::string& name, const QPixmap& picture) {
    const QString file = QString::fromStdString((m_folder / (name + ".png")).string());
    if (picture.save(file)) {
        std::printf("%s\n", qPrintable(file));
    } else {
        fail(file.toStdString() + " is written");
    }
}

void Photographer::take(const std::string& name, QWidget* widget) {
    save(name, (widget != nullptr ? *widget : window()).grab());
}

void Photographer::enact() {
    if (m_scenes.empty()) {
        return;
    }
    // Each time a new timer: one whose slot waits in an inner event loop does not fire there.
    QTimer::singleShot(lookEvery, &window(), [this]() { enact(); });
    QDialog* const dialog = findScene();
    if (dialog == nullptr || std::exchange(m_seen, dialog) != dialog) {
        return; // what showing it has put off, like giving it the keys, is done at the next look
    }
    m_seen = nullptr;
    if (dialog->objectName().toStdString() != m_scenes.front().window) {
        // Nothing would go on behind it.
        fail(m_scenes.front().picture + ": " + dialog->windowTitle().toStdString());
        escape(*dialog);
        return;
    }
    const Scene scene = std::move(m_scenes.front());
    m_scenes.erase(m_scenes.begin());
    take(scene.picture, dialog);
    if (scene.act) {
        scene.act(*dialog);
    } else {
        dialog->close();
    }
}

/// The window of the next scene, or else a message that nobody expects.
QDialog* Photographer::findScene() {
    QDialog* message = nullptr;
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const dialog = qobject_cast<QDialog*>(widget);
        if (dialog == nullptr || !dialog->isVisible()) {
            continue;
        }
        if (dialog->objectName().toStdString() == m_scenes.front().window) {
            return dialog;
        }
        if (qobject_cast<QMessageBox*>(dialog) != nullptr) {
            message = dialog;
        }
    }
    return message;
}

void Photographer::play(std::vector<Scene> scenes, const std::function<void()>& command) {
    const std::string last = scenes.back().picture;
    m_scenes = std::move(scenes);
    enact();
    command();
    waitFor(last, [this]() { return m_scenes.empty(); });
    m_scenes.clear();
    waitFor("the end of " + last, []() { return QApplication::activeModalWidget() == nullptr; });
    catchUp();
}

QPoint Photographer::middleOf(PaneBrowser& browser, std::size_t item) {
    return browser.viewportRect(browser.layoutOfItems().itemRect(item)).center();
}

void Photographer::start() {
    m_program->start();
    waitFor("the window", [this]() { return window().isVisible(); });
    window().setAnimated(false); // what has no room in the toolbar comes out at once
    catchUp();
    take("01-empty");
    window().resize(smallest);
    catchUp();
    take("02-empty-smallest");
    window().resize(fourK);
    catchUp();
    take("02-empty-4k");
    constexpr QSize first(400, 400);
    window().resize(first);
}

void Photographer::fill() {
    m_program->openFiles({m_files.front()});
    const auto hasFiles = [this](std::size_t count) {
        return [this, count]() { return m_program->source().pdfFilesName().size() == count; };
    };
    waitFor("the first file", hasFiles(1));
    settle();
    take("03-one-file");
    m_program->openFiles({m_files.begin() + 1, m_files.end()});
    waitFor("all files", hasFiles(m_files.size()));
    settle();
    take("04-many-files-collapsed");
    source().setFocus();
    QTest::keyClick(&source(), Qt::Key_Down, Qt::ControlModifier);
    catchUp();
    take("04-many-files-header-has-keys");
    m_program->source().expandAllGroups();
    settle();
    take("05-many-files-expanded");
}

void Photographer::compose() {
    source().setSelectionIndexes({0, 1, 2}, false);
    menus().addToOutput.trigger();
    settle();
    take("06-output");
    m_program->output().getGroupName("Second.pdf");
    settle();
    take("07-output-empty-group");
    const IndexSet placeholder = {m_program->output().images().size() - 1};
    output().setSelectionIndexes(placeholder, false);
    source().setSelectionIndexes({1, 2}, false);
    menus().addToOutput.trigger();
    m_program->output().getGroupName("A group without pages.pdf");
    m_program->output().expandAllGroups();
    output().setSelectionIndexes({1}, false);
    m_program->output().rotateClockwise();
    m_program->output().expandAllGroups();
    window().messageLine().showMessage("scan.tiff was not taken in: it is cut short.");
    settle();
    take("08-composed");
    window().resize(wide);
    settle();
    take("08-composed-wide");
    window().resize(working);
    m_program->output().collapseAllGroups();
    m_program->source().collapseAllGroups();
    settle();
    take("08-composed-collapsed");
    m_program->output().expandAllGroups();
    m_program->source().expandAllGroups();
    settle();
}

void Photographer::selectWithBand() {
    source().setSelectionIndexes({}, false);
    QWidget* const viewport = source().viewport();
    const QRect first = source().viewportRect(source().layoutOfItems().itemRect(0));
    const QPoint from(first.left() / 2 + 1, first.top() + 2);
    const QPoint to = from + QPoint(viewport->width() / 2, first.height());
    QTest::mousePress(viewport, Qt::LeftButton, {}, from);
    QMouseEvent pull(QEvent::MouseMove, to, viewport->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                     {});
    QApplication::sendEvent(viewport, &pull);
    take("09-rubber-band");
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, to);
}

void Photographer::dragFiles() {
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/a.png"))});
    QWidget& viewport = *source().viewport();
    const QPoint place = viewport.rect().center();
    sendDrag<QDragEnterEvent>(viewport, place, data);
    sendDrag<QDragMoveEvent>(viewport, place, data);
    take("10-dragging-files");
    QDragLeaveEvent leave;
    QApplication::sendEvent(&viewport, &leave);
}

void Photographer::dragPages(const std::string& picture, PaneBrowser& from, std::size_t item,
                             const std::function<QPoint()>& place) {
    QWidget& target = *output().viewport();
    bool wasDragged = false;
    from.setDragRunner([&](QDrag& drag) {
        wasDragged = true;
        sendDrag<QDragEnterEvent>(target, place(), *drag.mimeData());
        sendDrag<QDragMoveEvent>(target, place(), *drag.mimeData());
        // With what hangs on the pointer, as on a screen.
        QPixmap seen = window().grab();
        QPainter painter(&seen);
        painter.drawPixmap(target.mapTo(&window(), place()) - drag.hotSpot(), drag.pixmap());
        painter.end();
        save(picture, seen);
        QDragLeaveEvent leave;
        QApplication::sendEvent(&target, &leave);
    });
    const QPoint start = middleOf(from, item);
    QWidget* const viewport = from.viewport();
    QTest::mousePress(viewport, Qt::LeftButton, {}, start);
    const QPoint to = start + QPoint(3 * QApplication::startDragDistance(), 0);
    QMouseEvent pull(QEvent::MouseMove, to, viewport->mapToGlobal(to), Qt::NoButton, Qt::LeftButton,
                     {});
    QApplication::sendEvent(viewport, &pull);
    QTest::mouseRelease(viewport, Qt::LeftButton, {}, to);
    from.setDragRunner({});
    if (!wasDragged) {
        fail(picture);
    }
}

void Photographer::drags() {
    const auto behind = [this](std::size_t item) {
        return [this, item]() {
            const QRect cell = output().viewportRect(output().layoutOfItems().itemRect(item));
            return QPoint(cell.right() + 2, cell.center().y());
        };
    };
    const auto header = [this](std::size_t group) {
        return [this, group]() {
            return output().viewportRect(output().layoutOfItems().headerRect(group)).center();
        };
    };
    source().setSelectionIndexes({0, 1, 2}, false);
    dragPages("11-dragging-three-pages-across", source(), 1, behind(1));
    source().setSelectionIndexes({0}, false);
    dragPages("11-dragging-to-the-end-of-a-group", source(), 0, behind(2));
    const std::size_t last = m_program->output().images().size() - 1;
    output().scrollIndexToVisible(last);
    settle();
    dragPages("11-dragging-into-an-empty-group", source(), 0, behind(last));
    output().scrollIndexToVisible(0);
    settle();
    output().setSelectionIndexes({0}, false);
    dragPages("11-reordering", output(), 0, behind(1));
    m_program->output().collapseAllGroups();
    dragPages("11-dragging-onto-a-collapsed-group", source(), 0, header(0));
    m_program->output().expandAllGroups();
}

void Photographer::openMenus() {
    source().setSelectionIndexes({0}, false);
    output().setSelectionIndexes({0}, false);
    const auto show = [this](const std::string& name, QMenu& menu) {
        menu.popup(window().mapToGlobal(QPoint(20, 30)));
        waitFor(name, [&menu]() { return menu.isVisible(); });
        catchUp();
        take(name, &menu);
        menu.close();
    };
    show("12-menu-context-source", menus().sourceContext);
    show("12-menu-context-output", menus().outputContext);
    output().setSelectionIndexes({}, false);
    show("12-menu-context-output-nothing-selected", menus().outputContext);
    for (QMenu* const menu :
         {&menus().application, &menus().file, &menus().edit, &menus().view, &menus().pages,
          &menus().sourceMenu, &menus().outputMenu, &menus().help}) {
        show("12-menu-" + menu->title().remove(QLatin1Char('&')).toLower().toStdString(), *menu);
    }
}

void Photographer::preview() {
    source().setFocus();
    source().setSelectionIndexes({0}, false);
    QTest::keyClick(&source(), Qt::Key_Space);
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        auto* const preview = qobject_cast<PagePreview*>(widget);
        if (preview == nullptr || !preview->isVisible()) {
            continue;
        }
        const auto whenDrawn = [this, preview](const std::string& name) {
            settle();
            waitFor(name, [preview]() { return preview->showsPicture(); });
            take(name, preview);
        };
        whenDrawn("13-preview");
        preview->resize(smallest);
        whenDrawn("13-preview-small");
        preview->close();
        return;
    }
    fail("13-preview");
}

void Photographer::naming() {
    play({{"groupNameWindow", "20-new-group"}}, [this]() { menus().newGroup.trigger(); });
    play({{"groupNameWindow", "20-new-group-as-another",
           [](QDialog& dialog) {
               type(dialog, "name", QStringLiteral("Second"));
               confirm(dialog);
           }},
          {"alert", "20-new-group-refused", enter}},
         [this]() { menus().newGroup.trigger(); });
    output().setSelectionIndexes({0}, false);
    play({{"changeNameWindow", "21-rename"}}, [this]() { menus().changePDFName.action.trigger(); });
}

void Photographer::saving() {
    const auto save = [this]() { menus().save.action.trigger(); };
    play({{"saveToPDFWindow", "22-save", confirm}}, save);
    play({{"saveToPDFWindow", "22-save-replaces"}}, save);
    play({{"saveToPDFWindow", "22-save-folder",
           [](QDialog& dialog) {
               QTest::mouseClick(dialog.findChild<QAbstractButton*>(QStringLiteral("folder")),
                                 Qt::LeftButton);
           }},
          {"openPanel", "22-choose-folder"},
          {"saveToPDFWindow", "22-save-again"}},
         save);
    auto& progress = window().sheets().saveWindow;
    constexpr int pages = 100;
    constexpr int written = 40;
    progress.begin(pages);
    progress.setValue(written);
    waitFor("the progress", []() {
        const QDialog* const dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        const auto* const bar = dialog != nullptr ? dialog->findChild<QProgressBar*>() : nullptr;
        return bar != nullptr && bar->value() == written;
    });
    play({{"saveWindow", "23-progress"}}, [this, &progress]() {
        waitFor("the picture of the progress", [this]() { return m_scenes.empty(); });
        progress.end();
    });
}

void Photographer::passwords() {
    const auto plain = TestPDF("private", 2).writeTo(made("plain.pdf"));
    const std::string locked =
        encryptPDF(plain, made("private.pdf"), {"user", "owner", {"--print=none"}}).string();
    play({{"alert", "24-password-question", enter},
          {"passwordWindow", "24-password-first",
           [](QDialog& dialog) { type(dialog, "passwordText", QStringLiteral("user")); }},
          {"passwordWindow", "24-password-typed", confirm},
          {"alert", "24-password-wrong", enter}},
         [this, &locked]() { m_program->openFiles({locked}); });
    settle();
}

void Photographer::importing() {
    // Pages that are not done until they are cancelled, however fast the machine is.
    constexpr const char* endless = "<h1>A web page</h1><script>for (;;) {}</script>";
    writeFile(made("page.html"), endless);
    std::vector<std::string> many = {made("page.html")};
    for (int i = 0; i < 5; ++i) {
        const std::string name = made("picture-" + std::to_string(i) + ".png");
        writeFile(name, TestPNG(testPicture(60, 40)).bytes());
        many.push_back(name);
    }
    m_program->openFiles(many);
    ActivityPanel& panel = window().activities();
    waitFor("the activity panel", [&panel]() { return panel.isVisible(); });
    take("25-importing");
    QTest::mouseClick(panel.findChild<QAbstractButton*>(QStringLiteral("cancelActivity")),
                      Qt::LeftButton);
    take("25-importing-cancel-pressed");
    settle();
    take("25-importing-cancelled");
    play({{"messages", "26-messages"}}, [this]() { menus().messages.trigger(); });

    // Others, since those may have come in before the cancel.
    writeFile(made("dropped.png"), TestPNG(testPicture(60, 40)).bytes());
    writeFile(made("dropped.html"), endless);
    QMimeData data;
    data.setUrls({QUrl::fromLocalFile(QString::fromStdString(made("dropped.png"))),
                  QUrl::fromLocalFile(QString::fromStdString(made("dropped.html")))});
    play({{"longWork", "25-dropping-takes-long"}}, [this, &data]() {
        QWidget& viewport = *source().viewport();
        const QPoint place = viewport.rect().center();
        sendDrag<QDragEnterEvent>(viewport, place, data);
        sendDrag<QDragMoveEvent>(viewport, place, data);
        sendDrag<QDragMoveEvent>(viewport, place, data);
        sendDrag<QDropEvent>(viewport, place, data);
    });
    settle();
}

void Photographer::plainDialogs() {
    writeFile(made("notes.pdf"), "Some notes that are no PDF.");
    play({{"alert", "27-alert-not-legal", enter}},
         [this]() { m_program->openFiles({made("notes.pdf")}); });
    settle();
    play({{"openPanel", "28-open"}}, [this]() { menus().addFiles.trigger(); });
    play({{"winAbout", "28-about"}}, [this]() { menus().about.action.trigger(); });
    m_program->output().getGroupName("Unsaved.pdf");
    play({{"alert", "28-close-unsaved", escape}}, [this]() { window().close(); });
}

void Photographer::sizes() {
    m_program->output().expandAllGroups();
    window().resize(smallest);
    settle();
    take("30-smallest");
    if (auto* const more =
            window().findChild<QAbstractButton*>(QStringLiteral("qt_toolbar_ext_button"));
        more != nullptr && more->isVisible()) {
        QTest::mouseClick(more, Qt::LeftButton);
        settle();
        take("30-smallest-toolbar");
        QTest::mouseClick(more, Qt::LeftButton);
        settle();
    }
    constexpr QSize small(480, 400);
    window().resize(small);
    settle();
    take("30-small");
    window().resize(fourK);
    settle();
    take("31-4k");
    window().resize(working);
    settle();
}

void Photographer::fullOutputs() {
    source().selectAll();
    constexpr int groups = 12;
    for (int i = 1; i <= groups; ++i) {
        m_program->output().getGroupName("Report of the month " + std::to_string(i) + ".pdf");
        output().setSelectionIndexes({m_program->output().images().size() - 1}, false);
        menus().addToOutput.trigger();
    }
    m_program->output().expandAllGroups();
    output().scrollIndexToVisible(m_program->output().images().size() - 1);
    settle();
    take("40-full-outputs");
    play({{"saveToPDFWindow", "40-full-outputs-save"}},
         [this]() { menus().save.action.trigger(); });
    window().sourcePane().slider().setValue(window().sourcePane().slider().maximum());
    window().outputPane().slider().setValue(window().outputPane().slider().minimum());
    settle();
    take("41-largest-and-smallest-zoom");
    m_program->source().clearAllGroup();
    m_program->output().clearAllGroup();
    settle();
    take("42-cleared");
}

} // namespace quillorn::tests
