#include "platform/browser/ImageBrowserView.h"

#include <QDrag>
#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QPixmap>
#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

class Drag : public DraggingInfo {
public:
    Drag(const Pasteboard& pasteboard, bool startedHere)
        : m_pasteboard(pasteboard), m_startedHere(startedHere) {}
    [[nodiscard]] const Pasteboard& draggingPasteboard() const override { return m_pasteboard; }
    [[nodiscard]] bool startedHere() const override { return m_startedHere; }

private:
    const Pasteboard& m_pasteboard;
    bool m_startedHere;
};

/// The drag of pages that goes on in this program right now; there is one at most. The desktop
/// carries no more than the fact that there is one, so pages of another instance of this program
/// are never taken for ours.
class CurrentDrag {
public:
    CurrentDrag(const ImageBrowserView& origin, const Pasteboard& pasteboard)
        : m_origin(origin), m_pasteboard(pasteboard) {
        s_current = this;
    }
    ~CurrentDrag() { s_current = nullptr; }
    CurrentDrag(const CurrentDrag&) = delete;
    CurrentDrag& operator=(const CurrentDrag&) = delete;

    /// Null when there is none.
    [[nodiscard]] static const CurrentDrag* get() { return s_current; }
    [[nodiscard]] bool beganIn(const ImageBrowserView& view) const { return &m_origin == &view; }
    [[nodiscard]] const Pasteboard& pasteboard() const { return m_pasteboard; }

private:
    static inline const CurrentDrag* s_current = nullptr;
    const ImageBrowserView& m_origin;
    const Pasteboard& m_pasteboard;
};

DragPasteboard copyOf(const Pasteboard& pasteboard) {
    DragPasteboard copy;
    copy.declareTypes(pasteboard.types());
    for (const std::string& type : pasteboard.types()) {
        copy.setPropertyListForType(pasteboard.propertyListForType(type), type);
    }
    return copy;
}

} // namespace

void ImageBrowserView::startDrag() {
    if (m_dataSource == nullptr || m_selection.isEmpty()) {
        return;
    }
    m_draggedIndexes = selectionIndexes();
    DragPasteboard pasteboard;
    const std::size_t count =
        m_dataSource->imageBrowserWriteItemsAtIndexes(*this, m_draggedIndexes, pasteboard);
    if (count == 0) {
        return;
    }
    const BrowserLook look = this->look();
    const BrowserMetrics metrics = this->metrics();
    const QSize frame = look.frameInDevicePixels({0, 0, metrics.cellWidth, metrics.cellHeight});
    std::vector<PagePicture> pages;
    constexpr std::size_t most = 3;
    for (std::size_t i = 0; i < std::min(most, m_draggedIndexes.size()); ++i) {
        if (const auto page = itemAtIndex(m_draggedIndexes[i]).page) {
            pages.push_back(m_pictures.find(*page, frame));
        }
    }
    const CurrentDrag current(*this, pasteboard);
    // Qt deletes a drag when it is over.
    QDrag* const drag = std::make_unique<QDrag>(this).release();
    drag->setMimeData(mimeDataOfPages().release());
    drag->setPixmap(look.dragPicture(pages, count));
    drag->setHotSpot(QPoint(30, 30));
    runDrag(*drag);
}

void ImageBrowserView::runDrag(QDrag& drag) {
    drag.exec(Qt::CopyAction, Qt::CopyAction);
}

void ImageBrowserView::dragEnterEvent(QDragEnterEvent* event) {
    DragOver over;
    const CurrentDrag* const current = CurrentDrag::get();
    if (current != nullptr && hasPages(*event->mimeData())) {
        over.startedHere = current->beganIn(*this);
        over.pasteboard = copyOf(current->pasteboard());
    } else {
        over.pasteboard = pasteboardOfFiles(*event->mimeData());
    }
    over.isReordering = over.startedHere && m_allowsReordering;
    if (over.pasteboard.types().empty()) {
        event->ignore();
        return;
    }
    m_dragOver = std::move(over);
    updateDrag(*event, true);
    event->accept(); // or nobody would be asked again
}

