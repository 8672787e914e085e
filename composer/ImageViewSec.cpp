#include "composer/ImageViewSec.h"

#include "composer/GroupName.h"
#include "composer/OutputFolder.h"
#include "model/FileNames.h"
#include "panes/BackgroundLayers.h"
#include "platform/ui/CacheFolder.h"

#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

constexpr const char* messageTitle = "Infomation"; // the panes' messages are titled so

} // namespace

ImageViewSec::ImageViewSec(const ImageViewSecOutlets& outlets, ImageViewSecServices services)
    : BrowserPane(outlets.pane),
      m_outlets(outlets),
      m_services(std::move(services)),
      m_expandPDF(std::make_shared<PDFDocument>()) {}

std::string ImageViewSec::workingFolder() const {
    return cacheFolder(m_services.homeFolder);
}

std::string ImageViewSec::workingFile(const std::string& name) const {
    return joinedPath(workingFolder(), name);
}

std::shared_ptr<PictureLayer> ImageViewSec::newPictureLayer() const {
    return std::make_shared<ImageBrowserBackgroundLayerSec>();
}

void ImageViewSec::showAlert(const std::string& title, const std::string& message) {
    m_services.alerts.runModal(Alert{title, message, "OK", ""});
}

void ImageViewSec::awakeFromNib() {
    connectBrowser(false);
    judgeClearMenu();
    InitAppPath();
    setBackColor();
}

void ImageViewSec::InitAppPath() {
    m_outlets.btnSavePath.setTitle(joinedPath(m_services.homeFolder, "Movies"));
    m_outlets.btnSavePath.setTitle(
        quillorn::InitAppPath(m_services.preferences, m_services.homeFolder));
}

bool ImageViewSec::acceptsName(const std::string& name) {
    auto checked = checkGroupName(name, m_addPDFFileName);
    if (checked && name.find('/') != std::string::npos) {
        checked = tl::unexpected(messageText(group_message::unsupportedFormat, name));
        m_services.statusLine.showMessage("The name of a file cannot contain a slash.");
    }
    if (!checked) {
        showAlert(messageTitle, checked.error());
    }
    return checked.has_value();
}

void ImageViewSec::appendPlaceholder(const std::string& path, std::shared_ptr<PDFPage> page) {
    appendImported(std::make_shared<blankItem>(path, std::move(page)));
}

void ImageViewSec::getGroupName(const std::string& name) {
    if (!acceptsName(name)) {
        return;
    }
    m_addPDFFileName.push_back(name);
    // The working file gives the placeholder its blank page. A group can do without.
    ensureCacheFolder(workingFolder());
    const std::string path = workingFile(name);
    const auto written = PDFDocument().writeToFile(path);
    auto opened = PDFDocument::open(path);
    if (!written || !opened) {
        m_services.statusLine.showMessage(
            "The working file of " + name +
            " cannot be used: " + (written ? opened.error() : written.error()).reason + ".");
    }
    std::shared_ptr<PDFDocument> document =
        opened ? std::shared_ptr<PDFDocument>(std::move(*opened)) : std::make_shared<PDFDocument>();
    appendPlaceholder(path, document->removePageAtIndex(0));
    m_PDFArray.push_back(std::move(document));
    m_newIndex.push_back(0);
    appendTitle(lastPathComponent(path));
    groupImages();
    updateDatasource();
}

void ImageViewSec::loadData() {
    for (std::size_t i = 0; i < m_addPDFFileName.size(); ++i) {
        const std::string& name = m_addPDFFileName[i];
        m_expandPDF = m_PDFArray[i];
        if (m_expandPDF->pageCount() > 0) {
            for (std::size_t j = 0; j < m_expandPDF->pageCount(); ++j) {
                appendImported(std::make_shared<ImageItemSec>(name, m_expandPDF->pageAtIndex(j)));
            }
        } else {
            // After a rename there is no file of this name, and the placeholder has no picture.
            const std::string path = workingFile(name);
            auto opened = PDFDocument::open(path);
            m_expandPDF = opened ? std::shared_ptr<PDFDocument>(std::move(*opened))
                                 : std::make_shared<PDFDocument>();
            appendPlaceholder(path, m_expandPDF->pageAtIndex(0));
        }
        appendTitle(lastPathComponent(name));
        groupImages();
        showImported();
    }
    // Told once for all groups: telling for each would take the square of their number.
    if (!m_addPDFFileName.empty()) {
        showUpdatedDatasource();
        collapseAllGroups();
    }
}

