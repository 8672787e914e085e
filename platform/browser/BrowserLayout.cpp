#include "platform/browser/BrowserLayout.h"

#include <algorithm>

namespace quillorn {

namespace {

constexpr int markWidth = 3;

/// Rounds towards minus infinity; `divisor` is positive.
int floorOf(int dividend, int divisor) {
    return dividend >= 0 ? dividend / divisor : -((divisor - 1 - dividend) / divisor);
}

int rowsFor(std::size_t count, int columns) {
    const auto wide = static_cast<std::size_t>(columns);
    return static_cast<int>((count + wide - 1) / wide);
}

/// The lines (rows or columns) of cells that meet the pixels from `from` up to `to`, where the
/// first cell starts at `start`, cells have `size` and start `pitch` apart. Not limited at the end.
std::pair<int, int> linesMeeting(int from, int to, int start, int size, int pitch) {
    return {std::max(0, floorOf(from - start - size, pitch) + 1), floorOf(to - 1 - start, pitch)};
}

} // namespace

void BrowserLayout::setGroups(std::vector<Group> groups) {
    m_groups = std::move(groups);
    m_firstItems.assign(1, 0);
    m_firstItems.reserve(m_groups.size() + 1);
    for (const Group& group : m_groups) {
        m_firstItems.push_back(m_firstItems.back() + group.count);
    }
    measure();
}

void BrowserLayout::setGroupExpanded(std::size_t group, bool isExpanded) {
    if (m_groups.at(group).isExpanded != isExpanded) {
        m_groups[group].isExpanded = isExpanded;
        measure();
    }
}

void BrowserLayout::setAllGroupsExpanded(bool isExpanded) {
    for (Group& group : m_groups) {
        group.isExpanded = isExpanded;
    }
    measure();
}

void BrowserLayout::setMetrics(const BrowserMetrics& metrics) {
    if (metrics != m_metrics) {
        m_metrics = metrics;
        measure();
    }
}

void BrowserLayout::setWidth(int width) {
    if (width != m_width) {
        m_width = width;
        measure();
    }
}

void BrowserLayout::measure() {
    m_columns = std::max(1, (m_width - m_metrics.spacing) / columnWidth());
    const int used = m_columns * columnWidth() - m_metrics.spacing;
    m_left = std::max(0, (m_width - used) / 2);
    m_tops.assign(1, 0);
    m_tops.reserve(m_groups.size() + 1);
    m_shown.clear();
    for (std::size_t i = 0; i < m_groups.size(); ++i) {
        int height = m_metrics.headerHeight;
        if (showsCells(i)) {
            m_shown.push_back(i);
            height += m_metrics.spacing + rowsFor(m_groups[i].count, m_columns) * rowHeight();
        }
        m_tops.push_back(m_tops.back() + height);
    }
}

bool BrowserLayout::showsCells(std::size_t group) const {
    return m_groups[group].isExpanded && m_groups[group].count > 0;
}

BrowserLayout::Body BrowserLayout::body(std::size_t group) const {
    return {m_firstItems[group], m_groups[group].count,
            m_tops[group] + m_metrics.headerHeight + m_metrics.spacing};
}

bool BrowserLayout::isGroupExpanded(std::size_t group) const {
    return m_groups.at(group).isExpanded;
}

BrowserRange BrowserLayout::itemsOf(std::size_t group) const {
    return {m_firstItems.at(group), m_firstItems.at(group + 1)};
}

std::size_t BrowserLayout::groupOf(std::size_t item) const {
    // The last group that starts at or before the item: empty ones share their start with it.
    const auto behind = std::upper_bound(m_firstItems.begin(), m_firstItems.end(), item);
    return static_cast<std::size_t>(behind - m_firstItems.begin()) - 1;
}

BrowserRect BrowserLayout::headerRect(std::size_t group) const {
    return {0, m_tops.at(group), m_width, m_metrics.headerHeight};
}

BrowserRect BrowserLayout::itemRect(std::size_t item) const {
    const std::size_t group = groupOf(item);
    if (!showsCells(group)) {
        return {};
    }
    const Body cells = body(group);
    const std::size_t place = item - cells.firstItem;
    const auto wide = static_cast<std::size_t>(m_columns);
    return {m_left + static_cast<int>(place % wide) * columnWidth(),
            cells.top + static_cast<int>(place / wide) * rowHeight(), m_metrics.cellWidth,
            m_metrics.cellHeight};
}

/// The group that a line belongs to; the first above everything, the last below it.
std::size_t BrowserLayout::groupAtLine(int y) const {
    const auto behind = std::upper_bound(m_tops.begin(), m_tops.end(), y);
    const auto place = static_cast<std::size_t>(behind - m_tops.begin());
    return std::min(place == 0 ? 0 : place - 1, m_groups.size() - 1);
}

std::optional<std::size_t> BrowserLayout::itemAt(BrowserPoint point) const {
    const std::vector<BrowserRange> ranges = itemsIn({point.x, point.y, 1, 1});
    return ranges.empty() ? std::nullopt : std::optional(ranges.front().first);
}

std::optional<std::size_t> BrowserLayout::headerAt(BrowserPoint point) const {
    if (m_groups.empty()) {
        return std::nullopt;
    }
    const std::size_t group = groupAtLine(point.y);
    return headerRect(group).contains(point) ? std::optional(group) : std::nullopt;
}

BrowserRange BrowserLayout::groupsBetween(int top, int bottom) const {
    if (m_groups.empty() || top >= bottom || bottom <= 0 || top >= contentHeight()) {
        return {};
    }
    return {groupAtLine(top), groupAtLine(bottom - 1) + 1};
}

std::vector<BrowserRange> BrowserLayout::itemsIn(const BrowserRect& area) const {
    std::vector<BrowserRange> ranges;
    const BrowserRange groups = groupsBetween(area.y, area.bottom());
    auto shown = std::lower_bound(m_shown.begin(), m_shown.end(), groups.first);
    for (; shown != m_shown.end() && *shown < groups.end; ++shown) {
        addItemsIn(area, *shown, ranges);
    }
    return ranges;
}

void BrowserLayout::addItemsIn(const BrowserRect& area, std::size_t group,
                               std::vector<BrowserRange>& ranges) const {
    const Body cells = body(group);
    const auto [firstRow, lastRowMet] =
        linesMeeting(area.y, area.bottom(), cells.top, m_metrics.cellHeight, rowHeight());
    const auto [firstColumn, lastColumnMet] =
        linesMeeting(area.x, area.right(), m_left, m_metrics.cellWidth, columnWidth());
    const int lastRow = std::min(lastRowMet, rowsFor(cells.count, m_columns) - 1);
    const int lastColumn = std::min(lastColumnMet, m_columns - 1);
    const auto add = [&](std::size_t first, std::size_t end) {
        end = std::min(end, cells.count);
        if (first >= end) {
            return;
        }
        if (!ranges.empty() && ranges.back().end == cells.firstItem + first) {
            ranges.back().end = cells.firstItem + end;
        } else {
            ranges.push_back({cells.firstItem + first, cells.firstItem + end});
        }
    };
    if (firstRow > lastRow || firstColumn > lastColumn) {
        return;
    }
    const auto wide = static_cast<std::size_t>(m_columns);
    const auto row = [wide](int line) { return static_cast<std::size_t>(line) * wide; };
    if (firstColumn == 0 && lastColumn == m_columns - 1) {
        add(row(firstRow), row(lastRow + 1));
        return;
    }
    for (int line = firstRow; line <= lastRow; ++line) {
        add(row(line) + static_cast<std::size_t>(firstColumn),
            row(line) + static_cast<std::size_t>(lastColumn) + 1);
    }
}

BrowserDrop BrowserLayout::dropAt(BrowserPoint point) const {
    if (m_groups.empty()) {
        return {};
    }
    const std::size_t group = groupAtLine(point.y);
    if (showsCells(group) && point.y >= headerRect(group).bottom()) {
        return dropInCells(point, group);
    }
    const BrowserRect header = headerRect(group);
    return {itemsOf(group).end, group,
            BrowserRect{0, header.bottom() - markWidth, m_width, markWidth}};
}

BrowserDrop BrowserLayout::dropInCells(BrowserPoint point, std::size_t group) const {
    const Body cells = body(group);
    const int rows = rowsFor(cells.count, m_columns);
    const int half = m_metrics.spacing / 2;
    const int row = std::clamp(floorOf(point.y - cells.top + half, rowHeight()), 0, rows - 1);
    const auto before = static_cast<std::size_t>(row) * static_cast<std::size_t>(m_columns);
    const auto inRow =
        static_cast<int>(std::min(cells.count - before, static_cast<std::size_t>(m_columns)));
    // As many cells as have their middle left of the point.
    const int middle = m_left + m_metrics.cellWidth / 2;
    const int column = std::clamp(floorOf(point.x - middle - 1, columnWidth()) + 1, 0, inRow);
    const int gap = m_left + column * columnWidth() - m_metrics.spacing + half;
    const int left = std::clamp(gap - markWidth / 2, 0, std::max(0, m_width - markWidth));
    return {cells.firstItem + before + static_cast<std::size_t>(column), group,
            BrowserRect{left, cells.top + row * rowHeight(), markWidth, m_metrics.cellHeight}};
}

std::optional<std::size_t> BrowserLayout::shownBefore(std::size_t group) const {
    const auto place = std::lower_bound(m_shown.begin(), m_shown.end(), group);
    return place == m_shown.begin() ? std::nullopt : std::optional(*(place - 1));
}

std::optional<std::size_t> BrowserLayout::shownBehind(std::size_t group) const {
    const auto place = std::upper_bound(m_shown.begin(), m_shown.end(), group);
    return place == m_shown.end() ? std::nullopt : std::optional(*place);
}

std::size_t BrowserLayout::rowUp(std::size_t item) const {
    const auto wide = static_cast<std::size_t>(m_columns);
    const std::size_t group = groupOf(item);
    const std::size_t place = item - m_firstItems[group];
    if (place >= wide) {
        return item - wide;
    }
    const auto above = shownBefore(group);
    if (!above) {
        return item;
    }
    const BrowserRange items = itemsOf(*above);
    const std::size_t lastRow = (items.end - items.first - 1) / wide * wide;
    return std::min(items.first + lastRow + place, items.end - 1);
}

std::size_t BrowserLayout::rowDown(std::size_t item) const {
    const auto wide = static_cast<std::size_t>(m_columns);
    const std::size_t group = groupOf(item);
    const BrowserRange items = itemsOf(group);
    const std::size_t place = item - items.first;
    const std::size_t lastRow = (items.end - items.first - 1) / wide;
    if (place / wide < lastRow) {
        return std::min(item + wide, items.end - 1);
    }
    const auto below = shownBehind(group);
    if (!below) {
        return item;
    }
    const BrowserRange next = itemsOf(*below);
    return std::min(next.first + place % wide, next.end - 1);
}

std::optional<std::size_t> BrowserLayout::stepFrom(std::size_t item, Step step,
                                                   int pageHeight) const {
    if (m_shown.empty()) {
        return std::nullopt;
    }
    const std::size_t first = itemsOf(m_shown.front()).first;
    const std::size_t last = itemsOf(m_shown.back()).end - 1;
    const bool isForwards =
        step == Step::right || step == Step::down || step == Step::pageDown || step == Step::end;
    if (step == Step::home || step == Step::end) {
        return isForwards ? last : first;
    }
    if (item >= itemCount() || !showsCells(groupOf(item))) {
        return isForwards ? first : last;
    }
    const std::size_t group = groupOf(item);
    switch (step) {
    case Step::left:
        if (item > itemsOf(group).first) {
            return item - 1;
        }
        return shownBefore(group) ? itemsOf(*shownBefore(group)).end - 1 : item;
    case Step::right:
        if (item + 1 < itemsOf(group).end) {
            return item + 1;
        }
        return shownBehind(group) ? itemsOf(*shownBehind(group)).first : item;
    default:
        break;
    }
    const bool isPage = step == Step::pageUp || step == Step::pageDown;
    const int rows = isPage ? std::max(1, pageHeight / rowHeight()) : 1;
    for (int row = 0; row < rows; ++row) {
        item = isForwards ? rowDown(item) : rowUp(item);
    }
    return item;
}

} // namespace quillorn
