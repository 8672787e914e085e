#include "composer/ImageViewSec.h"

#include "model/FileNames.h"

#include <filesystem>
#include <system_error>
#include <unistd.h>
#include <utility>

// Saving, and closing with unsaved work.

namespace quillorn {

namespace {

constexpr const char* messageTitle = "Information";
constexpr const char* notWritable = "%@ does not write! ";
constexpr const char* unsaved = "You have not saved, do you want to exit the application ?";

/// Takes what the writer tells on its own thread to the pane on the window's.
class WriteNotifications final : public PDFWriteObserver {
public:
    WriteNotifications(ImageViewSec& pane, MainThread& mainThread)
        : m_pane(pane), m_mainThread(mainThread) {}
    void documentBeginWrite(std::size_t /*pageCount*/) override {
        m_mainThread.runAndWait([this]() { m_pane.documentBeginWrite(); });
    }
    void documentEndPageWrite(std::size_t pageIndex) override {
        m_mainThread.post([&pane = m_pane, pageIndex]() { pane.documentEndPageWrite(pageIndex); });
    }
    void documentEndWrite() override {
        m_mainThread.runAndWait([this]() { m_pane.documentEndWrite(); });
    }

private:
    ImageViewSec& m_pane;
    MainThread& m_mainThread;
};

} // namespace

void ImageViewSec::saveToPDF() {
    runSheet(m_outlets.saveToPDFWindow);
}

void ImageViewSec::onBtnSetSavePath() {
    OpenPanel panel;
    panel.canChooseFiles = false;
    panel.canChooseDirectories = true;
    panel.canCreateDirectories = true;
    panel.folder = m_outlets.btnSavePath.title();
    m_services.filePanels.beginSheet(panel,
                                     [this](PanelReturn returnCode, const OpenPanelChoice& choice) {
                                         SetSavePath(returnCode, choice);
                                     });
}

void ImageViewSec::SetSavePath(PanelReturn returnCode, const OpenPanelChoice& choice) {
    if (returnCode != PanelReturn::ok || choice.filenames.empty()) {
        return;
    }
    const std::string& path = choice.filenames.front();
    if (::access(path.c_str(), W_OK) != 0) {
        showAlert(messageTitle, messageText(notWritable, path));
        return;
    }
    m_outlets.btnSavePath.setTitle(path);
    const auto kept = m_services.preferences.setStringForKey(preference_key::saveFilePlace, path);
    if (!kept) {
        m_services.statusLine.showMessage(
            "The output folder will not be remembered: " + kept.error().reason + ".");
    }
}

bool ImageViewSec::writeGroup(std::size_t group) {
    const std::string name = lastPathComponent(m_addPDFFileName[group]);
    const std::string path = joinedPath(m_outlets.btnSavePath.title(), name);
    m_outputPDF = m_PDFArray[group];
    WriteNotifications notifications(*this, m_services.mainThread);
    PDFResult<PDFWriteReport> written;
    const bool finished = m_services.longWork.run(
        "", [this, &path, &notifications, &written,
             pages = m_outputPDF->pageReferences()](const std::stop_token& stop) {
            const std::stop_callback cancel(stop, [this]() { m_saving.request_stop(); });
            PDFWriteOptions options;
            options.observer = &notifications;
            options.stop = m_saving.get_token();
            written = writePDF(pages, path, options);
        });
    if (m_isProgressShown) {
        documentEndWrite(); // a write that fails or is cancelled does not tell its end
    }
    if (!finished || m_saving.stop_requested()) {
        return false;
    }
    if (!written) {
        // It may be a file that pages come from that is to blame.
        const PDFError& error = written.error();
        const std::string culprit =
            error.file.empty() || error.file == path ? "" : error.file.filename().string() + ": ";
        m_services.statusLine.showMessage(name + " was not written: " + culprit + error.reason +
                                          ".");
    }
    return true;
}

void ImageViewSec::clickSaveToPDFSureBtn(Sheet& sender) {
    m_saving = std::stop_source();
    std::size_t written = 0;
    while (written < m_addPDFFileName.size() && writeGroup(written)) {
        ++written;
    }
    m_outputPDF.reset();
    if (written < m_addPDFFileName.size()) {
        m_services.statusLine.showMessage("Saving was cancelled after " + std::to_string(written) +
                                          " of " + std::to_string(m_addPDFFileName.size()) +
                                          " files.");
    } else {
        // Also after a file that could not be written: the status line tells of it.
        m_isSave = true;
        m_services.workspace.openFolder(m_outlets.btnSavePath.title());
    }
    endSheet(sender);
}

void ImageViewSec::cancelSaving() {
    m_saving.request_stop();
}

void ImageViewSec::documentBeginWrite() {
    m_isProgressShown = true;
    m_outlets.saveWindow.begin(m_outputPDF ? m_outputPDF->pageCount() : 0);
}

void ImageViewSec::documentEndPageWrite(std::size_t pageIndex) {
    if (m_isProgressShown) {
        m_outlets.saveWindow.setValue(pageIndex);
    }
}

void ImageViewSec::documentEndWrite() {
    m_isProgressShown = false;
    m_outlets.saveWindow.end();
}

void ImageViewSec::removeWorkingFolder() const {
    std::error_code ignored; // the window closes in any case
    std::filesystem::remove_all(workingFolder(), ignored);
}

bool ImageViewSec::windowShouldClose(Window& /*mainWindow*/) {
    if (!m_isSave && m_services.alerts.runModal(Alert{messageTitle, unsaved, "Yes", "No"}) !=
                         AlertAnswer::defaultButton) {
        return false;
    }
    removeWorkingFolder();
    return true;
}

bool ImageViewSec::windowShouldClose(Sheet& other) {
    other.stopModal();
    removeWorkingFolder();
    return true;
}

} // namespace quillorn
