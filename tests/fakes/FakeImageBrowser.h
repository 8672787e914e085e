#pragma once

#include "platform/browser/ImageBrowser.h"

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace quillorn::tests {

/// A browser without a window, with the behaviour that its interface promises: after a reload it
/// has asked its data source for everything, groups keep their state by position, and indexes that
/// are gone leave the selection. A test sets what the user does: selections and drop places.
class FakeImageBrowser final : public ImageBrowser {
public:
    void setDataSource(ImageBrowserDataSource* dataSource) override { m_dataSource = dataSource; }
    void setDelegate(ImageBrowserDelegate* delegate) override { m_delegate = delegate; }
    void setDraggingDestinationDelegate(ImageBrowserDraggingDestination* destination) override {
        m_destination = destination;
    }
    void setAnimates(bool animates) override { m_animates = animates; }
    void setAllowsReordering(bool allowsReordering) override { m_reorders = allowsReordering; }
    void setCanControlQuickLookPanel(bool canControl) override { m_quickLook = canControl; }
    void reloadData() override;
    void setNeedsDisplay() override { ++m_displays; }
    [[nodiscard]] IndexSet selectionIndexes() const override { return m_selection; }
    /// Fails the test for an index that is not there.
    void setSelectionIndexes(const IndexSet& indexes, bool byExtendingSelection) override;
    void scrollIndexToVisible(std::size_t index) override { m_scrolledTo = index; }
    void collapseGroupAtIndex(std::size_t group) override;
    void expandGroupAtIndex(std::size_t group) override;
    [[nodiscard]] bool isGroupExpandedAtIndex(std::size_t group) const override;
    void setZoomValue(float zoomValue) override { m_zoom = zoomValue; }
    [[nodiscard]] float zoomValue() const override { return m_zoom; }
    /// Where the test dropped; the number of items when it did not say.
    [[nodiscard]] std::size_t indexAtLocationOfDroppedItem() const override;
    void setBackgroundLayer(std::shared_ptr<BrowserLayer> layer) override { m_background = layer; }
    void setForegroundLayer(std::shared_ptr<BrowserLayer> layer) override { m_foreground = layer; }
    [[nodiscard]] BrowserRect visibleRect() const override { return m_visible; }
    [[nodiscard]] BrowserRect bounds() const override { return m_bounds; }

    // What the user does.
    void dropAt(std::optional<std::size_t> index) { m_dropIndex = index; }
    void select(const IndexSet& indexes) { setSelectionIndexes(indexes, false); }

    // What is seen.
    [[nodiscard]] std::vector<std::string> titles() const; ///< under the thumbnails
    [[nodiscard]] std::vector<std::string> titlesOfGroup(std::size_t group) const;
    [[nodiscard]] std::vector<std::string> groupTitles() const;
    /// "+" for each group that is open and "-" for each that is not.
    [[nodiscard]] std::string expansion() const;
    [[nodiscard]] std::size_t itemCount() const { return m_items.size(); }
    [[nodiscard]] const std::vector<ImageBrowserGroup>& groups() const { return m_groups; }

    ImageBrowserDataSource* m_dataSource = nullptr;
    ImageBrowserDelegate* m_delegate = nullptr;
    ImageBrowserDraggingDestination* m_destination = nullptr;
    std::optional<bool> m_animates;
    std::optional<bool> m_reorders;
    std::optional<bool> m_quickLook;
    int m_displays = 0;
    int m_reloads = 0;
    std::optional<std::size_t> m_scrolledTo;
    std::vector<std::size_t> m_expandRequests; ///< of groups that are not there, too
    std::shared_ptr<BrowserLayer> m_background;
    std::shared_ptr<BrowserLayer> m_foreground;
    BrowserRect m_visible;
    BrowserRect m_bounds;

private:
    std::vector<ImageBrowserItem> m_items;
    std::vector<ImageBrowserGroup> m_groups;
    std::vector<bool> m_expanded;
    IndexSet m_selection;
    std::optional<std::size_t> m_dropIndex;
    float m_zoom = 0;
};

/// A pasteboard that remembers.
class FakePasteboard final : public Pasteboard {
public:
    FakePasteboard() = default;
    /// A drag of files from another program.
    [[nodiscard]] static FakePasteboard ofFiles(const std::vector<std::string>& paths);

    void declareTypes(const std::vector<std::string>& types) override;
    void setPropertyListForType(const std::vector<std::string>& list,
                                std::string_view type) override;
    [[nodiscard]] std::vector<std::string> types() const override { return m_types; }
    [[nodiscard]] std::vector<std::string>
    propertyListForType(std::string_view type) const override;

private:
    std::vector<std::string> m_types;
    std::map<std::string, std::vector<std::string>, std::less<>> m_lists;
};

/// A drag with this pasteboard.
class FakeDrag final : public DraggingInfo {
public:
    explicit FakeDrag(FakePasteboard pasteboard, bool startedHere = false)
        : m_pasteboard(std::move(pasteboard)), m_startedHere(startedHere) {}
    [[nodiscard]] const Pasteboard& draggingPasteboard() const override { return m_pasteboard; }
    [[nodiscard]] bool startedHere() const override { return m_startedHere; }

private:
    FakePasteboard m_pasteboard;
    bool m_startedHere;
};

} // namespace quillorn::tests
