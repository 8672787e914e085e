#pragma once

#include "panes/BrowserPane.h"
#include "panes/PageDrag.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/ui/Alerts.h"
#include "platform/ui/FilePanels.h"
#include "platform/ui/LongWork.h"
#include "platform/ui/MainThread.h"
#include "platform/ui/Preferences.h"
#include "platform/ui/Sheet.h"
#include "platform/ui/StatusLine.h"
#include "platform/ui/Window.h"
#include "platform/ui/WorkerThreads.h"
#include "platform/ui/Workspace.h"

#include <cstddef>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

namespace quillorn {

/// The parts of the window that the output pane works with. None is owned, all outlive it.
struct ImageViewSecOutlets {
    BrowserPaneOutlets pane;
    MenuItem& deletePdfPage;
    MenuItem& changePDFName;
    MenuItem& iChangePDFName;
    MenuItem& rotateRight;
    MenuItem& iRotateRight;
    MenuItem& rotateLeft;
    MenuItem& iRotateLeft;
    MenuItem& saveMenu; ///< hidden rather than disabled
    Button& btnSave;
    Button& btnAddNewGroup;
    Button& btnSavePath; ///< its title is the output folder, and nothing else holds it
    Sheet& groupNameWindow;
    TextField& groupNameText;
    Sheet& changeNameWindow;
    TextField& changeNameText;
    TextField& extentionName; ///< ".pdf", what is put behind a typed name in both sheets
    Sheet& saveToPDFWindow;
    ProgressSheet& saveWindow;
};

/// What the output pane uses of the desktop. None is owned, all outlive it.
struct ImageViewSecServices {
    Alerts& alerts;
    FilePanels& filePanels;
    Preferences& preferences;
    MainThread& mainThread;
    WorkerThreads& workerThreads;
    LongWork& longWork;
    StatusLine& statusLine;
    Workspace& workspace;
    DragPagesArray& dragPagesArray;
    std::string homeFolder;
};

/// The output pane: groups that each become one PDF.
///
/// Group i is a name in `addPDFFileName`, a document in `PDFArray` and a browser group, in the same
/// order. Commands change names and documents and rebuild what is shown from them (`clearAllData`,
/// `loadData`), which leaves all groups collapsed but those that were touched. Which group an item
/// belongs to, its path tells: the last component is the group's title. A group without pages
/// shows one placeholder that is no page of it.
///
/// Names on disk: a group's working file in the cache folder is written once, when the group is
/// made, and holds the placeholder's blank page. Belongs to the thread of the window, except where
/// a function says otherwise.
class ImageViewSec final : public BrowserPane {
public:
    ImageViewSec(const ImageViewSecOutlets& outlets, ImageViewSecServices services);

    [[nodiscard]] const std::vector<std::string>& addPDFFileName() const {
        return m_addPDFFileName;
    }
    [[nodiscard]] const std::vector<std::shared_ptr<PDFDocument>>& PDFArray() const {
        return m_PDFArray;
    }
    [[nodiscard]] const std::vector<int>& newIndex() const { return m_newIndex; }
    /// Whether nothing has changed since a save. False at the start.
    [[nodiscard]] bool isSave() const { return m_isSave; }
    [[nodiscard]] std::string workingFolder() const;

    // Groups: ImageViewSec.cpp.

    /// Prepares browser, menus and output folder once the window is there.
    void awakeFromNib();
    /// Settles the output folder and shows it on its button.
    void InitAppPath();
    /// Makes a new group without pages, or tells why that name cannot be.
    void getGroupName(const std::string& name);
    /// Shows groups and pages anew. `clearAllData` comes first.
    void loadData();
    void clearAllData();
    void updateDatasource() override;
    void judgeClearMenu() override;
    void clearAllGroup() override;
    /// Closes the groups of the selected items. An entry of the selection that is a placeholder
    /// takes the name from its group and leaves the group's document in `PDFArray`.
    void closePDFFile();

    // Pages: ImageViewSecPages.cpp.