void ImageViewSec::clearAllData() {
    clearShown();
    m_looseDocuments.clear();
}

void ImageViewSec::updateDatasource() {
    showImported();
    showUpdatedDatasource();
}

void ImageViewSec::showUpdatedDatasource() {
    judgeClearMenu();
    browser().reloadData();
    m_isSave = false;
    removeBackColor();
}

void ImageViewSec::judgeClearMenu() {
    const BrowserPaneOutlets& pane = paneOutlets();
    const bool hasContent = !images().empty() || !groupArray().empty();
    for (Control* control :
         {static_cast<Control*>(&pane.clearMenu), static_cast<Control*>(&pane.zoomIn),
          static_cast<Control*>(&pane.zoomOut), static_cast<Control*>(&m_outlets.btnSave),
          static_cast<Control*>(&pane.iClearMenu), static_cast<Control*>(&pane.iZoomIn),
          static_cast<Control*>(&pane.iZoomOut)}) {
        control->setEnabled(hasContent);
    }
    m_outlets.saveMenu.setHidden(!hasContent);
    const bool hasSelection = !browser().selectionIndexes().empty();
    for (MenuItem* item : {&m_outlets.changePDFName, &pane.closePDFFile, &m_outlets.deletePdfPage,
                           &m_outlets.rotateLeft, &m_outlets.rotateRight, &m_outlets.iChangePDFName,
                           &pane.iClosePDFFile, &m_outlets.iRotateLeft, &m_outlets.iRotateRight}) {
        item->setEnabled(hasSelection);
    }
    for (MenuItem* item : {&pane.collapseAll, &pane.expandAll, &pane.iCollapseAll}) {
        item->setEnabled(!groupArray().empty());
    }
    if (groupArray().size() == 1) {
        expandAllGroups(); // a group that stands alone is always open
    }
}

void ImageViewSec::clearAllGroup() {
    m_expandPDF = std::make_shared<PDFDocument>();
    m_PDFArray.clear();
    m_newIndex.clear();
    m_addPDFFileName.clear();
    clearAllData();
    m_isSave = true;
    setBackColor();
}

std::optional<std::size_t> ImageViewSec::groupOfPath(const std::string& imagePath) const {
    const auto found =
        std::ranges::find(groupArray(), lastPathComponent(imagePath), &ImageBrowserGroup::title);
    if (found == groupArray().end()) {
        return std::nullopt;
    }
    return static_cast<std::size_t>(found - groupArray().begin());
}

std::size_t ImageViewSec::pagesBefore(std::size_t group) const {
    std::size_t pages = 0;
    for (std::size_t k = 0; k < group; ++k) {
        pages += m_PDFArray[k]->pageCount();
    }
    return pages;
}

void ImageViewSec::closePDFFile() {
    struct Entry {
        std::string path;
        std::shared_ptr<PDFDocument> document; ///< null for a page of no group's document
    };
    const IndexSet selection = browser().selectionIndexes();
    if (selection.empty()) {
        return;
    }
    const auto entryAt = [this](std::size_t index) {
        const PageItem& item = *images().at(index);
        const std::shared_ptr<PDFPage> page = item.page();
        const auto owner = std::ranges::find_if(m_PDFArray, [&page](const auto& document) {
            return page != nullptr && page->document() == document.get();
        });
        return Entry{item.imagePath(), owner == m_PDFArray.end() ? nullptr : *owner};
    };
    std::vector<Entry> entries = {entryAt(selection.front())};
    for (const std::size_t index : selection) {
        Entry entry = entryAt(index);
        // Only against the first: what is listed twice is gone the second time.
        if (entry.path != entries.front().path) {
            entries.push_back(std::move(entry));
        }
    }
    for (const Entry& entry : entries) {
        // A placeholder's page is a picture apart, so the document of a closed empty group stays
        // in the list. The names after it then stand for the document one place earlier.
        std::erase_if(m_PDFArray, [&entry](const auto& document) {
            return entry.document != nullptr && document == entry.document;
        });
        std::erase(m_addPDFFileName, lastPathComponent(entry.path));
    }
    clearAllData();
    loadData();
    browser().reloadData();
    if (groupArray().empty()) {
        clearAllGroup();
    }
}

} // namespace quillorn
