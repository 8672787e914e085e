#pragma once

#include "platform/browser/BrowserLayer.h"
#include "platform/browser/BrowserLayout.h"
#include "platform/pdf/PDFPage.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn {

/// Indexes of items through all groups, ascending, each once.
using IndexSet = std::vector<std::size_t>;

/// What a browser shows of one item.
struct ImageBrowserItem {
    std::string uid;               ///< the same text for the same item from reload to reload
    std::string title;             ///< stands under the thumbnail
    std::shared_ptr<PDFPage> page; ///< the thumbnail; without one the cell stays empty
};

/// Components from 0 to 1; what lies beyond is clamped when it is drawn.
struct BrowserColor {
    float red = 0;
    float green = 0;
    float blue = 0;
    bool operator==(const BrowserColor&) const = default;
};

/// How a group is shown.
enum class ImageBrowserGroupStyle { bezel = 0, disclosure = 1 };

/// Consecutive items under one header.
struct ImageBrowserGroup {
    BrowserRange range;
    ImageBrowserGroupStyle style = ImageBrowserGroupStyle::disclosure;
    std::string title;
    BrowserColor backgroundColor;
    bool operator==(const ImageBrowserGroup&) const = default;
};

/// What a drag carries besides the pages: the types it announces, and a list of texts for one.
class Pasteboard {
public:
    virtual ~Pasteboard() = default;
    /// Forgets what was there; `types` in order of preference.
    virtual void declareTypes(const std::vector<std::string>& types) = 0;
    virtual void setPropertyListForType(const std::vector<std::string>& list,
                                        std::string_view type) = 0;
    [[nodiscard]] virtual std::vector<std::string> types() const = 0;
    /// Empty for a type without a list.
    [[nodiscard]] virtual std::vector<std::string>
    propertyListForType(std::string_view type) const = 0;
};

namespace pasteboard_type {
/// Announces a drag of pages. A type of our own: files dragged from a file manager carry plain
/// text as well, and must not be taken for pages.
inline constexpr std::string_view pages = "application/x-quillorn-folivane-pages";
/// A list of files: absolute paths, when the drag comes from another program.
inline constexpr std::string_view filenames = "text/uri-list";
} // namespace pasteboard_type

enum class DragOperation { none = 0, copy = 1 };

/// A drag over a browser. Lives as long as the call that hands it over.
class DraggingInfo {
public:
    virtual ~DraggingInfo() = default;
    [[nodiscard]] virtual const Pasteboard& draggingPasteboard() const = 0;
    /// Whether the drag began in this very browser.
    [[nodiscard]] virtual bool startedHere() const = 0;
};

/// Answers a browser's questions about drags that come in.
class ImageBrowserDraggingDestination {
public:
    virtual ~ImageBrowserDraggingDestination() = default;
    [[nodiscard]] virtual DragOperation draggingEntered(const DraggingInfo& info) = 0;
    [[nodiscard]] virtual DragOperation draggingUpdated(const DraggingInfo& info) = 0;
    /// Whether the drop was taken.
    virtual bool performDragOperation(const DraggingInfo& info) = 0;
};

class ImageBrowser;

/// Where a browser gets its items, and to whom it hands what the user does with them.
class ImageBrowserDataSource {
public:
    virtual ~ImageBrowserDataSource() = default;
    [[nodiscard]] virtual std::size_t numberOfItemsInImageBrowser(const ImageBrowser& browser) = 0;
    [[nodiscard]] virtual ImageBrowserItem imageBrowserItemAtIndex(const ImageBrowser& browser,
                                                                   std::size_t index) = 0;
    [[nodiscard]] virtual std::size_t numberOfGroupsInImageBrowser(const ImageBrowser& browser) = 0;
    [[nodiscard]] virtual ImageBrowserGroup imageBrowserGroupAtIndex(const ImageBrowser& browser,
                                                                     std::size_t index) = 0;
    /// Items dragged inside the browser were dropped before `toIndex`.
    virtual bool imageBrowserMoveItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes,
                                                std::size_t toIndex) = 0;
    /// The delete key was pressed.
    virtual void imageBrowserRemoveItemsAtIndexes(ImageBrowser& browser,
                                                  const IndexSet& indexes) = 0;
    /// A drag of these items begins. Returns how many were written.
    [[nodiscard]] virtual std::size_t imageBrowserWriteItemsAtIndexes(ImageBrowser& browser,
                                                                      const IndexSet& indexes,
                                                                      Pasteboard& pasteboard) = 0;
};

/// Learns what happens in a browser. A context menu is the shell's: it is told by a signal.
class ImageBrowserDelegate {
public:
    virtual ~ImageBrowserDelegate() = default;
    virtual void imageBrowserSelectionDidChange(ImageBrowser& browser) = 0;
    virtual void imageBrowserCellWasDoubleClickedAtIndex(ImageBrowser& browser,
                                                         std::size_t index) = 0;
    virtual void imageBrowserBackgroundWasRightClicked(ImageBrowser& browser) = 0;
    virtual void imageBrowserCellWasRightClickedAtIndex(ImageBrowser& browser,
                                                        std::size_t index) = 0;
};

/// A thumbnail browser as its controller sees it: items in collapsible groups, a selection, and
/// drags. The widget implements it; tests of the controllers have one without a window.
///
/// The data source, delegate and destination are not owned and must outlive the browser. All of
/// it belongs to the thread of the window.
class ImageBrowser {
public:
    virtual ~ImageBrowser() = default;

    virtual void setDataSource(ImageBrowserDataSource* dataSource) = 0;
    virtual void setDelegate(ImageBrowserDelegate* delegate) = 0;
    virtual void setDraggingDestinationDelegate(ImageBrowserDraggingDestination* destination) = 0;
    virtual void setAnimates(bool animates) = 0;
    virtual void setAllowsReordering(bool allowsReordering) = 0;
    virtual void setCanControlQuickLookPanel(bool canControl) = 0;

    /// Asks the data source for everything anew. Indexes that are gone leave the selection, and
    /// groups keep their state by position; new ones are expanded.
    virtual void reloadData() = 0;
    virtual void setNeedsDisplay() = 0;

    [[nodiscard]] virtual IndexSet selectionIndexes() const = 0;
    /// Tells the delegate when the selection becomes another.
    virtual void setSelectionIndexes(const IndexSet& indexes, bool byExtendingSelection) = 0;
    virtual void scrollIndexToVisible(std::size_t index) = 0;

    virtual void collapseGroupAtIndex(std::size_t group) = 0;
    virtual void expandGroupAtIndex(std::size_t group) = 0;
    /// False for a group that is not there.
    [[nodiscard]] virtual bool isGroupExpandedAtIndex(std::size_t group) const = 0;

    /// From 0 (small) to 1 (large). What lies beyond is kept, and drawn as the nearest bound.
    virtual void setZoomValue(float zoomValue) = 0;
    [[nodiscard]] virtual float zoomValue() const = 0;

    /// During a drop: the item before which dropped items would go. The number of items at the
    /// end.
    [[nodiscard]] virtual std::size_t indexAtLocationOfDroppedItem() const = 0;

    /// Painted below and above the cells; null takes a layer away.
    virtual void setBackgroundLayer(std::shared_ptr<BrowserLayer> layer) = 0;
    virtual void setForegroundLayer(std::shared_ptr<BrowserLayer> layer) = 0;
    /// In logical pixels: the part of the contents that is shown, and all contents.
    [[nodiscard]] virtual BrowserRect visibleRect() const = 0;
    [[nodiscard]] virtual BrowserRect bounds() const = 0;
};

} // namespace quillorn
