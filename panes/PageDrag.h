#pragma once

#include "model/PageItem.h"
#include "platform/browser/ImageBrowser.h"

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

namespace quillorn {

/// Items as panes list them. Shared, because the record of a drag outlives the pane's list.
using PageItems = std::vector<std::shared_ptr<PageItem>>;

/// `items` at `indexes`, in their order. Throws std::out_of_range for an index beyond the end.
[[nodiscard]] PageItems itemsAtIndexes(const PageItems& items, const IndexSet& indexes);

/// Whether an item stands for no page, but for a group without any.
[[nodiscard]] bool isPlaceholder(const PageItem& item);

/// `items` without placeholders.
[[nodiscard]] PageItems realPages(PageItems items);

/// Announces a drag of pages on `pasteboard`: the pages type first, without data, then the names'
/// type with the extension of each page's file ("pdf", "pdf", ...). Extensions and no paths: a
/// drop elsewhere must not take these for files. The pages themselves travel beside the
/// pasteboard, in DragPagesArray. Returns the number of pages.
std::size_t writePageDrag(const PageItems& items, const IndexSet& indexes, Pasteboard& pasteboard);

/// The pages of the latest drag out of the source pane, in the order of the pane. One object
/// serves both panes: the source pane replaces the list at each drag, the output pane reads it at
/// each drop. Nothing empties it, so after a drop it still holds those pages.
/// Belongs to the thread of the window.
class DragPagesArray {
public:
    /// Null until the first drag. Whoever holds the list keeps it through the next drag.
    [[nodiscard]] const std::shared_ptr<const PageItems>& items() const { return m_items; }
    void replace(PageItems items) { m_items = std::make_shared<const PageItems>(std::move(items)); }

private:
    std::shared_ptr<const PageItems> m_items;
};

} // namespace quillorn