    DragOperation draggingEntered(const DraggingInfo& info) override;
    DragOperation draggingUpdated(const DraggingInfo& info) override;
    /// Always takes the drop.
    bool performDragOperation(const DraggingInfo& info) override;
    /// Puts the pages of the latest drag behind the item before the drop point, into its group.
    void getNewGroupInfo();
    bool imageBrowserMoveItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes,
                                        std::size_t toIndex) override;
    void imageBrowserRemoveItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes) override;
    std::size_t imageBrowserWriteItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes,
                                                Pasteboard& pasteboard) override;
    void deletePdfPages();
    /// Moves the selected pages, all of one group, one place towards its front (negative) or end,
    /// and keeps them selected. Nothing at the front or end. For keys; a drag moves anywhere.
    void movePages(int direction);
    void rotateClockwise();
    void rotateCounterclockwise();

    // Names: ImageViewSecNames.cpp. A sheet's buttons hand over their sheet.

    void addNewGroup();
    void clickSureBtn(Sheet& sender);
    void clickConcelBtn(Sheet& sender);
    void itemChangePDFName();
    void modifySelectTextName();
    void clickChangeSureBtn(Sheet& sender);

    // Saving and closing: ImageViewSecSaving.cpp.

    void saveToPDF();
    void onBtnSetSavePath();
    void SetSavePath(PanelReturn returnCode, const OpenPanelChoice& choice);
    /// Writes every group into the output folder and shows that folder.
    void clickSaveToPDFSureBtn(Sheet& sender);
    /// Ends the save that is under way after the page at hand. Files that were complete stay.
    void cancelSaving();
    /// Notifications of the document being written.
    void documentBeginWrite();
    void documentEndPageWrite(std::size_t pageIndex);
    void documentEndWrite();
    /// Whether the main window may close: asks when something is unsaved, and removes the working
    /// folder when the answer is yes.
    [[nodiscard]] bool windowShouldClose(Window& mainWindow);
    /// The same for any other window that this controller looks after: always yes, and the working
    /// folder goes.
    [[nodiscard]] bool windowShouldClose(Sheet& other);
    /// Removes the working folder with everything in it, as far as that goes.
    void removeWorkingFolder() const;
    [[nodiscard]] static bool applicationShouldTerminateAfterLastWindowClosed() { return true; }

    // Opening files here: ImageViewSecFiles.cpp. Their pages are shown behind all groups, belong
    // to none, are not saved, and go at the next rebuild.

    void addImageButtonClicked();
    /// On a thread of its own, as the two below.
    void addImagesWithPaths(const std::vector<std::string>& paths, const std::stop_token& stop);
    void addImagesWithPath(const std::string& path, bool recursive);
    void addAnImageWithPath(const std::string& path);

protected:
    [[nodiscard]] std::shared_ptr<PictureLayer> newPictureLayer() const override;

private:
    /// The group whose title is the last component of `imagePath`.
    [[nodiscard]] std::optional<std::size_t> groupOfPath(const std::string& imagePath) const;
    /// The one group, with pages, that all of a selection belongs to.
    [[nodiscard]] std::optional<std::size_t> groupOfSelection(const IndexSet& indexes) const;
    [[nodiscard]] std::string workingFile(const std::string& name) const;
    /// The pages in the groups before `group`; placeholders do not count.
    [[nodiscard]] std::size_t pagesBefore(std::size_t group) const;
    [[nodiscard]] bool acceptsName(const std::string& name);
    void showUpdatedDatasource();
    void appendPlaceholder(const std::string& path, std::shared_ptr<PDFPage> page);
    /// Inserts copies before `indexPage`; in a document without pages one place earlier, since the
    /// place was counted behind the placeholder. Returns the first page inserted.
    std::shared_ptr<PDFPage> insertPages(PDFDocument& document,
                                         const std::vector<std::shared_ptr<PDFPage>>& pages,
                                         std::size_t indexPage);
    void moveWithinGroup(PDFDocument& document, const PageItems& moving, std::size_t indexPage,
                         std::size_t last);
    /// The group that got the pages, if any did.
    std::optional<std::size_t> copyToOtherGroup(const PageItems& moving,
                                                std::shared_ptr<PDFPage>& firstInserted);
    void removePages(const IndexSet& indexes);
    void rotate(int degrees);
    void writeScratchFile(const PageItems& items);
    /// Scrolls to a page that stands in `group`.
    void showPage(std::size_t group, const std::shared_ptr<PDFPage>& page);
    void runSheet(Sheet& sheet);
    void endSheet(Sheet& sheet);
    [[nodiscard]] bool writeGroup(std::size_t group);
    void showAlert(const std::string& title, const std::string& message);

    ImageViewSecOutlets m_outlets;
    ImageViewSecServices m_services;
    std::vector<std::string> m_addPDFFileName;
    std::vector<std::shared_ptr<PDFDocument>> m_PDFArray; ///< shared with what works on one
    std::vector<int> m_newIndex;                          ///< a 0 for each group ever made
    std::shared_ptr<PDFDocument> m_expandPDF;             ///< the document that was worked on last
    std::shared_ptr<PDFDocument> m_outputPDF; ///< being written; null at all other times
    std::vector<std::shared_ptr<PDFDocument>> m_looseDocuments; ///< of pages in no group
    std::stop_source m_saving;
    bool m_isProgressShown = false;
    bool m_isSave = false;
};

} // namespace quillorn
