#include "platform/browser/ImageBrowserView.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QPaintEvent>
#include <QPainter>
#include <QRegion>
#include <algorithm>

namespace quillorn {

namespace {

constexpr int groupBarWidth = 4;

} // namespace

BrowserLook ImageBrowserView::look() const {
    return {palette(), font(), devicePixelRatioF(), m_isBackgroundDark};
}

void ImageBrowserView::paintEvent(QPaintEvent* event) {
    const QRegion& region = event->region(); // what lies outside need not be painted
    const bool isWhole = event->rect() == viewport()->rect();
    if (isWhole) {
        m_unfinished.clear();
    }
    QPainter painter(viewport());
    painter.fillRect(viewport()->rect(), palette().color(QPalette::Base));
    const auto paintLayer = [&painter](const std::shared_ptr<BrowserLayer>& layer) {
        if (layer != nullptr) {
            painter.save();
            layer->drawInContext(painter);
            painter.restore();
        }
    };
    paintLayer(m_backgroundLayer);
    const BrowserLook look = this->look();
    const BrowserRect visible = visibleRect();
    const BrowserRange groups = m_layout.groupsBetween(visible.y, visible.bottom());
    for (std::size_t group = groups.first; group < groups.end; ++group) {
        paintGroup(painter, look, group);
    }
    paintItems(painter, look, region);
    if (m_band) {
        look.drawRubberBand(painter, viewportRect(BrowserRect::between(m_band->from, m_band->to)));
    }
    paintLayer(m_foregroundLayer);
    if (m_dragOver && m_dragOver->operation != DragOperation::none) {
        const auto types = m_dragOver->pasteboard.types();
        if (std::ranges::find(types, pasteboard_type::pages) == types.end()) {
            look.drawDropFrame(painter, viewport()->rect());
        } else if (!m_drop.mark.isEmpty()) {
            look.drawDropMark(painter, viewportRect(m_drop.mark));
        }
    }
    // A part is painted when pictures came in; what is to be seen did not change by that.
    if (isWhole && !m_wishTimer.isActive()) {
        m_wishTimer.start(0, this);
    }
}

void ImageBrowserView::paintGroup(QPainter& painter, const BrowserLook& look,
                                  std::size_t group) const {
    const ImageBrowserGroup& shown = m_groups[group];
    const BrowserRange items = m_layout.itemsOf(group);
    const BrowserRect header = m_layout.headerRect(group);
    const bool isExpanded = m_layout.isGroupExpanded(group);
    HeaderLook headerLook;
    headerLook.title = shownText(shown.title);
    headerLook.color = shown.backgroundColor;
    headerLook.pageCount = items.end - items.first;
    headerLook.isExpanded = isExpanded;
    headerLook.isFocused = hasFocus() && m_focusedHeader == group;
    look.drawHeader(painter, viewportRect(header), headerLook);
    if (isExpanded && items.end > items.first) {
        const BrowserRect last = m_layout.itemRect(items.end - 1);
        const int spacing = metrics().spacing;
        look.drawGroupBar(painter,
                          viewportRect({0, header.bottom(), groupBarWidth,
                                        last.bottom() + spacing - header.bottom()}),
                          shown.backgroundColor);
    }
}

PagePicture ImageBrowserView::pictureOf(const ImageBrowserItem& item, const BrowserLook& look,
                                        const QRect& cell) const {
    return item.page != nullptr ? m_pictures.find(*item.page, look.frameInDevicePixels(cell))
                                : PagePicture{PagePicture::State::drawn, {}, nullptr};
}

void ImageBrowserView::paintItems(QPainter& painter, const BrowserLook& look,
                                  const QRegion& region) {
    for (const BrowserRange& range : visibleItems()) {
        for (std::size_t index = range.first; index < range.end; ++index) {
            const QRect cell = viewportRect(m_layout.itemRect(index));
            if (!region.intersects(cell)) {
                continue;
            }
            const ImageBrowserItem item = itemAtIndex(index);
            CellLook cellLook;
            cellLook.title = shownText(item.title);
            cellLook.hasPage = item.page != nullptr;
            cellLook.isSelected = m_selection.contains(index);
            cellLook.isFocused = hasFocus() && !m_focusedHeader && m_current == index;
            cellLook.picture = pictureOf(item, look, cell);
            if (cellLook.picture.state == PagePicture::State::waiting) {
                m_unfinished.insert_or_assign(index, cellLook.picture);
            } else {
                m_unfinished.erase(index);
            }
            look.drawCell(painter, cell, cellLook);
        }
    }
}

/// Has those cells painted anew that would look other now.
void ImageBrowserView::updateArrived() {
    const BrowserLook look = this->look();
    for (const BrowserRange& range : visibleItems()) {
        const auto end = m_unfinished.lower_bound(range.end);
        for (auto painted = m_unfinished.lower_bound(range.first); painted != end; ++painted) {
            const QRect cell = viewportRect(m_layout.itemRect(painted->first));
            const PagePicture now = pictureOf(itemAtIndex(painted->first), look, cell);
            const PagePicture& before = painted->second;
            if (now.state != before.state || now.thumbnail != before.thumbnail ||
                now.size != before.size) {
                viewport()->update(cell);
            }
        }
    }
}

bool ImageBrowserView::showsAllPictures() const {
    const BrowserLook look = this->look();
    for (const BrowserRange& range : visibleItems()) {
        for (std::size_t index = range.first; index < range.end; ++index) {
            const QRect cell = viewportRect(m_layout.itemRect(index));
            if (pictureOf(itemAtIndex(index), look, cell).state == PagePicture::State::waiting) {
                return false;
            }
        }
    }
    return true;
}

std::vector<ImageBrowserItem> ImageBrowserView::itemsBetween(int top, int bottom) const {
    std::vector<ImageBrowserItem> items;
    const BrowserRect area{0, top, viewport()->width(), bottom - top};
    for (const BrowserRange& range : m_layout.itemsIn(area)) {
        for (std::size_t index = range.first; index < range.end; ++index) {
            items.push_back(itemAtIndex(index));
        }
    }
    return items;
}

/// What is shown comes first, then one window of what lies below, then as much of what lies above.
void ImageBrowserView::wishPictures() {
    const BrowserRect visible = visibleRect();
    const auto shown = itemsBetween(visible.y, visible.bottom());
    const auto below = itemsBetween(visible.bottom(), visible.bottom() + visible.height);
    const auto above = itemsBetween(std::max(visible.y - visible.height, 0), visible.y);
    const auto add = [](const std::vector<ImageBrowserItem>& items,
                        std::vector<const PDFPage*>& pages) {
        for (const ImageBrowserItem& item : items) {
            if (item.page != nullptr) {
                pages.push_back(item.page.get());
            }
        }
    };
    std::vector<const PDFPage*> now;
    std::vector<const PDFPage*> later;
    if (isVisible()) {
        add(shown, now);
        add(below, later);
        add(above, later);
    }
    const BrowserMetrics metrics = this->metrics();
    m_pictures.setWishes(m_viewer, now, later,
                         look().frameInDevicePixels({0, 0, metrics.cellWidth, metrics.cellHeight}));
}

/// Many may come in at a time; painting each of them by itself would take longer than drawing it.
void ImageBrowserView::pictureArrived() {
    constexpr int pause = 16; // milliseconds
    if (!m_arrivalTimer.isActive()) {
        m_arrivalTimer.start(pause, this);
    }
}

void ImageBrowserView::hideEvent(QHideEvent* event) {
    QAbstractScrollArea::hideEvent(event);
    wishPictures();
}

} // namespace quillorn
