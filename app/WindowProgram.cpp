#include "app/WindowProgram.h"

#include "platform/ui/ApplicationName.h"
#include "platform/ui/CacheFolder.h"
#include "platform/ui/widgets/InputGuard.h"

#include <QAction>
#include <QApplication>
#include <QByteArray>
#include <QToolBar>
#include <QWindow>
#include <string_view>
#include <utility>

namespace quillorn {

namespace {

constexpr float startZoom = 0.25F;
constexpr const char* supportPage = "https://example.org/quillorn-folivane/support";

bool isPreferred(const Preferences& preferences, std::string_view key) {
    return preferences.stringForKey(key) == "true";
}

} // namespace

WindowProgram::WindowProgram(Surroundings surroundings)
    : m_pictures(surroundings.programFolder / "quillorn-render-worker"),
      m_window(m_pictures),
      m_sourceSlider(m_window.sourcePane().slider(), startZoom,
                     [this]() { m_source->zoomSliderDidChange(); }),
      m_outputSlider(m_window.outputPane().slider(), startZoom,
                     [this]() { m_output->zoomSliderDidChange(); }),
      m_alerts(m_window),
      m_filePanels(m_window),
      m_longWork(m_window, m_mainThread, m_window.activities()),
      m_preferences(std::move(surroundings.preferences)),
      m_conversions({surroundings.programFolder, cacheFolder(surroundings.homeFolder),
                     isPreferred(*m_preferences, preference_key::keepPageSetup),
                     isPreferred(*m_preferences, preference_key::allowRemote),
                     [this](const std::string& notice) {
                         m_mainThread.post(
                             [this, notice]() { m_window.messageLine().showMessage(notice); });
                     }}) {
    makeControllers(std::move(surroundings));
    connectSheets();
    connectFileCommands();
    connectPaneCommands();
    connectPageCommands();
    m_window.setShouldClose([this]() { return shouldClose(); });
    m_window.window().setToolbarInstalled([this](QToolBar& toolbar) { restoreToolbar(toolbar); });
    m_refresh.setSingleShot(true);
    m_refresh.setInterval(0);
    connect(&m_refresh, &QTimer::timeout, this, &WindowProgram::refresh);
}

WindowProgram::~WindowProgram() {
    m_mainThread.close();
    m_threads.finish();
    if (m_isClosed) {
        m_output->removeWorkingFolder(); // a conversion may have written after the window closed
    }
    for (PaneView* const pane : {&m_window.sourcePane(), &m_window.outputPane()}) {
        pane->browser().setReloaded({});
        pane->browser().setDelegate(nullptr);
        pane->browser().setDraggingDestinationDelegate(nullptr);
        pane->browser().setDataSource(nullptr);
    }
}

BrowserPaneOutlets WindowProgram::paneOutlets(PaneView& pane, PaneMenus& menus,
                                              WidgetSlider& slider) {
    return {pane.browser(),          slider,
            menus.clearMenu.item,    menus.zoomIn.item,
            menus.zoomOut.item,      menus.collapseAll.item,
            menus.expandAll.item,    menus.closePDFFile.item,
            menus.iClearMenu.item,   menus.iZoomIn.item,
            menus.iZoomOut.item,     menus.iCollapseAll.item,
            menus.iClosePDFFile.item};
}

void WindowProgram::makeControllers(Surroundings surroundings) {
    WindowMenus& menus = m_window.menus();
    WindowSheets& sheets = m_window.sheets();
    const std::string& home = surroundings.homeFolder;
    m_control = std::make_unique<AppControl>(
        AppControlOutlets{m_window.window(), m_window.screenOfWindow(), m_window.splitView(),
                          sheets.btnSavePath, m_sourceSlider, m_outputSlider, menus.about.item,
                          menus.quit.item, menus.hide.item, menus.helpFile.item, sheets.winAbout,
                          sheets.aboutVersion, sheets.aboutTitle, sheets.aboutNotice},
        AppControlServices{m_workspace, m_window.messageLine(), std::move(surroundings.resources),
                           QUILLORN_VERSION, supportPage, home});
    m_source = std::make_unique<ImageViewFir>(
        ImageViewFirOutlets{paneOutlets(m_window.sourcePane(), menus.source, m_sourceSlider),
                            m_window.window(), m_window.splitView(), m_window.screenOfWindow(),
                            sheets.passwordWindow, sheets.passwordText, m_window.btnSave(),
                            m_window.btnAddNewGroup(), m_window.btnOpenPDFFiles()},
        ImageViewFirServices{m_alerts, m_filePanels, *m_preferences, m_mainThread, m_threads,
                             m_longWork, m_window.messageLine(), m_conversions, m_dragPagesArray,
                             PDFIntake(), home,
                             [](std::string_view text) { return std::string(text); }});
    m_output = std::make_unique<ImageViewSec>(
        ImageViewSecOutlets{paneOutlets(m_window.outputPane(), menus.output, m_outputSlider),
                            menus.deletePdfPage.item, menus.changePDFName.item,
                            menus.iChangePDFName.item, menus.rotateRight.item,
                            menus.iRotateRight.item, menus.rotateLeft.item, menus.iRotateLeft.item,
                            menus.save.item, m_window.btnSave(), m_window.btnAddNewGroup(),
                            sheets.btnSavePath, sheets.groupNameWindow, sheets.groupNameText,
                            sheets.changeNameWindow, sheets.changeNameText, sheets.extentionName,
                            sheets.saveToPDFWindow, sheets.saveWindow},
        ImageViewSecServices{m_alerts, m_filePanels, *m_preferences, m_mainThread, m_threads,
                             m_longWork, m_window.messageLine(), m_workspace, m_dragPagesArray,
                             home});
}

void WindowProgram::start() {
    m_control->awakeFromNib();
    m_source->awakeFromNib();
    m_output->awakeFromNib();
    m_source->zoomSliderDidChange();
    m_output->zoomSliderDidChange();
    refresh();
    m_window.sourcePane().browser().setFocus();
    m_window.show();
}

void WindowProgram::openFiles(const std::vector<std::string>& paths) {
    if (!paths.empty()) {
        m_source->importFiles(paths);
    }
}

void WindowProgram::raiseWindow() {
    m_window.setWindowState(m_window.windowState() & ~Qt::WindowMinimized);
    m_window.raise();
    m_window.activateWindow();
    if (QWindow* const handle = m_window.windowHandle()) {
        handle->requestActivate();
        handle->alert(0); // where a window may not come to the front by itself
    }
}

bool WindowProgram::shouldClose() {
    if (m_isClosed) {
        return true;
    }
    if (m_longWork.isWaiting() || !m_output->windowShouldClose(m_window.window())) {
        return false;
    }
    m_isClosed = true;
    m_mainThread.close(); // what still comes in must not show alerts of its own now
    rememberToolbar();
    if (ImageViewSec::applicationShouldTerminateAfterLastWindowClosed()) {
        QMetaObject::invokeMethod(qApp, &QApplication::quit, Qt::QueuedConnection);
    }
    return true;
}

void WindowProgram::restoreToolbar(QToolBar& toolbar) {
    m_window.toolbarInstalled();
    // The toolbar is the last of the window's layout. On a small screen the window got less than it
    // asked for, and the divider's place may have left nothing to the output pane.
    if (m_window.splitter().sizes().at(1) == 0) {
        m_window.splitter().setSizes({1, 1});
    }
    QAction* const toggle = toolbar.toggleViewAction();
    toggle->setText(tr("&Toolbar"));
    m_window.menus().view.insertAction(&m_window.menus().fullScreen, toggle);
    if (const auto state = m_preferences->stringForKey(preference_key::toolbar)) {
        m_window.restoreState(QByteArray::fromBase64(QByteArray::fromStdString(*state)));
    }
}

void WindowProgram::rememberToolbar() {
    if (m_window.window().toolbar() == nullptr) {
        return;
    }
    const auto kept = m_preferences->setStringForKey(preference_key::toolbar,
                                                     m_window.saveState().toBase64().toStdString());
    if (!kept) {
        // The window is closing: there is no other place to tell of it any more.
        qWarning("The toolbar will not be remembered: %s", kept.error().reason.c_str());
    }
}

void WindowProgram::connectSheets() {
    WindowSheets::Commands commands;
    commands.enterPassword = [this](Sheet& sheet) { m_source->isEnterPassword(sheet); };
    commands.cancelPassword = [this](Sheet& sheet) { m_source->cancelPassword(sheet); };
    commands.makeGroup = [this](Sheet& sheet) { m_output->clickSureBtn(sheet); };
    commands.renameGroup = [this](Sheet& sheet) { m_output->clickChangeSureBtn(sheet); };
    commands.save = [this](Sheet& sheet) {
        m_output->clickSaveToPDFSureBtn(sheet);
        refreshLater();
    };
    commands.cancel = [this](Sheet& sheet) { m_output->clickConcelBtn(sheet); };
    commands.chooseFolder = [this]() { m_output->onBtnSetSavePath(); };
    commands.cancelSaving = [this]() { m_output->cancelSaving(); };
    commands.closeAbout = [this](Sheet& about) {
        // Its close box has no way to be refused.
        static_cast<void>(m_control->windowShouldClose(about));
    };
    commands.freeGroupName = [this]() { return freeGroupName(); };
    commands.passwordFile = [this]() { return m_source->pdfPasswordPath(); };
    commands.groupNames = [this]() { return m_output->addPDFFileName(); };
    m_window.sheets().setCommands(std::move(commands));
}

void WindowProgram::connectFileCommands() {
    WindowMenus& menus = m_window.menus();
    const auto on = [this](QAction& action, auto command) {
        connect(&action, &QAction::triggered, this, whileTakingInput(m_window, command));
    };
    const auto press = [this](const WidgetButton& button, auto command) {
        connect(button.widget(), &QAbstractButton::clicked, this,
                whileTakingInput(m_window, command));
    };
    on(menus.about.action, [this]() { m_control->showAboutPanel(); });
    on(menus.helpFile.action, [this]() { m_control->showHelpFile(); });
    on(menus.support, [this]() { m_control->showHelpMenu(); });
    on(menus.addFiles, [this]() { m_source->addImageButtonClicked(); });
    on(menus.importDocuments, [this]() { m_source->importDocumentsClicked(); });
    on(menus.newGroup, [this]() { m_output->addNewGroup(); });
    on(menus.save.action, [this]() { m_output->saveToPDF(); });
    press(m_window.btnOpenPDFFiles(), [this]() { m_source->addImageButtonClicked(); });
    press(m_window.btnAddNewGroup(), [this]() { m_output->addNewGroup(); });
    press(m_window.btnSave(), [this]() { m_output->saveToPDF(); });
}

void WindowProgram::connectZoom(PaneView& pane, PaneMenus& menus, BrowserPane& controller) {
    const auto on = [this](MenuEntry& entry, auto command) {
        connect(&entry.action, &QAction::triggered, this, whileTakingInput(m_window, command));
    };
    for (MenuEntry* const entry : {&menus.zoomIn, &menus.iZoomIn}) {
        on(*entry, [&controller]() { controller.zoomIn(); });
    }
    for (MenuEntry* const entry : {&menus.zoomOut, &menus.iZoomOut}) {
        on(*entry, [&controller]() { controller.zoomOut(); });
    }
    for (MenuEntry* const entry : {&menus.clearMenu, &menus.iClearMenu}) {
        on(*entry, [&controller]() { controller.clearAllGroup(); });
    }
    on(menus.collapseAll, [&controller]() { controller.collapseAllGroups(); });
    on(menus.expandAll, [&controller]() { controller.expandAllGroups(); });
    on(menus.iCollapseAll, [&controller]() { controller.exAcoAllGroups(); });
    connect(&pane.browser(), &ImageBrowserView::zoomStepRequested, this,
            [&controller, &menus](int direction) {
                const MenuEntry& entry = direction > 0 ? menus.zoomIn : menus.zoomOut;
                if (!entry.action.isEnabled()) {
                    return;
                }
                if (direction > 0) {
                    controller.zoomIn();
                } else {
                    controller.zoomOut();
                }
            });
    pane.browser().setReloaded([this]() { refreshLater(); });
}

void WindowProgram::connectPaneCommands() {
    WindowMenus& menus = m_window.menus();
    connectZoom(m_window.sourcePane(), menus.source, *m_source);
    connectZoom(m_window.outputPane(), menus.output, *m_output);
    const auto on = [this](QAction& action, auto command) {
        connect(&action, &QAction::triggered, this, whileTakingInput(m_window, command));
    };
    for (MenuEntry* const entry : {&menus.source.closePDFFile, &menus.source.iClosePDFFile}) {
        on(entry->action, [this]() { m_source->closePDFFile(); });
    }
    for (MenuEntry* const entry : {&menus.output.closePDFFile, &menus.output.iClosePDFFile}) {
        on(entry->action, [this]() { m_output->closePDFFile(); });
    }
    // These stand for the same command of the pane that has the keys.
    const auto forward = [this, &on](QAction& action, MenuEntry PaneMenus::*entry) {
        on(action, [this, entry]() {
            WindowMenus& all = m_window.menus();
            PaneMenus& pane = m_window.isOutputFocused() ? all.output : all.source;
            (pane.*entry).action.trigger();
        });
    };
    forward(menus.close, &PaneMenus::closePDFFile);
    forward(menus.viewZoomIn, &PaneMenus::zoomIn);
    forward(menus.viewZoomOut, &PaneMenus::zoomOut);
    forward(menus.viewCollapseAll, &PaneMenus::collapseAll);
    forward(menus.viewExpandAll, &PaneMenus::expandAll);
    on(menus.selectAll, [this]() { focusedView().browser().selectAll(); });
    on(menus.selectNone, [this]() { focusedView().browser().setSelectionIndexes({}, false); });
    for (PaneView* const view : {&m_window.sourcePane(), &m_window.outputPane()}) {
        connect(&view->browser(), &ImageBrowserView::selectionChanged, this,
                [this]() { m_window.menus().copyPages.setEnabled(hasSelectedPage()); });
    }
    connect(&m_window, &MainWindow::focusedPaneChanged, this, &WindowProgram::refreshActions);
    for (PaneMenus* const pane : {&menus.source, &menus.output}) {
        for (MenuEntry* const entry : {&pane->closePDFFile, &pane->zoomIn, &pane->zoomOut,
                                       &pane->collapseAll, &pane->expandAll, &pane->clearMenu}) {
            connect(&entry->action, &QAction::enabledChanged, this, &WindowProgram::refreshActions);
        }
    }
}

void WindowProgram::connectPageCommands() {
    WindowMenus& menus = m_window.menus();
    const auto on = [this](QAction& action, auto command) {
        connect(&action, &QAction::triggered, this, whileTakingInput(m_window, command));
    };
    for (MenuEntry* const entry : {&menus.rotateRight, &menus.iRotateRight}) {
        on(entry->action, [this]() { m_output->rotateClockwise(); });
    }
    for (MenuEntry* const entry : {&menus.rotateLeft, &menus.iRotateLeft}) {
        on(entry->action, [this]() { m_output->rotateCounterclockwise(); });
    }
    for (MenuEntry* const entry : {&menus.changePDFName, &menus.iChangePDFName}) {
        on(entry->action, [this]() { m_output->itemChangePDFName(); });
    }
    on(menus.deletePdfPage.action, [this]() { m_output->deletePdfPages(); });
    on(menus.moveEarlier, [this]() { m_output->movePages(-1); });
    on(menus.moveLater, [this]() { m_output->movePages(1); });
    on(menus.copyPages, [this]() { copyPages(); });
    on(menus.pastePages, [this]() { pastePages(); });
    on(menus.addToOutput, [this]() { addToOutput(); });
    on(menus.addToNewGroup, [this]() { addToNewGroup(); });
    m_window.sourcePane().browser().setReturnPressed([this]() { addToOutput(); });
}

} // namespace quillorn
