#include "import/ImageViewFir.h"

#include "model/FileNames.h"
#include "panes/BackgroundLayers.h"

#include <algorithm>
#include <utility>

namespace quillorn {

ImageViewFir::ImageViewFir(const ImageViewFirOutlets& outlets, ImageViewFirServices services)
    : BrowserPane(outlets.pane), m_outlets(outlets), m_services(std::move(services)) {}

std::shared_ptr<PictureLayer> ImageViewFir::newPictureLayer() const {
    return std::make_shared<ImageBrowserBackgroundLayerFir>();
}

void ImageViewFir::awakeFromNib() {
    connectBrowser(true);
    browser().setCanControlQuickLookPanel(true);
    judgeClearMenu();
    setBackColor();
}

void ImageViewFir::updateDatasource() {
    showPending();
    showDatasource();
}

void ImageViewFir::showPending() {
    groupImages(); // counts the pages that are pending
    showImported();
}

void ImageViewFir::showDatasource() {
    browser().setAnimates(false);
    judgeClearMenu();
    browser().reloadData();
    collapseAllGroups();
    if (groupArray().size() == 1) {
        expandAllGroups();
    }
    if (!groupArray().empty() && m_mSax) {
        removeBackColor();
        m_mSax = false;
        if (m_mFirx) {
            layOutWindow();
            m_mFirx = false;
        }
    }
}

void ImageViewFir::judgeClearMenu() {
    const BrowserPaneOutlets& pane = paneOutlets();
    for (MenuItem* item :
         {&pane.clearMenu, &pane.zoomIn, &pane.zoomOut, &pane.collapseAll, &pane.expandAll,
          &pane.iClearMenu, &pane.iZoomIn, &pane.iZoomOut, &pane.iCollapseAll}) {
        item->setEnabled(!images().empty());
    }
    const bool hasSelection = !browser().selectionIndexes().empty();
    pane.closePDFFile.setEnabled(hasSelection);
    pane.iClosePDFFile.setEnabled(hasSelection);
}

void ImageViewFir::clearAllGroup() {
    m_pdfFilesName.clear();
    m_convertedFiles.clear();
    clearShown();
    m_documents.clear(); // only now: pages on show belong to them
    setBackColor();
    m_mSax = true;
}

void ImageViewFir::closeClear() {
    clearShown();
}

void ImageViewFir::queueFile(const std::string& path, std::shared_ptr<PDFDocument> document) {
    if (pdfFileNumber() > 0) {
        // One file at a time: a group takes all pages that are pending. Here the files of a folder
        // meet, and those of two lists that come in side by side.
        updateDatasource();
    }
    for (std::size_t i = 0; i < document->pageCount(); ++i) {
        appendImported(std::make_shared<ImageItemFir>(path, document->pageAtIndex(i)));
    }
    appendTitle(lastPathComponent(path));
    m_pdfFilesName.push_back(path);
    m_documents.push_back(std::move(document));
}

void ImageViewFir::closePDFFile() {
    const IndexSet selection = browser().selectionIndexes();
    if (selection.empty()) {
        return;
    }
    if (pdfFileNumber() > 0) {
        updateDatasource(); // what is pending must not end up in a group of what is opened anew
    }
    std::vector<std::string> closing;
    for (const std::size_t index : selection) {
        closing.push_back(images().at(index)->imagePath());
    }
    std::vector<std::string> paths;
    std::vector<std::shared_ptr<PDFDocument>> documents;
    for (std::size_t i = 0; i < m_pdfFilesName.size(); ++i) {
        if (std::ranges::find(closing, m_pdfFilesName[i]) == closing.end()) {
            paths.push_back(m_pdfFilesName[i]);
            documents.push_back(m_documents[i]);
        } else {
            m_convertedFiles.erase(m_pdfFilesName[i]);
        }
    }
    closeClear();
    m_pdfFilesName.clear();
    m_documents.clear();
    for (std::size_t i = 0; i < paths.size(); ++i) {
        queueFile(paths[i], reopened(paths[i], *documents[i]));
        showPending();
    }
    if (!paths.empty()) {
        showDatasource(); // once: telling the browser of each would take the square of their number
    }
    browser().reloadData();
    if (images().empty()) {
        clearAllGroup();
    }
}

std::shared_ptr<PDFDocument> ImageViewFir::reopened(const std::string& path,
                                                    const PDFDocument& before) {
    // The PDF of a conversion may have been replaced by that of another file of the same name.
    const bool isOurs = before.source() && m_convertedFiles.contains(path);
    ImportResult<std::shared_ptr<const PDFSource>> source =
        isOurs ? before.source() : m_services.intake.inspect(path);
    if (source && (*source)->isLocked() && before.source()) {
        source = before.source(); // the password that it was unlocked with is good for this run
    } else if (source &&
               (!before.source() || (*source)->pageCount() != before.source()->pageCount())) {
        // The number that a file states may be wrong. As long as it is the one found before, it
        // need not be counted again.
        if (auto counted = (*source)->withCountedPages()) {
            source = std::move(*counted);
        }
    }
    if (!source) {
        m_services.statusLine.showMessage(
            lastPathComponent(path) + " can no longer be opened: " + source.error().reason + ".");
        return std::make_shared<PDFDocument>(); // a group without pages
    }
    auto document = std::make_shared<PDFDocument>(std::move(*source));
    labelImportedPages(*document, path, false);
    return document;
}

bool ImageViewFir::imageBrowserMoveItemsAtIndexes(ImageBrowser& /*browser*/,
                                                  const IndexSet& /*indexes*/,
                                                  std::size_t /*toIndex*/) {
    return true;
}

void ImageViewFir::imageBrowserRemoveItemsAtIndexes(ImageBrowser& /*browser*/,
                                                    const IndexSet& /*indexes*/) {}

std::size_t ImageViewFir::imageBrowserWriteItemsAtIndexes(ImageBrowser& /*browser*/,
                                                          const IndexSet& indexes,
                                                          Pasteboard& pasteboard) {
    m_services.dragPagesArray.replace(itemsAtIndexes(images(), indexes));
    return writePageDrag(images(), indexes, pasteboard);
}

} // namespace quillorn
