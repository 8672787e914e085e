#include "app/WindowMenus.h"

#include "app/Icons.h"

#include <QKeySequence>
#include <QMenuBar>
#include <QObject>
#include <initializer_list>
#include <string_view>

namespace quillorn {

namespace {

struct Entry {
    QString text;
    std::string_view icon = {};
    QList<QKeySequence> keys = {};
};

QAction* add(QMenu& menu, const Entry& entry) {
    QAction* const action = menu.addAction(lineIcon(entry.icon), entry.text);
    action->setShortcuts(entry.keys);
    return action;
}

QAction& addTo(QMenu& menu, const Entry& entry) {
    return *add(menu, entry);
}

QAction& addBehindSeparator(QMenu& menu, const Entry& entry) {
    menu.addSeparator();
    return addTo(menu, entry);
}

QMenu& menuOf(QMainWindow& window, const QString& title) {
    return *window.menuBar()->addMenu(title);
}

QMenu& contextMenuOf(QMainWindow& window) {
    return *(new QMenu(&window)); // the window's
}

QKeySequence keys(QKeyCombination combination) {
    return QKeySequence(combination);
}

} // namespace

PaneMenus::PaneMenus(QMenu& menu, QMenu& contextMenu, const QString& closeText,
                     const QString& clearText)
    : closePDFFile(add(menu, {closeText, "close"})),
      clearMenu(add(menu, {clearText, "clear"})),
      zoomIn(&addBehindSeparator(menu, {QObject::tr("Zoom &In"), "zoomIn"})),
      zoomOut(add(menu, {QObject::tr("Zoom &Out"), "zoomOut"})),
      collapseAll(&addBehindSeparator(menu, {QObject::tr("Co&llapse All"), "collapse"})),
      expandAll(add(menu, {QObject::tr("&Expand All"), "expand"})),
      iClosePDFFile(add(contextMenu, {closeText, "close"})),
      iClearMenu(add(contextMenu, {clearText, "clear"})),
      iZoomIn(&addBehindSeparator(contextMenu, {QObject::tr("Zoom &In"), "zoomIn"})),
      iZoomOut(add(contextMenu, {QObject::tr("Zoom &Out"), "zoomOut"})),
      iCollapseAll(
          &addBehindSeparator(contextMenu, {QObject::tr("&Expand or Collapse All"), "collapse"})) {}

WindowMenus::WindowMenus(QMainWindow& window)
    : application(menuOf(window, QObject::tr("&Quillorn"))),
      file(menuOf(window, QObject::tr("&File"))),
      edit(menuOf(window, QObject::tr("&Edit"))),
      view(menuOf(window, QObject::tr("&View"))),
      pages(menuOf(window, QObject::tr("&Pages"))),
      sourceMenu(menuOf(window, QObject::tr("&Source"))),
      outputMenu(menuOf(window, QObject::tr("&Output"))),
      help(menuOf(window, QObject::tr("&Help"))),
      sourceContext(contextMenuOf(window)),
      outputContext(contextMenuOf(window)),
      about(add(application, {QString(), "info"})),
      hide(add(application, {QString(), {}, {keys(Qt::CTRL | Qt::Key_H)}})),
      quit(&addBehindSeparator(application, {QString(), "quit", {keys(Qt::CTRL | Qt::Key_Q)}})),
      addFiles(addTo(file, {QObject::tr("&Add Files…"), "add", {keys(Qt::CTRL | Qt::Key_O)}})),
      importDocuments(addTo(
          file,
          {QObject::tr("&Import Documents…"), "import", {keys(Qt::CTRL | Qt::SHIFT | Qt::Key_O)}})),
      newGroup(addBehindSeparator(
          file, {QObject::tr("&New Output Group…"), "newGroup", {keys(Qt::CTRL | Qt::Key_N)}})),
      save(add(file, {QObject::tr("&Save…"), "save", {keys(Qt::CTRL | Qt::Key_S)}})),
      close(addBehindSeparator(
          file, {QObject::tr("&Close Selected"), "close", {keys(Qt::CTRL | Qt::Key_W)}})),
      copyPages(addTo(edit, {QObject::tr("&Copy Pages"), "copy", {keys(Qt::CTRL | Qt::Key_C)}})),
      pastePages(addTo(
          edit, {QObject::tr("&Paste Pages into Output"), "paste", {keys(Qt::CTRL | Qt::Key_V)}})),
      selectAll(addBehindSeparator(
          edit, {QObject::tr("Select &All"), "selectAll", {keys(Qt::CTRL | Qt::Key_A)}})),
      selectNone(
          addTo(edit, {QObject::tr("Select &None"), {}, {keys(Qt::CTRL | Qt::SHIFT | Qt::Key_A)}})),
      viewZoomIn(addTo(view, {QObject::tr("Zoom &In"),
                              "zoomIn",
                              {keys(Qt::CTRL | Qt::Key_Plus), keys(Qt::CTRL | Qt::Key_Equal)}})),
      viewZoomOut(
          addTo(view, {QObject::tr("Zoom &Out"), "zoomOut", {keys(Qt::CTRL | Qt::Key_Minus)}})),
      viewCollapseAll(addBehindSeparator(view, {QObject::tr("Co&llapse All Groups"),
                                                "collapse",
                                                {keys(Qt::CTRL | Qt::SHIFT | Qt::Key_Left)}})),
      viewExpandAll(addTo(view, {QObject::tr("&Expand All Groups"),
                                 "expand",
                                 {keys(Qt::CTRL | Qt::SHIFT | Qt::Key_Right)}})),
      otherPane(
          addBehindSeparator(view, {QObject::tr("Switch to Other &Pane"), {}, {keys(Qt::Key_F6)}})),
      dividerLeft(addTo(view, {QObject::tr("Move &Divider Left"), {}, {keys(Qt::Key_F7)}})),
      dividerRight(addTo(view, {QObject::tr("Move Divider &Right"), {}, {keys(Qt::Key_F8)}})),
      messages(addTo(view, {QObject::tr("&Messages"), "messages"})),
      fullScreen(addBehindSeparator(
          view, {QObject::tr("&Full Screen"), "fullScreen", {keys(Qt::Key_F11)}})),
      addToOutput(
          addTo(pages, {QObject::tr("&Add to Output"),
                        "addToOutput",
                        {keys(Qt::CTRL | Qt::Key_Return), keys(Qt::CTRL | Qt::Key_Enter)}})),
      addToNewGroup(addTo(pages, {QObject::tr("Add to &New Output Group…"),
                                  "newGroup",
                                  {keys(Qt::CTRL | Qt::SHIFT | Qt::Key_Return)}})),
      moveEarlier(addBehindSeparator(
          pages, {QObject::tr("Move &Earlier"), "earlier", {keys(Qt::ALT | Qt::Key_Left)}})),
      moveLater(
          addTo(pages, {QObject::tr("Move &Later"), "later", {keys(Qt::ALT | Qt::Key_Right)}})),
      rotateRight(&addBehindSeparator(
          pages, {QObject::tr("Rotate &Right"), "rotateRight", {keys(Qt::CTRL | Qt::Key_R)}})),
      rotateLeft(add(
          pages,
          {QObject::tr("Rotate Le&ft"), "rotateLeft", {keys(Qt::CTRL | Qt::SHIFT | Qt::Key_R)}})),
      deletePdfPage(&addBehindSeparator(
          pages, {QObject::tr("&Delete Pages"), "remove", {keys(Qt::Key_Delete)}})),
      source(sourceMenu, sourceContext, QObject::tr("&Close File"),
             QObject::tr("Clear &Source Pane")),
      output(outputMenu, outputContext, QObject::tr("&Close Group"),
             QObject::tr("Clear &Output Pane")),
      changePDFName(&addBehindSeparator(
          outputMenu, {QObject::tr("&Rename Group…"), "rename", {keys(Qt::Key_F2)}})),
      iChangePDFName(&addBehindSeparator(outputContext, {QObject::tr("&Rename Group…"), "rename"})),
      iRotateRight(add(outputContext, {QObject::tr("Rotate &Right"), "rotateRight"})),
      iRotateLeft(add(outputContext, {QObject::tr("Rotate &Left"), "rotateLeft"})),
      helpFile(add(help, {QString(), "help", {keys(Qt::Key_F1)}})),
      support(addTo(help, {QObject::tr("Support on the &Web")})) {
    fullScreen.setCheckable(true);
    arrangeContextMenus();
}

void WindowMenus::arrangeContextMenus() {
    // What is wanted most comes first.
    QAction* const first = &source.iClosePDFFile.action;
    sourceContext.insertAction(first, &addToOutput);
    sourceContext.insertAction(first, &addToNewGroup);
    sourceContext.insertAction(first, &copyPages);
    sourceContext.insertSeparator(first);

    QAction* const head = &output.iClosePDFFile.action;
    for (QAction* const action :
         {&iRotateRight.action, &iRotateLeft.action, &deletePdfPage.action}) {
        outputContext.removeAction(action);
        outputContext.insertAction(head, action);
    }
    outputContext.insertSeparator(head);
    for (QAction* const action : {&copyPages, &pastePages}) {
        outputContext.insertAction(head, action);
    }
    outputContext.insertSeparator(head);
    outputContext.removeAction(&iChangePDFName.action);
    outputContext.insertAction(head, &iChangePDFName.action);

    outputMenu.removeAction(&changePDFName.action);
    outputMenu.insertAction(&output.closePDFFile.action, &changePDFName.action);
    // Separators that lost what stood behind them collapse by themselves.
}

} // namespace quillorn
