#pragma once

#include "import/DocumentConversions.h"
#include "import/FileRoute.h"
#include "import/NameTurns.h"
#include "import/PDFIntake.h"
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
#include "platform/ui/Toolbar.h"
#include "platform/ui/Window.h"
#include "platform/ui/WorkerThreads.h"

#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <stop_token>
#include <string>
#include <string_view>
#include <vector>

namespace quillorn {

/// The parts of the window that the source pane works with. None is owned, all outlive it.
struct ImageViewFirOutlets {
    BrowserPaneOutlets pane;
    Window& mainWindow;
    SplitView& splitView;
    Screen& mainScreen;
    Sheet& passwordWindow;
    TextField& passwordText; ///< secret
    Button& btnSave;         ///< the three that the toolbar shows
    Button& btnAddNewGroup;
    Button& btnOpenPDFFiles;
};

/// What the source pane uses of the desktop and of the other parts. None is owned but the values,
/// all outlive it and the threads that it starts.
struct ImageViewFirServices {
    Alerts& alerts;
    FilePanels& filePanels;
    Preferences& preferences;
    MainThread& mainThread;
    WorkerThreads& workerThreads;
    LongWork& longWork;
    StatusLine& statusLine;
    DocumentConversions& conversions;
    DragPagesArray& dragPagesArray;
    PDFIntake intake;
    std::string homeFolder;
    /// A text in the user's language; the text itself where there is no other.
    std::function<std::string(std::string_view)> localizedString;
};

/// One list of files on its way in. `stop` ends it before the next file, and so does the user's
/// cancel.
struct ImportRun {
    std::stop_token stop;
    LongWork* work = nullptr; ///< shows and cancels the list as one; null: each file for itself
    bool isCancelled = false;

    [[nodiscard]] bool goesOn() const { return !isCancelled && !stop.stop_requested(); }
};

/// A flag that is up while this lives.
class RaisedFlag {
public:
    explicit RaisedFlag(bool& flag) : m_flag(flag) { m_flag = true; }
    ~RaisedFlag() { m_flag = false; }
    RaisedFlag(const RaisedFlag&) = delete;
    RaisedFlag& operator=(const RaisedFlag&) = delete;

private:
    bool& m_flag;
};

/// The source pane: one group for each file that was taken in.
///
/// A file goes its route (FileRoute.h): converted if it must be, then opened, then shown. Opening
/// and converting happen away from the thread of the window; the lists are touched, and alerts
/// shown, on it alone. Files of the open panel come on a thread of their own, dropped ones are
/// waited for. A file that needs a password is asked about; others that do wait for their turn.
///
/// Pages keep their order and cannot be deleted one by one; whole files close. Every file's
/// document is kept while its pages are shown, so that pages dragged from here are copied, never
/// taken. Belongs to the thread of the window, except where a function says otherwise.
class ImageViewFir final : public BrowserPane, public ToolbarDelegate {
public:
    ImageViewFir(const ImageViewFirOutlets& outlets, ImageViewFirServices services);

    /// The full path of every open file, in order of arrival.
    [[nodiscard]] const std::vector<std::string>& pdfFilesName() const { return m_pdfFilesName; }
    /// What was chosen last in the open panel.
    [[nodiscard]] const std::vector<std::string>& fileArray() const { return m_fileArray; }
    /// The one file that is asked about, or was last. Others wait for their turn to replace it.
    [[nodiscard]] const std::string& pdfPasswordPath() const { return m_pdfPasswordPath; }

    // The pane: ImageViewFir.cpp.

