#pragma once

#include "app/PaneView.h"
#include "app/WindowMenus.h"
#include "app/WindowSheets.h"
#include "platform/browser/PagePictures.h"
#include "platform/ui/widgets/ActivityPanel.h"
#include "platform/ui/widgets/MessageLine.h"
#include "platform/ui/widgets/WidgetControls.h"
#include "platform/ui/widgets/WidgetWindow.h"

#include <QMainWindow>
#include <QSplitter>
#include <QToolButton>
#include <functional>

class QCloseEvent;

namespace quillorn {

/// The main window as it is built: menus, two panes beside each other, sheets, the message line.
/// It knows no rule; WindowProgram connects it with the controllers.
class MainWindow final : public QMainWindow {
    Q_OBJECT

public:
    explicit MainWindow(PagePictures& pictures);

    WindowMenus& menus() { return m_menus; }
    WindowSheets& sheets() { return m_sheets; }
    [[nodiscard]] const WindowSheets& sheets() const { return m_sheets; }
    PaneView& sourcePane() { return *m_sourcePane; }
    PaneView& outputPane() { return *m_outputPane; }
    QSplitter& splitter() { return *m_splitter; }
    ActivityPanel& activities() { return *m_activities; }
    MessageLine& messageLine() { return *m_messageLine; }
    WidgetWindow& window() { return m_window; }
    WidgetSplitView& splitView() { return m_splitView; }
    WidgetScreen& screenOfWindow() { return m_screen; }

    // What the toolbar shows, once there is one.
    WidgetButton& btnOpenPDFFiles() { return m_btnOpenPDFFiles; }
    WidgetButton& btnAddNewGroup() { return m_btnAddNewGroup; }
    WidgetButton& btnSave() { return m_btnSave; }

    /// The pane that has, or had last, the keys.
    [[nodiscard]] bool isOutputFocused() const { return m_isOutputFocused; }
    /// To be called once there is a toolbar.
    void toolbarInstalled() { showMoreArrows(); }
    /// Asked when the window is to be closed.
    void setShouldClose(std::function<bool()> shouldClose) {
        m_shouldClose = std::move(shouldClose);
    }

signals:
    void focusedPaneChanged();

protected:
    void closeEvent(QCloseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void buildPanes();
    void buildStatusBar();
    void connectView();
    /// Gives the buttons that lead to what has no room an arrow in the palette's colours; the
    /// style's own is dark whatever it stands on.
    void showMoreArrows();
    /// By a step to the left (-1) or the right (1).
    void moveDivider(int direction);

    WindowMenus m_menus;
    WindowSheets m_sheets;
    QSplitter* m_splitter;
    PaneView* m_sourcePane;
    PaneView* m_outputPane;
    MessageLine* m_messageLine;
    ActivityPanel* m_activities;
    WidgetButton m_btnOpenPDFFiles;
    WidgetButton m_btnAddNewGroup;
    WidgetButton m_btnSave;
    WidgetWindow m_window;
    WidgetSplitView m_splitView;
    WidgetScreen m_screen;
    bool m_isOutputFocused = false;
    std::function<bool()> m_shouldClose;
};

} // namespace quillorn
