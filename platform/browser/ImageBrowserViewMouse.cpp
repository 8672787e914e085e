#include "platform/browser/ImageBrowserView.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QMouseEvent>
#include <QScrollBar>
#include <QWheelEvent>
#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

constexpr int edge = 28;           // pixels at which things held there scroll
constexpr int fastestScroll = 24;  // pixels a step
constexpr int scrollInterval = 16; // milliseconds a step

} // namespace

bool ImageBrowserView::viewportEvent(QEvent* event) {
    if (event->type() == QEvent::Leave && !m_dragOver && !m_band) {
        stopScrolling();
    }
    return QAbstractScrollArea::viewportEvent(event);
}

void ImageBrowserView::mousePressEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return; // the right one comes as a context menu event
    }
    endBand(); // of a press whose release was lost
    m_press = {Press::none, contentsPoint(event->position().toPoint()), 0};
    if (const auto header = m_layout.headerAt(m_press.place)) {
        m_press.kind = Press::header;
        m_press.index = *header;
    } else if (const auto item = m_layout.itemAt(m_press.place)) {
        m_press.index = *item;
        pressItem(*item, event->modifiers());
    } else {
        beginBand(event->modifiers());
    }
}

void ImageBrowserView::pressItem(std::size_t item, Qt::KeyboardModifiers modifiers) {
    m_press.kind = Press::item;
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        if (!m_current) {
            m_anchor = 0;
        }
        setCurrent(item);
        selectTo(item);
        return;
    }
    setCurrent(item);
    m_anchor = item;
    if (modifiers.testFlag(Qt::ControlModifier)) {
        BrowserSelection selection = m_selection;
        selection.toggle(item);
        setSelection(std::move(selection));
    } else if (m_selection.contains(item)) {
        m_press.kind = Press::selectedItem; // all of them may be dragged, so it is too early
    } else {
        setSelection(BrowserSelection({item, item + 1}));
    }
}

void ImageBrowserView::beginBand(Qt::KeyboardModifiers modifiers) {
    const bool keeps = (modifiers & (Qt::ControlModifier | Qt::ShiftModifier)) != Qt::NoModifier;
    m_press.kind = Press::band;
    Band band;
    band.from = m_press.place;
    band.to = m_press.place;
    band.isToggling = modifiers.testFlag(Qt::ControlModifier);
    if (keeps) {
        band.before = m_selection;
    } else {
        setSelection({});
    }
    m_band = std::move(band);
    m_edgePosition = {m_press.place.x, m_press.place.y - scrollPosition()};
}

void ImageBrowserView::endBand() {
    if (m_band) {
        m_band.reset();
        m_press = {};
        stopScrolling();
        viewport()->update();
    }
}

void ImageBrowserView::mouseMoveEvent(QMouseEvent* event) {
    if (!event->buttons().testFlag(Qt::LeftButton)) {
        return;
    }
    const QPoint position = event->position().toPoint();
    if (m_band) {
        moveBand(position);
        scrollAtEdge(position);
        return;
    }
    const BrowserPoint now = contentsPoint(position);
    const QPoint moved(now.x - m_press.place.x, now.y - m_press.place.y);
    if ((m_press.kind == Press::item || m_press.kind == Press::selectedItem) &&
        moved.manhattanLength() >= QApplication::startDragDistance()) {
        m_press.kind = Press::none;
        startDrag();
    }
}

void ImageBrowserView::moveBand(QPoint viewportPosition) {
    m_band->to = contentsPoint(viewportPosition);
    BrowserSelection inside;
    for (const BrowserRange& range :
         m_layout.itemsIn(BrowserRect::between(m_band->from, m_band->to))) {
        inside.add(range);
    }
    BrowserSelection selection = m_band->before;
    if (m_band->isToggling) {
        selection.toggle(inside);
    } else {
        selection.add(inside);
    }
    viewport()->update();
    setSelection(std::move(selection));
}

void ImageBrowserView::mouseReleaseEvent(QMouseEvent* event) {
    if (event->button() != Qt::LeftButton) {
        return;
    }
    stopScrolling();
    const MousePress press = std::exchange(m_press, {});
    if (m_band) {
        endBand();
        return;
    }
    const BrowserPoint place = contentsPoint(event->position().toPoint());
    if (press.kind == Press::selectedItem && m_layout.itemAt(place) == press.index) {
        setSelection(BrowserSelection({press.index, press.index + 1}));
    } else if (press.kind == Press::header && m_layout.headerAt(place) == press.index) {
        const bool isExpanded = !m_layout.isGroupExpanded(press.index);
        setFocusedHeader(press.index);
        if (event->modifiers().testFlag(Qt::ControlModifier)) {
            setAllGroupsExpanded(isExpanded);
        } else {
            setGroupExpanded(press.index, isExpanded);
        }
    }
}