    /// Prepares browser and menus once the window is there.
    void awakeFromNib();
    void updateDatasource() override;
    void judgeClearMenu() override;
    /// Empties the pane. What is pending stays.
    void clearAllGroup() override;
    /// Closes every file of which a page is selected; the others are opened anew.
    void closePDFFile();
    /// Changes nothing: the order of files and pages is fixed.
    bool imageBrowserMoveItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes,
                                        std::size_t toIndex) override;
    /// Changes nothing.
    void imageBrowserRemoveItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes) override;
    /// Records the dragged items in the drag's list, too.
    std::size_t imageBrowserWriteItemsAtIndexes(ImageBrowser& browser, const IndexSet& indexes,
                                                Pasteboard& pasteboard) override;

    // The toolbar: ImageViewFirWindow.cpp.

    void setupToolbar();
    [[nodiscard]] std::vector<std::string> toolbarDefaultItemIdentifiers() const override;
    [[nodiscard]] std::vector<std::string> toolbarAllowedItemIdentifiers() const override;
    [[nodiscard]] std::optional<ToolbarItem>
    toolbarItemForItemIdentifier(std::string_view identifier) override;

    // Choosing and dropping files: ImageViewFirIntake.cpp.

    /// Asks for PDFs and images.
    void addImageButtonClicked();
    void openPanelDidEnd(PanelReturn returnCode, const OpenPanelChoice& choice);
    void openFilesLoad(const std::vector<std::string>& paths);
    /// Asks for files of every kind that can be dropped, and takes them the way of a drop.
    void importDocumentsClicked();
    /// Takes files in the way of a drop, but on a thread of their own: files named when the program
    /// is started.
    void importFiles(const std::vector<std::string>& paths);
    /// The route of the open panel, on a thread of its own.
    void addImagesWithPaths(const std::vector<std::string>& paths, const std::stop_token& stop);
    DragOperation draggingEntered(const DraggingInfo& info) override;
    DragOperation draggingUpdated(const DraggingInfo& info) override;
    /// False for pages and at the first file of no legal kind, which ends the drop.
    bool performDragOperation(const DraggingInfo& info) override;

    // One file, on any thread: ImageViewFirIntake.cpp.

    void image2PDF(const std::string& path, ImportRun& run);
    void html2PDF(const std::string& path, ImportRun& run);
    void rtf2PDF(const std::string& path, ImportRun& run);
    void doc2PDF(const std::string& path, ImportRun& run);
    /// Adds a file, or the entries of a folder; `recursive` goes one folder deeper.
    void addImagesWithPath(const std::string& path, bool recursive, ImportRun& run);
    /// Opens one PDF and queues its pages. The caller calls `updateDatasource`.
    void addAnImageWithPath(const std::string& path, ImportRun& run);

    // Passwords: ImageViewFirUnlock.cpp.

    /// The answer to whether a password is to be entered.
    void alertEnded(AlertAnswer code);
    /// The password window's button.
    void isEnterPassword(Sheet& sender);
    /// Its way out without a password.
    void cancelPassword(Sheet& sender);

protected:
    [[nodiscard]] std::shared_ptr<PictureLayer> newPictureLayer() const override;

private:
    using Conversion = ImportResult<std::string> (DocumentConversions::*)(const std::string&,
                                                                          const std::stop_token&);
    using Route = FileRoute (*)(const std::string&);

    // On the thread of the window.
    void showPending();
    void showDatasource();
    void layOutWindow();
    void closeClear();
    /// Queues the labelled pages of `document` as one file.
    void queueFile(const std::string& path, std::shared_ptr<PDFDocument> document);
    /// Queues what was opened, or tells why it was not.
    void takeIn(const std::string& path, ImportResult<std::shared_ptr<PDFDocument>> opened);
    /// A file that stays open when another is closed, opened anew and labelled.
    [[nodiscard]] std::shared_ptr<PDFDocument> reopened(const std::string& path,
                                                        const PDFDocument& before);
    void showAlert(const std::string& message);
    void refuse(const ImportRefusal& refusal);
    void askForPassword(const ImportRefusal& refusal);
    void askAboutPassword(const std::string& path);
    /// Asks about the file that came while nobody could be asked.
    void askAboutPasswordMeanwhile();
    [[nodiscard]] bool dropFiles(const std::vector<std::string>& files);
    [[nodiscard]] DragOperation operationForFiles(const Pasteboard& pasteboard, bool entered);
    void beginOpenPanel(const std::string& title, std::span<const std::string_view> types,
                        Route route);
    void loadFiles(const std::vector<std::string>& paths, Route route);

    // On any thread.
    void addByRoute(const std::string& path, FileRoute route, ImportRun& run);
    /// Takes a list in, each file by its route.
    void addByRoutes(const std::vector<std::string>& paths, Route route,
                     const std::stop_token& stop);
    /// Converts a file and opens what came out, before another file of that name replaces it.
    void convert(const std::string& path, Conversion conversion, ImportRun& run);
    /// Runs work that the user may cancel. False when the run is over.
    bool perform(const std::string& text, ImportRun& run, const LongWork::Work& work);
    [[nodiscard]] ImportResult<std::shared_ptr<PDFDocument>>
    openLabelled(const std::string& path, const std::optional<std::string>& password) const;
    /// Says how many of a list were not read: `left` are behind the file that the run ended with,
    /// that file included.
    void tellRest(const ImportRun& run, std::size_t left);

    ImageViewFirOutlets m_outlets;
    ImageViewFirServices m_services;
    std::vector<std::string> m_pdfFilesName;
    std::vector<std::shared_ptr<PDFDocument>> m_documents; ///< of the files above, in their order
    std::set<std::string> m_convertedFiles; ///< those of the files above that we wrote
    NameTurns m_conversionTurns;            ///< by the names of files that are converted
    std::vector<std::string> m_fileArray;
    std::string m_pdfPasswordPath;
    std::optional<std::string> m_lockedMeanwhile; ///< see askForPassword
    bool m_isTypingPassword = false;              ///< the password window is open
    bool m_isDropping = false;                    ///< the window takes no answers
    bool m_mSax = true;                           ///< the pane is empty and shows its picture
    bool m_mFirx = true;                          ///< no file has arrived since the start
};

} // namespace quillorn
