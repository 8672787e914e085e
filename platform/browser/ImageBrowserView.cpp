#include "platform/browser/ImageBrowserView.h"

#include "platform/browser/AccessibleBrowser.h"
#include "platform/browser/PagePreview.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QEvent>
#include <QImage>
#include <QPainter>
#include <QScrollBar>
#include <QTimerEvent>
#include <algorithm>
#include <cstdlib>
#include <utility>

namespace quillorn {

ImageBrowserView::ImageBrowserView(PagePictures& pictures, QWidget* parent)
    : QAbstractScrollArea(parent),
      m_pictures(pictures),
      m_viewer(pictures.addViewer([this] { pictureArrived(); })) {
    installAccessibleBrowser();
    setFocusPolicy(Qt::StrongFocus);
    setAcceptDrops(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    // Always there, or the columns would jump when a group is expanded.
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    setFrameShape(QFrame::NoFrame);
    viewport()->setAutoFillBackground(false);
    viewport()->setAttribute(Qt::WA_OpaquePaintEvent); // or what lies below would be painted first
    measure();
    sampleBackground();
}

ImageBrowserView::~ImageBrowserView() {
    m_pictures.removeViewer(m_viewer);
}

void ImageBrowserView::setDataSource(ImageBrowserDataSource* dataSource) {
    m_dataSource = dataSource;
    reloadData();
}

void ImageBrowserView::setDelegate(ImageBrowserDelegate* delegate) {
    m_delegate = delegate;
}

void ImageBrowserView::setDraggingDestinationDelegate(
    ImageBrowserDraggingDestination* destination) {
    m_destination = destination;
}

void ImageBrowserView::setAnimates(bool animates) {
    m_animates = animates;
}

void ImageBrowserView::setAllowsReordering(bool allowsReordering) {
    m_allowsReordering = allowsReordering;
}

void ImageBrowserView::setCanControlQuickLookPanel(bool canControl) {
    m_canControlQuickLook = canControl;
}

void ImageBrowserView::reloadData() {
    const std::size_t items =
        m_dataSource != nullptr ? m_dataSource->numberOfItemsInImageBrowser(*this) : 0;
    const std::size_t count =
        m_dataSource != nullptr ? m_dataSource->numberOfGroupsInImageBrowser(*this) : 0;
    m_groups.clear();
    std::vector<BrowserLayout::Group> groups;
    for (std::size_t i = 0; i < count; ++i) {
        m_groups.push_back(m_dataSource->imageBrowserGroupAtIndex(*this, i));
        const BrowserRange& range = m_groups.back().range;
        const bool wasExpanded = i >= m_layout.groupCount() || m_layout.isGroupExpanded(i);
        // More than there is would be asked for otherwise.
        groups.push_back({std::min(range.end, items) - std::min(range.first, items), wasExpanded});
    }
    m_layout.setGroups(std::move(groups));
    updateScrollBar();
    m_press = {};
    endBand();
    if (m_current && *m_current >= m_layout.itemCount()) {
        setCurrent(m_layout.itemCount() > 0 ? std::optional(m_layout.itemCount() - 1)
                                            : std::nullopt);
    }
    m_anchor = std::min(m_anchor, m_layout.itemCount());
    if (m_focusedHeader && *m_focusedHeader >= count) {
        setFocusedHeader(std::nullopt);
    }
    BrowserSelection left = m_selection;
    left.remove({m_layout.itemCount(), static_cast<std::size_t>(-1)});
    setSelection(std::move(left));
    forgetAccessibleItems(*this);
    updateDrop();
    updatePreview();
    viewport()->update();
}

void ImageBrowserView::setNeedsDisplay() {
    viewport()->update();
    updatePreview();
}

IndexSet ImageBrowserView::selectionIndexes() const {
    return m_selection.indexes();
}

void ImageBrowserView::setSelectionIndexes(const IndexSet& indexes, bool byExtendingSelection) {
    BrowserSelection selection = BrowserSelection::of(indexes);
    selection.remove({m_layout.itemCount(), static_cast<std::size_t>(-1)});
    if (!selection.isEmpty()) {
        setCurrent(selection.ranges().front().first);
        m_anchor = *m_current;
    }
    if (byExtendingSelection) {
        selection.add(m_selection);
    }
    setSelection(std::move(selection));
}

void ImageBrowserView::setSelection(BrowserSelection selection) {
    if (selection == m_selection) {
        return;
    }
    m_selection = std::move(selection);
    viewport()->update();
    if (m_delegate != nullptr) {
        m_delegate->imageBrowserSelectionDidChange(*this);
    }
    tellAccessibleSelection(*this);
    updatePreview();
    emit selectionChanged();
}

void ImageBrowserView::setCurrent(std::optional<std::size_t> item) {
    if (item) {
        setFocusedHeader(std::nullopt);
    }
    if (m_current == item) {
        return;
    }
    m_current = item;
    viewport()->update();
    tellAccessibleFocus(*this);
    emit currentChanged();
}

void ImageBrowserView::setFocusedHeader(std::optional<std::size_t> header) {
    if (m_focusedHeader == header) {
        return;
    }
    m_focusedHeader = header;
    viewport()->update();
    if (header) {
        scrollToVisible(m_layout.headerRect(*header));
    }
    tellAccessibleFocus(*this);
    emit currentChanged();
}

void ImageBrowserView::selectAll() {
    setSelection(BrowserSelection({0, m_layout.itemCount()}));
}

void ImageBrowserView::scrollIndexToVisible(std::size_t index) {
    if (index >= m_layout.itemCount()) {
        return;
    }
    const BrowserRect rect = m_layout.itemRect(index);
    scrollToVisible(rect.isEmpty() ? m_layout.headerRect(m_layout.groupOf(index)) : rect);
}

void ImageBrowserView::scrollToVisible(const BrowserRect& rect) {
    constexpr int margin = 8;
    const int height = viewport()->height();
    int target = scrollPosition();
    if (rect.y - margin < target || rect.height + 2 * margin > height) {
        target = rect.y - margin;
    } else if (rect.bottom() + margin > target + height) {
        target = rect.bottom() + margin - height;
    }
    target = std::clamp(target, verticalScrollBar()->minimum(), verticalScrollBar()->maximum());
    // What is far away is jumped to.
    if (m_animates && isVisible() && std::abs(target - scrollPosition()) < 2 * height) {
        m_glideTarget = target;
        m_glideTimer.start(16, this);
    } else {
        m_glideTimer.stop();
        verticalScrollBar()->setValue(target);
    }
}

void ImageBrowserView::glide() {
    const int left = m_glideTarget - scrollPosition();
    const int step = left / 3 + (left > 0 ? 1 : left < 0 ? -1 : 0);
    verticalScrollBar()->setValue(scrollPosition() + step);
    if (scrollPosition() == m_glideTarget || step == 0) {
        m_glideTimer.stop();
    }
}

void ImageBrowserView::collapseGroupAtIndex(std::size_t group) {
    setGroupExpanded(group, false);
}

void ImageBrowserView::expandGroupAtIndex(std::size_t group) {
    setGroupExpanded(group, true);
}

void ImageBrowserView::setGroupExpanded(std::size_t group, bool isExpanded) {
    if (group >= m_layout.groupCount() || m_layout.isGroupExpanded(group) == isExpanded) {
        return;
    }
    m_layout.setGroupExpanded(group, isExpanded);
    updateScrollBar();
    forgetAccessibleItems(*this);
    viewport()->update();
}

void ImageBrowserView::setAllGroupsExpanded(bool isExpanded) {
    m_layout.setAllGroupsExpanded(isExpanded);
    updateScrollBar();
    forgetAccessibleItems(*this);
    viewport()->update();
}

bool ImageBrowserView::isGroupExpandedAtIndex(std::size_t group) const {
    return group < m_layout.groupCount() && m_layout.isGroupExpanded(group);
}

void ImageBrowserView::setZoomValue(float zoomValue) {
    if (zoomValue == m_zoomValue) {
        return;
    }
    m_zoomValue = zoomValue;
    measure();
}

BrowserMetrics ImageBrowserView::metrics() const {
    return BrowserLook::metrics(m_zoomValue, font(), viewport()->width());
}

void ImageBrowserView::measure() {
    // What is in the middle stays there, whatever the size of everything.
    const int middle = viewport()->height() / 2;
    const BrowserRect before = bounds();
    const double share =
        before.height > 0 ? (scrollPosition() + middle) / static_cast<double>(before.height) : 0;
    m_layout.setMetrics(metrics());
    m_layout.setWidth(viewport()->width());
    updateScrollBar();
    if (scrollPosition() > 0) {
        verticalScrollBar()->setValue(static_cast<int>(share * bounds().height) - middle);
    }
    viewport()->update();
}

void ImageBrowserView::updateScrollBar() {
    const int height = viewport()->height();
    verticalScrollBar()->setRange(0, std::max(m_layout.contentHeight() - height, 0));
    verticalScrollBar()->setPageStep(height);
    verticalScrollBar()->setSingleStep(metrics().cellHeight / 4);
}

/// Looks what text will stand on.
void ImageBrowserView::sampleBackground() {
    constexpr int side = 4;
    QImage sample(side, side, QImage::Format_RGB32);
    sample.fill(palette().color(QPalette::Base));
    if (m_backgroundLayer != nullptr) {
        QPainter painter(&sample);
        m_backgroundLayer->drawInContext(painter);
    }
    constexpr double middle = 0.5;
    m_isBackgroundDark = sample.pixelColor(side / 2, side / 2).lightnessF() < middle;
}

void ImageBrowserView::setBackgroundLayer(std::shared_ptr<BrowserLayer> layer) {
    m_backgroundLayer = std::move(layer);
    sampleBackground();
    viewport()->update();
}

void ImageBrowserView::setForegroundLayer(std::shared_ptr<BrowserLayer> layer) {
    m_foregroundLayer = std::move(layer);
    viewport()->update();
}

int ImageBrowserView::scrollPosition() const {
    return verticalScrollBar()->value();
}

BrowserRect ImageBrowserView::visibleRect() const {
    return {0, scrollPosition(), viewport()->width(), viewport()->height()};
}

BrowserRect ImageBrowserView::bounds() const {
    return {0, 0, viewport()->width(), std::max(m_layout.contentHeight(), viewport()->height())};
}

QRect ImageBrowserView::viewportRect(const BrowserRect& rect) const {
    return {rect.x, rect.y - scrollPosition(), rect.width, rect.height};
}

BrowserPoint ImageBrowserView::contentsPoint(QPoint viewportPosition) const {
    return {viewportPosition.x(), viewportPosition.y() + scrollPosition()};
}

std::vector<BrowserRange> ImageBrowserView::visibleItems() const {
    return m_layout.itemsIn(visibleRect());
}

ImageBrowserItem ImageBrowserView::itemAtIndex(std::size_t index) const {
    return m_dataSource != nullptr ? m_dataSource->imageBrowserItemAtIndex(*this, index)
                                   : ImageBrowserItem{};
}

QString ImageBrowserView::groupTitle(std::size_t group) const {
    return shownText(m_groups.at(group).title);
}

QString ImageBrowserView::placeOfItem(std::size_t index) const {
    const std::size_t group = m_layout.groupOf(index);
    const BrowserRange items = m_layout.itemsOf(group);
    return tr("page %1 of %2, %3")
        .arg(index - items.first + 1)
        .arg(items.end - items.first)
        .arg(groupTitle(group));
}

void ImageBrowserView::resizeEvent(QResizeEvent* event) {
    QAbstractScrollArea::resizeEvent(event);
    measure();
}

void ImageBrowserView::changeEvent(QEvent* event) {
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::PaletteChange || event->type() == QEvent::StyleChange) {
        sampleBackground();
    }
    if (event->type() == QEvent::FontChange) {
        measure();
    }
    viewport()->update();
}

void ImageBrowserView::focusInEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusInEvent(event);
    viewport()->update();
}

void ImageBrowserView::focusOutEvent(QFocusEvent* event) {
    QAbstractScrollArea::focusOutEvent(event);
    endBand(); // a window that comes up takes the release of the button as well
    viewport()->update();
}

void ImageBrowserView::timerEvent(QTimerEvent* event) {
    if (event->timerId() == m_glideTimer.timerId()) {
        glide();
    } else if (event->timerId() == m_wishTimer.timerId()) {
        m_wishTimer.stop();
        wishPictures();
    } else if (event->timerId() == m_arrivalTimer.timerId()) {
        m_arrivalTimer.stop();
        updateArrived();
    } else if (event->timerId() == m_edgeTimer.timerId()) {
        scrollAtEdge(m_edgePosition);
    } else {
        QAbstractScrollArea::timerEvent(event);
    }
}

void ImageBrowserView::scrollContentsBy(int /*dx*/, int /*dy*/) {
    if (m_band) {
        moveBand(m_edgePosition); // the contents moved below the pointer
    }
    viewport()->update(); // the layers stay where they are, so nothing can be shifted
}

} // namespace quillorn
