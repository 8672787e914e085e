#pragma once

#include "platform/ui/widgets/WidgetControls.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>

namespace quillorn {

/// An entry of a menu, and how its controller sees it. The window owns the action.
struct MenuEntry {
    explicit MenuEntry(QAction* entry) : action(*entry), item(*entry) {}
    QAction& action;
    ActionMenuItem item;
};

/// The commands of one pane, in its menu of the menu bar and ("i") in its context menu. Collapse
/// is a toggle in the context menu.
struct PaneMenus {
    /// `menu` gets the entries of the menu bar, `contextMenu` those of the other.
    PaneMenus(QMenu& menu, QMenu& contextMenu, const QString& closeText, const QString& clearText);

    MenuEntry closePDFFile;
    MenuEntry clearMenu;
    MenuEntry zoomIn;
    MenuEntry zoomOut;
    MenuEntry collapseAll;
    MenuEntry expandAll;
    MenuEntry iClosePDFFile;
    MenuEntry iClearMenu;
    MenuEntry iZoomIn;
    MenuEntry iZoomOut;
    MenuEntry iCollapseAll;
};

/// All menus of the main window. Whatever has no controller's entry of its own is a plain action.
///
/// View acts on the pane that has the keys; the menus Source and Output act on theirs.
struct WindowMenus {
    explicit WindowMenus(QMainWindow& window);

    // The bar, in its order. The context menus are no part of it.
    QMenu& application;
    QMenu& file;
    QMenu& edit;
    QMenu& view;
    QMenu& pages;
    QMenu& sourceMenu;
    QMenu& outputMenu;
    QMenu& help;
    QMenu& sourceContext;
    QMenu& outputContext;

    MenuEntry about;
    MenuEntry hide;
    MenuEntry quit;

    QAction& addFiles;
    QAction& importDocuments;
    QAction& newGroup;
    MenuEntry save;
    QAction& close;

    QAction& copyPages;
    QAction& pastePages;
    QAction& selectAll;
    QAction& selectNone;

    QAction& viewZoomIn;
    QAction& viewZoomOut;
    QAction& viewCollapseAll;
    QAction& viewExpandAll;
    QAction& otherPane;
    QAction& dividerLeft;
    QAction& dividerRight;
    QAction& messages;
    QAction& fullScreen;

    QAction& addToOutput;
    QAction& addToNewGroup;
    QAction& moveEarlier;
    QAction& moveLater;
    MenuEntry rotateRight;
    MenuEntry rotateLeft;
    MenuEntry deletePdfPage;

    PaneMenus source;
    PaneMenus output;
    MenuEntry changePDFName;
    MenuEntry iChangePDFName;
    MenuEntry iRotateRight;
    MenuEntry iRotateLeft;

    MenuEntry helpFile;
    QAction& support;

private:
    void arrangeContextMenus();
};

} // namespace quillorn
