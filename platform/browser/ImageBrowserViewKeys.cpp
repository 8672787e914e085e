#include "platform/browser/ImageBrowserView.h"
#include "platform/browser/PagePreview.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QKeyEvent>
#include <algorithm>

namespace quillorn {

namespace {

using Step = BrowserLayout::Step;

std::optional<Step> stepOf(int key) {
    switch (key) {
    case Qt::Key_Left:
        return Step::left;
    case Qt::Key_Right:
        return Step::right;
    case Qt::Key_Up:
        return Step::up;
    case Qt::Key_Down:
        return Step::down;
    case Qt::Key_PageUp:
        return Step::pageUp;
    case Qt::Key_PageDown:
        return Step::pageDown;
    case Qt::Key_Home:
        return Step::home;
    case Qt::Key_End:
        return Step::end;
    default:
        return std::nullopt;
    }
}

} // namespace

void ImageBrowserView::keyPressEvent(QKeyEvent* event) {
    if (!handleCommandKey(*event) && !handleGroupKey(*event) && !handleMoveKey(*event)) {
        event->ignore(); // a shortcut of the window, perhaps
    }
}

bool ImageBrowserView::handleCommandKey(const QKeyEvent& event) {
    if (event.matches(QKeySequence::SelectAll)) {
        selectAll();
        return true;
    }
    switch (event.key()) {
    case Qt::Key_Escape:
        if (isPreviewShown()) {
            togglePreview();
        } else if (m_band) {
            const BrowserSelection before = m_band->before;
            endBand();
            setSelection(before);
        } else {
            setSelection({});
        }
        return true;
    case Qt::Key_Delete:
    case Qt::Key_Backspace:
        if (m_dataSource == nullptr || m_selection.isEmpty()) {
            return false;
        }
        m_dataSource->imageBrowserRemoveItemsAtIndexes(*this, selectionIndexes());
        return true;
    case Qt::Key_Space:
        if (event.modifiers().testFlag(Qt::ControlModifier) && m_current) {
            BrowserSelection selection = m_selection;
            selection.toggle(*m_current);
            m_anchor = *m_current;
            setSelection(std::move(selection));
            return true;
        }
        togglePreview();
        return m_canControlQuickLook;
    case Qt::Key_Return:
    case Qt::Key_Enter:
        if (m_focusedHeader) {
            setGroupExpanded(*m_focusedHeader, !m_layout.isGroupExpanded(*m_focusedHeader));
            return true;
        }
        if (m_delegate == nullptr || !m_current) {
            return false;
        }
        m_delegate->imageBrowserCellWasDoubleClickedAtIndex(*this, *m_current);
        return true;
    default:
        return false;
    }
}

bool ImageBrowserView::handleGroupKey(const QKeyEvent& event) {
    const int key = event.key();
    if (key == Qt::Key_Asterisk || key == Qt::Key_Slash) {
        setAllGroupsExpanded(key == Qt::Key_Asterisk);
        return true;
    }
    std::optional<std::size_t> group = m_focusedHeader;
    if (!group && m_current) {
        group = m_layout.groupOf(*m_current);
    }
    if (!group && m_layout.groupCount() > 0) {
        group = 0;
    }
    const bool expands = key == Qt::Key_Plus || (m_focusedHeader && key == Qt::Key_Right);
    const bool collapses = key == Qt::Key_Minus || (m_focusedHeader && key == Qt::Key_Left);
    if (!group || (!expands && !collapses)) {
        return false;
    }
    setGroupExpanded(*group, expands);
    setFocusedHeader(group);
    return true;
}

bool ImageBrowserView::handleMoveKey(const QKeyEvent& event) {
    const bool isVertical = event.key() == Qt::Key_Up || event.key() == Qt::Key_Down;
    const bool showsItems = m_layout.stepFrom(0, Step::home, 1).has_value();
    if (isVertical && (event.modifiers().testFlag(Qt::ControlModifier) || !showsItems)) {
        return moveHeader(event.key());
    }
    const auto step = stepOf(event.key());
    if (!step) {
        return false;
    }
    moveCurrent(*step, event.modifiers());
    return true;
}

bool ImageBrowserView::moveHeader(int key) {
    const std::size_t count = m_layout.groupCount();
    if (count == 0) {
        return false;
    }
    std::size_t header = m_focusedHeader.value_or(m_current ? m_layout.groupOf(*m_current) : 0);
    if (m_focusedHeader) {
        if (key == Qt::Key_Up && header > 0) {
            --header;
        } else if (key == Qt::Key_Down) {
            header = std::min(header + 1, count - 1);
        }
    }
    setFocusedHeader(header);
    return true;
}

void ImageBrowserView::moveCurrent(Step step, Qt::KeyboardModifiers modifiers) {
    if (m_layout.itemCount() == 0) {
        return;
    }
    std::optional<std::size_t> target;
    if (m_focusedHeader && (step == Step::down || step == Step::up)) {
        // From a header the arrows lead to the page below or above it.
        const BrowserRange items = m_layout.itemsOf(*m_focusedHeader);
        const bool hasPages = m_layout.isGroupExpanded(*m_focusedHeader) && items.first < items.end;
        if (step == Step::down && hasPages) {
            target = items.first;
        } else if (step == Step::up && items.first > 0) {
            target = items.first - 1;
        }
        if (target && m_layout.itemRect(*target).isEmpty()) {
            target = m_layout.stepFrom(*target, Step::up, 1);
        }
    }
    if (!target) {
        const Step first = step == Step::end ? Step::end : Step::home;
        target = m_current ? m_layout.stepFrom(*m_current, step, viewport()->height())
                           : m_layout.stepFrom(0, first, 1);
    }
    if (!target) {
        return;
    }
    setCurrent(*target);
    if (modifiers.testFlag(Qt::ShiftModifier)) {
        selectTo(*target);
    } else if (!modifiers.testFlag(Qt::ControlModifier)) {
        m_anchor = *target;
        setSelection(BrowserSelection({*target, *target + 1}));
    }
    scrollIndexToVisible(*target);
}

/// Everything from the anchor to an item.
void ImageBrowserView::selectTo(std::size_t item) {
    setSelection(BrowserSelection({std::min(m_anchor, item), std::max(m_anchor, item) + 1}));
}

bool ImageBrowserView::isPreviewShown() const {
    return m_preview != nullptr && m_preview->isVisible();
}

void ImageBrowserView::togglePreview() {
    if (isPreviewShown()) {
        m_preview->close();
        return;
    }
    if (!m_canControlQuickLook || (!m_current && m_selection.isEmpty())) {
        return;
    }
    if (m_preview == nullptr) {
        m_preview = std::make_unique<PagePreview>(m_pictures, *this);
    }
    m_preview->appear();
    updatePreview();
}

void ImageBrowserView::updatePreview() {
    if (!isPreviewShown()) {
        return;
    }
    std::optional<std::size_t> index = m_current;
    if (!m_selection.isEmpty() && (!index || !m_selection.contains(*index))) {
        index = m_selection.ranges().front().first;
    }
    if (!index || *index >= m_layout.itemCount()) {
        m_preview->close();
        return;
    }
    const ImageBrowserItem item = itemAtIndex(*index);
    m_preview->show(item.page, shownText(item.title), placeOfItem(*index));
}

} // namespace quillorn
