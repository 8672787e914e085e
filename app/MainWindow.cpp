#include "app/MainWindow.h"

#include "app/Icons.h"
#include "platform/ui/widgets/InputGuard.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QEvent>
#include <QList>
#include <QMenuBar>
#include <QStatusBar>
#include <algorithm>

namespace quillorn {

namespace {

QToolButton& hiddenButton(QWidget& window, const char* name, std::string_view icon) {
    auto* const button = new QToolButton(&window); // the window's, or its toolbar's later
    button->setObjectName(QLatin1String(name));
    button->setIcon(lineIcon(icon));
    button->setFocusPolicy(Qt::TabFocus);
    button->hide();
    return *button;
}

} // namespace

MainWindow::MainWindow(PagePictures& pictures)
    : m_menus(*this),
      m_sheets(*this),
      m_splitter(new QSplitter(Qt::Horizontal, this)),
      m_sourcePane(new PaneView(tr("Source"), pictures, m_splitter)),
      m_outputPane(new PaneView(tr("Output"), pictures, m_splitter)),
      m_messageLine(new MessageLine(this)),
      m_activities(new ActivityPanel(this)),
      m_btnOpenPDFFiles(hiddenButton(*this, "btnOpenPDFFiles", "add")),
      m_btnAddNewGroup(hiddenButton(*this, "btnAddNewGroup", "newGroup")),
      m_btnSave(hiddenButton(*this, "btnSave", "save")),
      m_window(*this, [this]() { m_menus.fullScreen.setEnabled(true); }),
      m_splitView(*m_splitter),
      m_screen(*this) {
    setObjectName(QStringLiteral("mainWindow"));
    buildPanes();
    buildStatusBar();
    connectView();
    showMoreArrows();
}

void MainWindow::buildPanes() {
    m_sourcePane->setObjectName(QStringLiteral("sourcePane"));
    m_outputPane->setObjectName(QStringLiteral("outputPane"));
    m_splitter->setStretchFactor(0, 1);
    m_splitter->setStretchFactor(1, 1);
    setCentralWidget(m_splitter);
    // The key means the pages of the output pane only when that pane has the keys.
    m_menus.deletePdfPage.action.setShortcutContext(Qt::WidgetWithChildrenShortcut);
    m_outputPane->addAction(&m_menus.deletePdfPage.action);
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        const bool output = now != nullptr && m_outputPane->isAncestorOf(now);
        const bool source = now != nullptr && m_sourcePane->isAncestorOf(now);
        if ((output || source) && m_isOutputFocused != output) {
            m_isOutputFocused = output;
            emit focusedPaneChanged();
        }
    });
}

void MainWindow::buildStatusBar() {
    statusBar()->addWidget(m_messageLine, 1);
    statusBar()->addPermanentWidget(m_activities);
    statusBar()->setSizeGripEnabled(false);
}

void MainWindow::connectView() {
    connect(&m_menus.fullScreen, &QAction::triggered, this, [this](bool fills) {
        setWindowState(windowState().setFlag(Qt::WindowFullScreen, fills));
    });
    const auto on = [this](QAction& action, auto command) {
        connect(&action, &QAction::triggered, this, whileTakingInput(*this, command));
    };
    on(m_menus.otherPane, [this]() {
        PaneView& other = m_isOutputFocused ? *m_sourcePane : *m_outputPane;
        if (other.width() == 0) { // before the first file, the output pane is folded away
            m_splitter->setSizes({1, 1});
        }
        other.browser().setFocus(Qt::ShortcutFocusReason);
    });
    on(m_menus.dividerLeft, [this]() { moveDivider(-1); });
    on(m_menus.dividerRight, [this]() { moveDivider(1); });
    on(m_menus.messages, [this]() { m_messageLine->showMessages(); });
    on(m_menus.hide.action, [this]() { showMinimized(); });
    on(m_menus.quit.action, [this]() { close(); });
    const auto popUp = [](PaneView& pane, QMenu& menu) {
        connect(&pane.browser(), &ImageBrowserView::contextMenuRequested, &menu,
                [&menu](QPoint place) { menu.popup(place); });
    };
    popUp(*m_sourcePane, m_menus.sourceContext);
    popUp(*m_outputPane, m_menus.outputContext);
}

void MainWindow::moveDivider(int direction) {
    constexpr int steps = 20; // from one side to the other
    const QList<int> sizes = m_splitter->sizes();
    const int whole = sizes.at(0) + sizes.at(1);
    const int left = std::clamp(sizes.at(0) + direction * whole / steps, 0, whole);
    m_splitter->setSizes({left, whole - left});
}

void MainWindow::showMoreArrows() {
    for (const char* const name : {"qt_menubar_ext_button", "qt_toolbar_ext_button"}) {
        for (QToolButton* const button : findChildren<QToolButton*>(QLatin1String(name))) {
            button->setIcon(lineIcon("more"));
        }
    }
}

void MainWindow::closeEvent(QCloseEvent* event) {
    if (!m_shouldClose || m_shouldClose()) {
        event->accept();
    } else {
        event->ignore();
    }
}

void MainWindow::changeEvent(QEvent* event) {
    QMainWindow::changeEvent(event);
    if (event->type() == QEvent::ActivationChange && isActiveWindow() &&
        focusWidget() == menuBar()) {
        // A menu that was left by Escape leaves the keys with the menu bar, which forgets whom to
        // give them back to when a sheet takes them. It would have them again, and not use them.
        (m_isOutputFocused ? m_outputPane : m_sourcePane)->browser().setFocus();
    }
    if (event->type() == QEvent::WindowStateChange) {
        m_menus.fullScreen.setChecked(windowState().testFlag(Qt::WindowFullScreen));
    }
    if (event->type() == QEvent::StyleChange || event->type() == QEvent::LayoutDirectionChange) {
        showMoreArrows();
    }
}

} // namespace quillorn
