#include "app/WindowProgram.h"
#include "model/FileNames.h"
#include "platform/ui/ApplicationName.h"
#include "platform/ui/widgets/WidgetText.h"

#include <algorithm>

// What the window tells of its contents: title, summaries, which commands make sense.

namespace quillorn {

namespace {

QString counted(std::size_t count, const QString& one, const QString& many) {
    return count == 1 ? one : many.arg(count);
}

} // namespace

void WindowProgram::refreshLater() {
    m_refresh.start();
}

void WindowProgram::refresh() {
    const QString name = toQString(applicationName);
    const std::vector<std::string>& groups = m_output->addPDFFileName();
    QString title = name;
    if (!groups.empty()) {
        QString what = shownText(groups.front());
        if (groups.size() > 1) { // both at once, since the name may hold a "%2" of its own
            what = tr("%1 and %2 more").arg(what, QString::number(groups.size() - 1));
        }
        what.replace(QLatin1String("[*]"), QLatin1String("[*][*]")); // no place for the star
        title = what + QStringLiteral("[*] – ") + name;
    }
    m_window.setWindowTitle(title);
    m_window.setWindowModified(!groups.empty() && !m_output->isSave());

    const std::size_t files = m_source->groupArray().size();
    m_window.sourcePane().setSummary(
        files == 0 ? QString()
                   : counted(files, tr("1 file"), tr("%1 files")) + QStringLiteral(", ") +
                         counted(m_source->images().size(), tr("1 page"), tr("%1 pages")));
    std::size_t pages = 0;
    for (const auto& document : m_output->PDFArray()) {
        pages += document->pageCount();
    }
    m_window.outputPane().setSummary(
        groups.empty() ? QString()
                       : counted(groups.size(), tr("1 PDF"), tr("%1 PDFs")) + QStringLiteral(", ") +
                             counted(pages, tr("1 page"), tr("%1 pages")));
    refreshActions();
}

void WindowProgram::refreshActions() {
    WindowMenus& menus = m_window.menus();
    const PaneMenus& pane = m_window.isOutputFocused() ? menus.output : menus.source;
    const bool sourceSelected = menus.source.closePDFFile.action.isEnabled();
    const bool outputSelected = menus.output.closePDFFile.action.isEnabled();
    const auto items = m_dragPagesArray.items();
    menus.close.setEnabled(pane.closePDFFile.action.isEnabled());
    menus.close.setText(m_window.isOutputFocused() ? tr("&Close Group") : tr("&Close File"));
    menus.viewZoomIn.setEnabled(pane.zoomIn.action.isEnabled());
    menus.viewZoomOut.setEnabled(pane.zoomOut.action.isEnabled());
    menus.viewCollapseAll.setEnabled(pane.collapseAll.action.isEnabled());
    menus.viewExpandAll.setEnabled(pane.expandAll.action.isEnabled());
    menus.selectAll.setEnabled(pane.clearMenu.action.isEnabled());
    menus.selectNone.setEnabled(pane.closePDFFile.action.isEnabled());
    menus.copyPages.setEnabled(hasSelectedPage());
    menus.pastePages.setEnabled(items && !items->empty());
    menus.addToOutput.setEnabled(sourceSelected);
    menus.addToNewGroup.setEnabled(sourceSelected);
    menus.moveEarlier.setEnabled(outputSelected);
    menus.moveLater.setEnabled(outputSelected);
}

std::string WindowProgram::freeGroupName() const {
    const std::vector<std::string>& names = m_output->addPDFFileName();
    const std::string extension = m_window.sheets().extentionName.stringValue();
    for (std::size_t number = 1;; ++number) {
        std::string name = number == 1 ? "Untitled" : "Untitled " + std::to_string(number);
        if (std::ranges::find(names, name + extension) == names.end()) {
            return name;
        }
    }
}

} // namespace quillorn
