#pragma once

#include "panes/PageDrag.h"
#include "platform/browser/ImageBrowser.h"
#include "platform/ui/Controls.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quillorn {

class PictureLayer;

/// The controls that both panes have: entries of the main menu, and their twins ("i") in the
/// browser's context menu. Each stands for the command that it is named after; collapse stands
/// for the toggle in the context menu. None is owned, all outlive the pane.
struct BrowserPaneOutlets {
    ImageBrowser& browser;
    Slider& slider; ///< zoom
    MenuItem& clearMenu;
    MenuItem& zoomIn;
    MenuItem& zoomOut;
    MenuItem& collapseAll;
    MenuItem& expandAll;
    MenuItem& closePDFFile;
    MenuItem& iClearMenu;
    MenuItem& iZoomIn;
    MenuItem& iZoomOut;
    MenuItem& iCollapseAll;
    MenuItem& iClosePDFFile;
};

/// What the two panes of the window have in common: a flat list of page items, groups that cover
/// consecutive runs of it, and the commands that look at nothing else.
///
/// Pages that arrive wait in `importedImages` with the title of their group in `pdfFileName`;
/// `groupImages` makes the group and `updateDatasource` shows both. The pane is its browser's data
/// source, delegate and drag destination. Menu entries are enabled by hand: `judgeClearMenu` runs
/// after every change of content or selection. Belongs to the thread of the window.
class BrowserPane : public ImageBrowserDataSource,
                    public ImageBrowserDelegate,
                    public ImageBrowserDraggingDestination {
public:
    BrowserPane(const BrowserPane&) = delete;
    BrowserPane& operator=(const BrowserPane&) = delete;
    ~BrowserPane() override = default;

    // The lists, read by tests and by the shell.
    [[nodiscard]] const PageItems& importedImages() const { return m_importedImages; }
    [[nodiscard]] const PageItems& images() const { return m_images; }
    [[nodiscard]] const std::vector<ImageBrowserGroup>& groupArray() const { return m_groupArray; }
    [[nodiscard]] const std::vector<std::string>& pdfFileName() const { return m_pdfFileName; }
    [[nodiscard]] std::int32_t pdfFileNumber() const { return m_pdfFileNumber; }
    [[nodiscard]] std::int32_t rangeStart() const { return m_rangeStart; }
    [[nodiscard]] ImageBrowserGroupStyle groupingStyle() const { return m_groupingStyle; }

    // Data source. An index beyond the lists throws std::out_of_range.
    std::size_t numberOfItemsInImageBrowser(const ImageBrowser& browser) override;
    ImageBrowserItem imageBrowserItemAtIndex(const ImageBrowser& browser,
                                             std::size_t index) override;
    std::size_t numberOfGroupsInImageBrowser(const ImageBrowser& browser) override;
    ImageBrowserGroup imageBrowserGroupAtIndex(const ImageBrowser& browser,
                                               std::size_t index) override;

    // Delegate. A double click means nothing; the context menu is the shell's.
    void imageBrowserSelectionDidChange(ImageBrowser& browser) override;
    void imageBrowserCellWasDoubleClickedAtIndex(ImageBrowser& browser, std::size_t index) override;
    void imageBrowserBackgroundWasRightClicked(ImageBrowser& browser) override;
    void imageBrowserCellWasRightClickedAtIndex(ImageBrowser& browser, std::size_t index) override;

    /// Appends one group to `groupArray`.
    void createNewGroupForChar(const std::string& title, std::int32_t start, std::int32_t length,
                               const BrowserColor& color);
    /// Makes a group for each pending title. Each gets all pending pages as its length, so callers
    /// keep to one file a call.
    void groupImages();
    /// Shows what is pending.
    virtual void updateDatasource() = 0;
    /// Enables and disables the pane's commands.
    virtual void judgeClearMenu() = 0;
    /// Empties the pane.
    virtual void clearAllGroup() = 0;

    /// The slider was moved.
    void zoomSliderDidChange();
    /// One step of 0.1. A step is never clamped, and the entry goes grey by the click that finds
    /// the slider at its bound already, one more than there are steps.
    void zoomIn();
    void zoomOut();

    void collapseAllGroups();
    void expandAllGroups();
    /// The first group decides; without groups, yes.
    [[nodiscard]] bool isExpandedOfGroup() const;
    /// Collapses all groups when the first one is expanded, else expands all.
    void exAcoAllGroups();

    /// Installs the pale background and, above it, the picture of the empty pane.
    void setBackColor();
    /// Takes the picture away; the background stays.
    void removeBackColor();

protected:
    explicit BrowserPane(const BrowserPaneOutlets& outlets);

    /// A new picture layer of the pane's own class.
    [[nodiscard]] virtual std::shared_ptr<PictureLayer> newPictureLayer() const = 0;

    [[nodiscard]] ImageBrowser& browser() const { return m_outlets.browser; }
    [[nodiscard]] const BrowserPaneOutlets& paneOutlets() const { return m_outlets; }
    /// Makes this pane its browser's data source, delegate and drag destination.
    void connectBrowser(bool animates);
    /// Puts a page among the pending ones.
    void appendImported(std::shared_ptr<PageItem> item);
    /// Puts a group's title among the pending ones.
    void appendTitle(std::string title);
    /// Moves the pending pages to the end of those shown.
    void showImported();
    /// Drops items that are pending and not yet shown, without touching titles.
    void dropImported() { m_importedImages.clear(); }
    /// Empties the lists of what is shown and tells menus and browser.
    void clearShown();
    /// Answers a drag that enters: a collapsed last group is opened first, and the pointer's next
    /// move gets the answer.
    [[nodiscard]] DragOperation enterLastGroup();

private:
    BrowserPaneOutlets m_outlets;
    PageItems m_importedImages; ///< arrived, not yet shown
    PageItems m_images;         ///< shown; the browser's index is the index here
    std::vector<ImageBrowserGroup> m_groupArray;
    std::vector<std::string> m_pdfFileName; ///< titles of groups still to be made
    std::int32_t m_pdfFileNumber = 0;       ///< how many those are
    std::int32_t m_rangeStart = 0;          ///< index at which the next group begins
    ImageBrowserGroupStyle m_groupingStyle = ImageBrowserGroupStyle::disclosure;
};

} // namespace quillorn
