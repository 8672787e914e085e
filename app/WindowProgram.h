#pragma once

#include "app/AppControl.h"
#include "app/MainWindow.h"
#include "app/ProgramConversions.h"
#include "composer/ImageViewSec.h"
#include "import/ImageViewFir.h"
#include "panes/PageDrag.h"
#include "platform/browser/PagePictures.h"
#include "platform/ui/OwnedThreads.h"
#include "platform/ui/Preferences.h"
#include "platform/ui/Resources.h"
#include "platform/ui/widgets/WidgetDesktop.h"
#include "platform/ui/widgets/WidgetLongWork.h"

#include <QObject>
#include <QTimer>
#include <QToolBar>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

namespace quillorn {

/// The program with a window: the main window, its three controllers, and the desktop that they
/// use, connected. Belongs to the thread that makes it, which runs the event loop; there is one
/// application object already.
class WindowProgram final : public QObject {
    Q_OBJECT

public:
    struct Surroundings {
        std::filesystem::path programFolder; ///< holds the programs that draw and decode
        Resources resources;
        std::string homeFolder;
        std::unique_ptr<Preferences> preferences;
    };

    explicit WindowProgram(Surroundings surroundings);
    /// Ends the threads of the program; what they were at is dropped.
    ~WindowProgram() override;

    /// Shows the window, empty. Nothing that takes long happens before it is painted.
    void start();
    /// Takes files in, of any kind that can be dropped.
    void openFiles(const std::vector<std::string>& paths);
    /// Brings the window in front of others.
    void raiseWindow();
    /// Whether the window was closed, so that the program is about to end.
    [[nodiscard]] bool isClosed() const { return m_isClosed; }

    MainWindow& window() { return m_window; }
    ImageViewFir& source() { return *m_source; }
    ImageViewSec& output() { return *m_output; }

private:
    [[nodiscard]] BrowserPaneOutlets paneOutlets(PaneView& pane, PaneMenus& menus,
                                                 WidgetSlider& slider);
    void makeControllers(Surroundings surroundings);
    void connectSheets();
    void connectFileCommands();
    void connectPaneCommands();
    void connectPageCommands();
    void connectZoom(PaneView& pane, PaneMenus& menus, BrowserPane& controller);
    [[nodiscard]] bool shouldClose();
    void restoreToolbar(QToolBar& toolbar);
    void rememberToolbar();

    // What keys do in place of drags (WindowProgramPages.cpp).
    [[nodiscard]] const BrowserPane& focusedPane();
    [[nodiscard]] PaneView& focusedView();
    /// Whether a page, and not only placeholders, is selected where the keys are.
    [[nodiscard]] bool hasSelectedPage();
    void copyPages();
    void pastePages();
    void addToOutput();
    void addToNewGroup();

    // What the window tells of its contents (WindowProgramState.cpp).
    void refreshLater();
    void refresh();
    void refreshActions();
    [[nodiscard]] std::string freeGroupName() const;

    WidgetMainThread m_mainThread;
    PagePictures m_pictures;
    MainWindow m_window;
    WidgetSlider m_sourceSlider;
    WidgetSlider m_outputSlider;
    WidgetAlerts m_alerts;
    WidgetFilePanels m_filePanels;
    WidgetWorkspace m_workspace;
    WidgetLongWork m_longWork;
    std::unique_ptr<Preferences> m_preferences;
    ProgramConversions m_conversions;
    DragPagesArray m_dragPagesArray;
    OwnedThreads m_threads;
    std::unique_ptr<AppControl> m_control;
    std::unique_ptr<ImageViewFir> m_source;
    std::unique_ptr<ImageViewSec> m_output;
    QTimer m_refresh;
    bool m_isClosed = false;
};

} // namespace quillorn
