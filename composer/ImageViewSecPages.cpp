#include "composer/ImageViewSec.h"

#include "model/FileNames.h"
#include "platform/ui/CacheFolder.h"

#include <algorithm>
#include <iterator>
#include <utility>

// Dropping, moving, removing and turning pages.
//
// The browser counts all items, the placeholders of empty groups too; a document counts its own
// pages. A drop takes placeholders into account when it converts one into the other, a move does
// not: behind an empty group, moved pages land one page later than the mark shows. That is meant.

namespace quillorn {

namespace {

bool isPageDrag(const DraggingInfo& info) {
    const std::vector<std::string> types = info.draggingPasteboard().types();
    return std::ranges::find(types, pasteboard_type::pages) != types.end();
}

std::vector<std::shared_ptr<PDFPage>> pagesOf(const PageItems& items) {
    std::vector<std::shared_ptr<PDFPage>> pages;
    for (const auto& item : items) {
        if (std::shared_ptr<PDFPage> page = item->page()) {
            pages.push_back(std::move(page));
        }
    }
    return pages;
}

} // namespace

DragOperation ImageViewSec::draggingEntered(const DraggingInfo& info) {
    return isPageDrag(info) ? enterLastGroup() : DragOperation::none;
}

DragOperation ImageViewSec::draggingUpdated(const DraggingInfo& info) {
    return isPageDrag(info) ? DragOperation::copy : DragOperation::none;
}

bool ImageViewSec::performDragOperation(const DraggingInfo& info) {
    // A drag that began here is a move, and nothing of an earlier drag is to come in with it.
    if (!isPageDrag(info) || info.startedHere()) {
        return true;
    }
    if (groupArray().empty()) {
        getGroupName("Untitled.pdf");
    }
    getNewGroupInfo();
    return true;
}

std::shared_ptr<PDFPage>
ImageViewSec::insertPages(PDFDocument& document, const std::vector<std::shared_ptr<PDFPage>>& pages,
                          std::size_t indexPage) {
    std::shared_ptr<PDFPage> first;
    for (const auto& page : pages) {
        const std::size_t place = document.pageCount() > 0 ? indexPage++ : indexPage - 1;
        std::shared_ptr<PDFPage> inserted = document.insertPageAtIndex(page, place);
        if (!first) {
            first = std::move(inserted);
        }
    }
    return first;
}

void ImageViewSec::showPage(std::size_t group, const std::shared_ptr<PDFPage>& page) {
    if (!page || group >= groupArray().size()) {
        return;
    }
    const std::size_t index = m_PDFArray[group]->indexForPage(*page);
    if (index != PDFDocument::notFound) {
        browser().scrollIndexToVisible(groupArray()[group].range.first + index);
    }
}

void ImageViewSec::getNewGroupInfo() {
    std::size_t drop = std::min(browser().indexAtLocationOfDroppedItem(), images().size());
    if (drop == 0) {
        return;
    }
    const auto group = groupOfPath(images()[drop - 1]->imagePath());
    if (!group) {
        return;
    }
    const std::shared_ptr<const PageItems> dragged = m_services.dragPagesArray.items();
    clearAllData();
    for (std::size_t k = 0; k < *group; ++k) {
        drop -= std::max<std::size_t>(m_PDFArray[k]->pageCount(), 1);
    }
    const std::shared_ptr<PDFPage> first =
        insertPages(*m_PDFArray[*group], dragged ? pagesOf(*dragged) : pagesOf({}), drop);
    loadData();
    browser().expandGroupAtIndex(*group);
    showPage(*group, first);
}

bool ImageViewSec::imageBrowserMoveItemsAtIndexes(ImageBrowser& /*browser*/,
                                                  const IndexSet& indexes, std::size_t toIndex) {
    if (indexes.empty()) {
        return true;
    }
    const std::size_t first = indexes.front();
    const std::size_t last = indexes.back();
    const std::string source = images().at(last)->imagePath();
    // A placeholder is no page; it stays behind.
    const PageItems moving = realPages(itemsAtIndexes(images(), indexes));
    const auto group = groupOfPath(source);
    if (!group || m_PDFArray[*group]->pageCount() == 0 || (first <= toIndex && toIndex <= last)) {
        return true;
    }
    m_expandPDF = m_PDFArray[*group];
    // The item before the destination says which group it is in. For 1 it is the one at it: taking
    // the one before would make a move within the second group out of a single first page a copy.
    const std::size_t neighbour =
        std::min(toIndex > 1 ? toIndex - 1 : toIndex, images().size() - 1);
    const bool staysInGroup = images()[neighbour]->imagePath() == source;

    std::optional<std::size_t> otherGroup;
    std::shared_ptr<PDFPage> shown;
    if (staysInGroup) {
        const std::size_t before = pagesBefore(*group);
        shown = moving.front()->page();
        moveWithinGroup(*m_expandPDF, moving, toIndex - before, last - before);
    } else {
        otherGroup = copyToOtherGroup(moving, shown);
    }
    clearAllData();
    loadData();
    browser().expandGroupAtIndex(*group);
    if (otherGroup) {
        browser().expandGroupAtIndex(*otherGroup);
    }
    showPage(otherGroup.value_or(*group), shown);
    return true;
}

void ImageViewSec::moveWithinGroup(PDFDocument& document, const PageItems& moving,
                                   std::size_t indexPage, std::size_t last) {
    for (const auto& item : moving) {
        if (const auto page = item->page()) {
            document.removePageAtIndex(document.indexForPage(*page));
        }
    }
    // Behind the moved pages, the destination has come nearer by their number.
    std::size_t nearer = indexPage > moving.size() ? indexPage - moving.size() : 0;
    for (const auto& page : pagesOf(moving)) {
        document.insertPageAtIndex(page, indexPage >= last ? nearer++ : indexPage++);
    }
}

std::optional<std::size_t> ImageViewSec::copyToOtherGroup(const PageItems& moving,
                                                          std::shared_ptr<PDFPage>& firstInserted) {
    const std::size_t drop = std::min(browser().indexAtLocationOfDroppedItem(), images().size());
    const auto target = groupOfPath(images().at(drop > 0 ? drop - 1 : 0)->imagePath());
    if (target) {
        firstInserted =
            insertPages(*m_PDFArray[*target], pagesOf(moving), drop - pagesBefore(*target));
    }
    return target;
}

std::optional<std::size_t> ImageViewSec::groupOfSelection(const IndexSet& indexes) const {
    if (indexes.empty()) {
        return std::nullopt;
    }
    const std::string path = images().at(indexes.front())->imagePath();
    if (images().at(indexes.back())->imagePath() != path) {
        return std::nullopt;
    }
    const auto group = groupOfPath(path);
    return group && m_PDFArray[*group]->pageCount() > 0 ? group : std::nullopt;
}

void ImageViewSec::removePages(const IndexSet& indexes) {
    const auto group = groupOfSelection(indexes);
    if (!group) {
        return;
    }
    const PageItems items = itemsAtIndexes(images(), indexes);
    m_expandPDF = m_PDFArray[*group];
    PDFDocument& document = *m_expandPDF;
    clearAllData();
    std::size_t place = PDFDocument::notFound;
    for (const auto& page : pagesOf(items)) {
        const std::size_t index = document.indexForPage(*page);
        document.removePageAtIndex(index);
        place = std::min(place, index);
    }
    loadData();
    browser().expandGroupAtIndex(*group);
    if (document.pageCount() > 0) {
        showPage(*group, document.pageAtIndex(std::min(place, document.pageCount() - 1)));
    }
}

void ImageViewSec::imageBrowserRemoveItemsAtIndexes(ImageBrowser& /*browser*/,
                                                    const IndexSet& indexes) {
    removePages(indexes);
}

void ImageViewSec::deletePdfPages() {
    removePages(browser().selectionIndexes());
}

std::size_t ImageViewSec::imageBrowserWriteItemsAtIndexes(ImageBrowser& /*browser*/,
                                                          const IndexSet& indexes,
                                                          Pasteboard& pasteboard) {
    return writePageDrag(images(), indexes, pasteboard);
}

void ImageViewSec::movePages(int direction) {
    const IndexSet selection = browser().selectionIndexes();
    const auto group = groupOfSelection(selection);
    if (!group || direction == 0) {
        return;
    }
    m_expandPDF = m_PDFArray[*group];
    PDFDocument& document = *m_expandPDF;
    const std::size_t begin = groupArray()[*group].range.first;
    const std::size_t first = selection.front() - begin;
    const std::size_t last = selection.back() - begin;
    if (direction < 0 ? first == 0 : last + 1 >= document.pageCount()) {
        return;
    }
    IndexSet places; // in the document, in the order in which pages can be moved past the next one
    for (const std::size_t index : selection) {
        places.push_back(index - begin);
    }
    if (direction > 0) {
        std::ranges::reverse(places);
    }
    clearAllData();
    for (std::size_t& place : places) {
        const std::shared_ptr<PDFPage> page = document.removePageAtIndex(place);
        place = direction < 0 ? place - 1 : place + 1;
        document.insertPageAtIndex(page, place);
    }
    loadData();
    browser().expandGroupAtIndex(*group);
    std::ranges::sort(places);
    for (std::size_t& place : places) {
        place += groupArray()[*group].range.first;
    }
    browser().setSelectionIndexes(places, false);
    browser().scrollIndexToVisible(direction < 0 ? places.front() : places.back());
}

void ImageViewSec::rotateClockwise() {
    rotate(90);
}

void ImageViewSec::rotateCounterclockwise() {
    rotate(-90);
}

void ImageViewSec::rotate(int degrees) {
    const IndexSet selection = browser().selectionIndexes();
    const auto group = groupOfSelection(selection);
    if (!group) {
        return;
    }
    const PageItems items = itemsAtIndexes(images(), selection);
    writeScratchFile(items);
    m_expandPDF = m_PDFArray[*group];
    PDFDocument& document = *m_expandPDF;
    clearAllData();
    IndexSet turned;
    std::shared_ptr<PDFPage> shown;
    for (const auto& item : items) {
        const std::string title = item->imageTitle();
        const std::shared_ptr<PDFPage> page = item->page();
        const std::size_t index = page ? document.indexForPage(*page) : PDFDocument::notFound;
        if (index == PDFDocument::notFound) {
            continue;
        }
        document.removePageAtIndex(index);
        // A turned copy takes the page's place. It goes on pointing at the page's source, so that
        // links and fields, which a copy through a file would lose, are there when it is saved.
        const auto copy = std::make_shared<PDFPage>(page->reference());
        copy->addRotation(degrees);
        copy->setLabel(title);
        document.insertPageAtIndex(copy, index);
        // Placeholders of empty groups before this one are not counted.
        turned.push_back(index + pagesBefore(*group));
        if (!shown) {
            shown = copy;
        }
    }
    loadData();
    browser().expandGroupAtIndex(*group);
    browser().setSelectionIndexes(turned, false);
    showPage(*group, shown);
}

void ImageViewSec::writeScratchFile(const PageItems& items) {
    // The pages as they were before they are turned, until the next turn: a way back that needs
    // nothing but the file.
    std::vector<PDFPageReference> pages;
    for (const auto& page : pagesOf(items)) {
        pages.push_back(page->reference());
    }
    ensureCacheFolder(workingFolder());
    const std::string path = joinedPath(workingFolder(), "rotate.pdf");
    PDFResult<PDFWriteReport> written;
    const bool finished = m_services.longWork.run(
        "Turning pages", [&pages, &path, &written](const std::stop_token& stop) {
            PDFWriteOptions options;
            options.stop = stop;
            written = writePDF(pages, path, options);
        });
    if (finished && !written) {
        m_services.statusLine.showMessage(
            "The pages before turning could not be kept in rotate.pdf: " + written.error().reason +
            ".");
    }
}

} // namespace quillorn
