#include "composer/ImageViewSec.h"

#include "model/FileNames.h"

#include <filesystem>
#include <system_error>
#include <utility>

// Files opened straight into this pane.

namespace quillorn {

void ImageViewSec::addImageButtonClicked() {
    OpenPanel panel;
    panel.allowsMultipleSelection = true;
    panel.types = {"pdf", "PDF", "pages"};
    m_services.filePanels.beginSheet(
        panel, [this](PanelReturn returnCode, const OpenPanelChoice& choice) {
            if (returnCode == PanelReturn::ok) {
                m_services.workerThreads.detachNewThread(
                    [this, paths = choice.filenames](const std::stop_token& stop) {
                        addImagesWithPaths(paths, stop);
                    });
            }
        });
}

void ImageViewSec::addImagesWithPaths(const std::vector<std::string>& paths,
                                      const std::stop_token& stop) {
    for (const std::string& path : paths) {
        if (stop.stop_requested()) {
            return;
        }
        addImagesWithPath(path, false);
    }
    m_services.mainThread.runAndWait([this]() { updateDatasource(); });
}

void ImageViewSec::addImagesWithPath(const std::string& path, bool recursive) {
    std::error_code error;
    if (!std::filesystem::is_directory(path, error)) {
        addAnImageWithPath(path);
        return;
    }
    std::filesystem::directory_iterator entry(path, error);
    while (!error && entry != std::filesystem::directory_iterator()) {
        const std::string inside = joinedPath(path, entry->path().filename().string());
        if (recursive) {
            addImagesWithPath(inside, false);
        } else {
            addAnImageWithPath(inside);
        }
        entry.increment(error);
    }
    if (error) {
        m_services.mainThread.runAndWait([this, &path, &error]() {
            m_services.statusLine.showMessage(lastPathComponent(path) +
                                              " cannot be listed: " + error.message() + ".");
        });
    }
}

void ImageViewSec::addAnImageWithPath(const std::string& path) {
    auto opened = PDFDocument::open(path);
    m_services.mainThread.runAndWait([this, &path, &opened]() {
        if (!opened) {
            m_services.statusLine.showMessage(lastPathComponent(path) +
                                              " cannot be opened: " + opened.error().reason + ".");
            return;
        }
        std::shared_ptr<PDFDocument> document = std::move(*opened);
        if (document->isLocked() || document->isEncrypted()) {
            showAlert("Infomation", messageText("%@ is encrypted.", lastPathComponent(path)));
            return;
        }
        for (std::size_t i = 0; i < document->pageCount(); ++i) {
            appendImported(std::make_shared<ImageItemSec>(path, document->pageAtIndex(i)));
        }
        m_looseDocuments.push_back(std::move(document));
    });
}

} // namespace quillorn