void ImageBrowserView::mouseDoubleClickEvent(QMouseEvent* event) {
    const BrowserPoint place = contentsPoint(event->position().toPoint());
    const auto item = m_layout.itemAt(place);
    if (!item) {
        mousePressEvent(event); // a quick second click on a header is a click
    } else if (event->button() == Qt::LeftButton && m_delegate != nullptr) {
        m_delegate->imageBrowserCellWasDoubleClickedAtIndex(*this, *item);
    }
}

void ImageBrowserView::wheelEvent(QWheelEvent* event) {
    m_glideTimer.stop();
    if (event->modifiers().testFlag(Qt::ControlModifier) && event->angleDelta().y() != 0) {
        emit zoomStepRequested(event->angleDelta().y() > 0 ? 1 : -1);
        event->accept();
        return;
    }
    QAbstractScrollArea::wheelEvent(event);
}

/// Selects what a menu is asked for with the mouse. Whether it is an item.
bool ImageBrowserView::prepareMenuAt(QPoint viewportPosition, std::size_t& item) {
    const BrowserPoint place = contentsPoint(viewportPosition);
    if (const auto header = m_layout.headerAt(place)) {
        // The commands for a group are those for its pages.
        setFocusedHeader(*header);
        setSelection(BrowserSelection(m_layout.itemsOf(*header)));
        return false;
    }
    const auto found = m_layout.itemAt(place);
    if (!found) {
        return false;
    }
    item = *found;
    if (!m_selection.contains(item)) {
        setCurrent(item);
        m_anchor = item;
        setSelection(BrowserSelection({item, item + 1}));
    }
    return true;
}

/// On the screen: the middle of what can be seen of the item or header that keys act on.
QPoint ImageBrowserView::menuPlaceOfKeys() const {
    QRect rect = viewport()->rect();
    if (m_focusedHeader) {
        rect &= viewportRect(m_layout.headerRect(*m_focusedHeader));
    } else if (m_current) {
        rect &= viewportRect(m_layout.itemRect(*m_current));
    }
    return viewport()->mapToGlobal(rect.isEmpty() ? QPoint(0, 0) : rect.center());
}

void ImageBrowserView::contextMenuEvent(QContextMenuEvent* event) {
    QPoint global = event->globalPos();
    std::size_t item = 0;
    bool isItem = false;
    if (event->reason() == QContextMenuEvent::Mouse) {
        isItem = prepareMenuAt(viewport()->mapFromGlobal(global), item);
    } else {
        global = menuPlaceOfKeys();
        if (m_focusedHeader) {
            setSelection(BrowserSelection(m_layout.itemsOf(*m_focusedHeader)));
        } else if (m_current) {
            isItem = true;
            item = *m_current;
        }
    }
    if (m_delegate != nullptr) {
        if (isItem) {
            m_delegate->imageBrowserCellWasRightClickedAtIndex(*this, item);
        } else {
            m_delegate->imageBrowserBackgroundWasRightClicked(*this);
        }
    }
    event->accept();
    emit contextMenuRequested(global);
}

/// Scrolls while something is held at the upper or lower edge, faster nearer to it and beyond.
void ImageBrowserView::scrollAtEdge(QPoint viewportPosition) {
    m_edgePosition = viewportPosition;
    const int above = edge - viewportPosition.y();
    const int below = viewportPosition.y() - (viewport()->height() - edge);
    const int reach = std::max(above, below);
    if (reach <= 0) {
        m_edgeTimer.stop();
        return;
    }
    if (!m_edgeTimer.isActive()) {
        m_edgeTimer.start(scrollInterval, this);
        return; // not by the movement itself, or a quick hand would scroll faster
    }
    const int before = scrollPosition();
    const int step = std::clamp(reach, 1, fastestScroll);
    verticalScrollBar()->setValue(before + (above > below ? -step : step));
    if (scrollPosition() == before) {
        return;
    }
    if (m_dragOver) {
        updateDrop();
    }
}

void ImageBrowserView::stopScrolling() {
    m_edgeTimer.stop();
}

} // namespace quillorn