void ImageBrowserView::dragMoveEvent(QDragMoveEvent* event) {
    if (!m_dragOver) {
        event->ignore();
        return;
    }
    updateDrag(*event, false);
    scrollAtEdge(event->position().toPoint());
    if (m_dragOver->operation == DragOperation::none) {
        event->ignore();
    }
}

void ImageBrowserView::updateDrag(QDropEvent& event, bool isEntering) {
    m_dragOver->position = event.position().toPoint();
    updateDrop();
    if (m_dragOver->isReordering) {
        m_dragOver->operation = DragOperation::copy;
    } else if (m_destination != nullptr) {
        // A copy, because what is asked may reload everything.
        const DragPasteboard pasteboard = m_dragOver->pasteboard;
        const Drag drag(pasteboard, m_dragOver->startedHere);
        const DragOperation answer = isEntering ? m_destination->draggingEntered(drag)
                                                : m_destination->draggingUpdated(drag);
        m_dragOver->operation = answer;
        updateDrop();
    }
    if (m_dragOver->operation != DragOperation::none) {
        event.setDropAction(Qt::CopyAction);
        event.accept();
    }
    viewport()->update();
}

void ImageBrowserView::updateDrop() {
    if (!m_dragOver) {
        return;
    }
    if (!m_dragOver->isDropping) {
        m_drop = dropAt(contentsPoint(m_dragOver->position));
        m_dragOver->wasEmpty = m_layout.groupCount() == 0;
    } else if (m_dragOver->wasEmpty) {
        // The first group came into being by this very drop, which goes into it wherever it was.
        m_drop.index = m_layout.itemCount();
    }
    viewport()->update();
}

BrowserDrop ImageBrowserView::dropAtEndOf(std::size_t group) const {
    const BrowserRange items = m_layout.itemsOf(group);
    const bool hasCells = m_layout.isGroupExpanded(group) && items.first < items.end;
    const BrowserRect rect =
        hasCells ? m_layout.itemRect(items.end - 1) : m_layout.headerRect(group);
    return m_layout.dropAt({rect.right() - 1, rect.y + rect.height / 2});
}

/// Pages are put behind an item, into its group. So before the first item of a group means the end
/// of the group above, and the mark stands there; a group with a single item, as an empty one has
/// that shows a blank page, takes them behind it wherever they are held over it. Before the first
/// item of all only what is moved here can go.
BrowserDrop ImageBrowserView::dropAt(BrowserPoint point) const {
    BrowserDrop drop = m_layout.dropAt(point);
    if (m_layout.groupCount() == 0) {
        return drop;
    }
    const BrowserRange items = m_layout.itemsOf(drop.group);
    if (drop.index != items.first || items.first == items.end) {
        return drop;
    }
    const bool isMoving = m_dragOver && m_dragOver->isReordering;
    if (items.end - items.first == 1 && !(isMoving && drop.index == 0)) {
        return dropAtEndOf(drop.group);
    }
    if (drop.group > 0) {
        return dropAtEndOf(drop.group - 1);
    }
    if (!isMoving) {
        drop.mark = {};
    }
    return drop;
}

void ImageBrowserView::dragLeaveEvent(QDragLeaveEvent* /*event*/) {
    endDrag();
}

void ImageBrowserView::dropEvent(QDropEvent* event) {
    if (!m_dragOver) {
        event->ignore();
        return;
    }
    m_dragOver->position = event->position().toPoint();
    updateDrop();
    m_dragOver->isDropping = true;
    const DragOver over = *m_dragOver;
    bool isTaken = false;
    if (over.isReordering) {
        isTaken = m_dataSource != nullptr && m_dataSource->imageBrowserMoveItemsAtIndexes(
                                                 *this, m_draggedIndexes, m_drop.index);
    } else if (m_destination != nullptr) {
        isTaken = m_destination->performDragOperation(Drag(over.pasteboard, over.startedHere));
    }
    if (isTaken) {
        event->setDropAction(Qt::CopyAction);
        event->accept();
    } else {
        event->ignore();
    }
    endDrag();
}

void ImageBrowserView::endDrag() {
    m_dragOver.reset();
    stopScrolling();
    viewport()->update();
}

std::size_t ImageBrowserView::indexAtLocationOfDroppedItem() const {
    return m_drop.index;
}

} // namespace quillorn
