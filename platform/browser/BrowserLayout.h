#pragma once

#include "platform/browser/BrowserGeometry.h"

#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

namespace quillorn {

/// Sizes in logical pixels.
struct BrowserMetrics {
    int cellWidth = 130;
    int cellHeight = 170;
    int spacing = 12;      ///< between cells, and between them and the edges of their group
    int headerHeight = 28; ///< of each group
    bool operator==(const BrowserMetrics&) const = default;
};

/// Items from `first` up to, but without, `end`.
struct BrowserRange {
    std::size_t first = 0;
    std::size_t end = 0;
    bool operator==(const BrowserRange&) const = default;
};

/// Where dropped items would go.
struct BrowserDrop {
    std::size_t index = 0; ///< the item before which they go; the number of items at the end
    std::size_t group = 0; ///< the group that the point belongs to
    BrowserRect mark;      ///< a bar between the cells; a line below the header where none is shown
    bool operator==(const BrowserDrop&) const = default;
};

/// Places items in rows of equal cells, under a header for each group that can be collapsed.
///
/// Items are numbered through all groups. Each question about a place or an item costs
/// O(log groups), whatever the number of items; changes cost O(groups). No widgets; used by one
/// thread.
class BrowserLayout {
public:
    struct Group {
        std::size_t count = 0;
        bool isExpanded = true;
        bool operator==(const Group&) const = default;
    };
    enum class Step { left, right, up, down, pageUp, pageDown, home, end };

    void setGroups(std::vector<Group> groups);
    void setGroupExpanded(std::size_t group, bool isExpanded);
    void setAllGroupsExpanded(bool isExpanded);
    void setMetrics(const BrowserMetrics& metrics);
    /// Of the part of the window that shows the contents.
    void setWidth(int width);

    [[nodiscard]] std::size_t itemCount() const { return m_firstItems.back(); }
    [[nodiscard]] std::size_t groupCount() const { return m_groups.size(); }
    [[nodiscard]] bool isGroupExpanded(std::size_t group) const;
    [[nodiscard]] BrowserRange itemsOf(std::size_t group) const;
    /// The group of an item, which must be there.
    [[nodiscard]] std::size_t groupOf(std::size_t item) const;
    /// Cells a row, at least one.
    [[nodiscard]] int columns() const { return m_columns; }
    [[nodiscard]] int contentHeight() const { return m_tops.back(); }

    [[nodiscard]] BrowserRect headerRect(std::size_t group) const;
    /// Empty for an item of a collapsed group.
    [[nodiscard]] BrowserRect itemRect(std::size_t item) const;

    [[nodiscard]] std::optional<std::size_t> itemAt(BrowserPoint point) const;
    [[nodiscard]] std::optional<std::size_t> headerAt(BrowserPoint point) const;
    /// The groups of which something lies in these lines.
    [[nodiscard]] BrowserRange groupsBetween(int top, int bottom) const;
    /// The items whose cells meet the area, as ascending ranges that do not touch.
    [[nodiscard]] std::vector<BrowserRange> itemsIn(const BrowserRect& area) const;

    /// Where items dropped at a point go. Any point has an answer: beside, between and below the
    /// cells it is the nearest gap; on a header, and in a group that shows no cells, the end of
    /// that group. Without groups the index is 0 and the mark empty.
    [[nodiscard]] BrowserDrop dropAt(BrowserPoint point) const;

    /// The item that a key leads to from `item`; `item` itself at the edge, and the first or last
    /// shown one when it is not shown. Nothing when no item is shown at all. A page has
    /// `pageHeight` pixels.
    [[nodiscard]] std::optional<std::size_t> stepFrom(std::size_t item, Step step,
                                                      int pageHeight) const;

private:
    /// The rows of cells of an expanded group.
    struct Body {
        std::size_t firstItem = 0;
        std::size_t count = 0;
        int top = 0; ///< of the first row of cells
    };

    void measure();
    [[nodiscard]] bool showsCells(std::size_t group) const;
    [[nodiscard]] Body body(std::size_t group) const;
    [[nodiscard]] int rowHeight() const { return m_metrics.cellHeight + m_metrics.spacing; }
    [[nodiscard]] int columnWidth() const { return m_metrics.cellWidth + m_metrics.spacing; }
    [[nodiscard]] std::size_t groupAtLine(int y) const;
    void addItemsIn(const BrowserRect& area, std::size_t group,
                    std::vector<BrowserRange>& ranges) const;
    [[nodiscard]] BrowserDrop dropInCells(BrowserPoint point, std::size_t group) const;
    [[nodiscard]] std::size_t rowUp(std::size_t item) const;
    [[nodiscard]] std::size_t rowDown(std::size_t item) const;
    /// The nearest group that shows cells before or behind this one.
    [[nodiscard]] std::optional<std::size_t> shownBefore(std::size_t group) const;
    [[nodiscard]] std::optional<std::size_t> shownBehind(std::size_t group) const;

    BrowserMetrics m_metrics;
    int m_width = 0;
    int m_columns = 1;
    int m_left = 0; ///< of the first column
    std::vector<Group> m_groups;
    std::vector<std::size_t> m_firstItems{0}; ///< of each group, and the number of items
    std::vector<int> m_tops{0};               ///< of each group, and the height of everything
    std::vector<std::size_t> m_shown;         ///< groups that show cells, ascending
};

} // namespace quillorn
