#include "import/ImageViewFir.h"

#include "model/FileNames.h"

#include <algorithm>
#include <memory>
#include <utility>

// The ways that files come in.

namespace quillorn {

namespace {

constexpr const char* messageTitle = "Infomation"; // the panes' messages are titled so
constexpr const char* alreadyExists = "%@ already exists!";

std::string addingText(std::size_t files) {
    return files == 1 ? std::string("Adding a file") : "Adding " + std::to_string(files) + " files";
}

bool hasType(const Pasteboard& pasteboard, std::string_view type) {
    const std::vector<std::string> types = pasteboard.types();
    return std::ranges::find(types, type) != types.end();
}

} // namespace

void ImageViewFir::showAlert(const std::string& message) {
    m_services.alerts.runModal(Alert{messageTitle, message, "OK", ""});
}

void ImageViewFir::refuse(const ImportRefusal& refusal) {
    m_services.statusLine.showMessage(lastPathComponent(refusal.path) +
                                      " was not taken in: " + refusal.reason + ".");
    if (!refusal.isSilentInWindow()) {
        showAlert(refusal.message);
    }
}

void ImageViewFir::addImageButtonClicked() {
    beginOpenPanel({}, openPanelTypes(), openPanelRoute);
}

void ImageViewFir::importDocumentsClicked() {
    beginOpenPanel("Import Documents", dropTypes(), dropRoute);
}

void ImageViewFir::beginOpenPanel(const std::string& title, std::span<const std::string_view> types,
                                  Route route) {
    OpenPanel panel;
    panel.title = title;
    panel.allowsMultipleSelection = true;
    panel.folder = m_services.preferences.stringForKey(preference_key::addFilePath)
                       .value_or(joinedPath(m_services.homeFolder, "Documents"));
    panel.types.assign(types.begin(), types.end());
    m_services.filePanels.beginSheet(
        panel, [this, route](PanelReturn returnCode, const OpenPanelChoice& choice) {
            if (route == openPanelRoute) {
                openPanelDidEnd(returnCode, choice);
            } else if (returnCode == PanelReturn::ok) {
                loadFiles(choice.filenames, route);
            }
        });
}

void ImageViewFir::openPanelDidEnd(PanelReturn returnCode, const OpenPanelChoice& choice) {
    if (returnCode != PanelReturn::ok) {
        return;
    }
    m_fileArray = choice.filenames;
    openFilesLoad(choice.filenames);
    const auto kept =
        m_services.preferences.setStringForKey(preference_key::addFilePath, choice.directory);
    if (!kept) {
        m_services.statusLine.showMessage(
            "The folder will not be remembered: " + kept.error().reason + ".");
    }
}

void ImageViewFir::openFilesLoad(const std::vector<std::string>& paths) {
    m_services.workerThreads.detachNewThread(
        [this, paths](const std::stop_token& stop) { addImagesWithPaths(paths, stop); });
}

void ImageViewFir::importFiles(const std::vector<std::string>& paths) {
    loadFiles(paths, dropRoute);
}

void ImageViewFir::loadFiles(const std::vector<std::string>& paths, Route route) {
    m_services.workerThreads.detachNewThread(
        [this, paths, route](const std::stop_token& stop) { addByRoutes(paths, route, stop); });
}

void ImageViewFir::addImagesWithPaths(const std::vector<std::string>& paths,
                                      const std::stop_token& stop) {
    addByRoutes(paths, openPanelRoute, stop);
}

void ImageViewFir::addByRoutes(const std::vector<std::string>& paths, Route route,
                               const std::stop_token& stop) {
    const std::unique_ptr<LongWork> series = m_services.longWork.series(addingText(paths.size()));
    ImportRun run{stop, series.get()};
    for (std::size_t i = 0; i < paths.size(); ++i) {
        const FileRoute way = route(paths[i]);
        if (way == FileRoute::notLegal) {
            m_services.mainThread.runAndWait([this, &paths, i]() {
                showAlert(messageText(import_message::notLegal, lastPathComponent(paths[i])));
            });
        } else {
            addByRoute(paths[i], way, run);
            m_services.mainThread.runAndWait([this]() { updateDatasource(); });
        }
        if (!run.goesOn()) {
            tellRest(run, paths.size() - i);
            return;
        }
    }
}

void ImageViewFir::tellRest(const ImportRun& run, std::size_t left) {
    // Cancelled amid a file, which was not read then, or behind it.
    const std::size_t unread = run.isCancelled ? left : left - 1;
    if (unread > 0) {
        m_services.mainThread.runAndWait([this, unread]() {
            m_services.statusLine.showMessage(
                unread == 1 ? std::string("Cancelled. One file was not read.")
                            : "Cancelled. " + std::to_string(unread) + " files were not read.");
        });
    }
}

void ImageViewFir::addByRoute(const std::string& path, FileRoute route, ImportRun& run) {
    switch (route) {
    case FileRoute::image:
        image2PDF(path, run);
        break;
    case FileRoute::html:
        html2PDF(path, run);
        break;
    case FileRoute::richText:
        rtf2PDF(path, run);
        break;
    case FileRoute::word:
        doc2PDF(path, run);
        break;
    case FileRoute::pdf:
        addImagesWithPath(path, false, run);
        break;
    case FileRoute::notLegal:
        break; // the callers differ in what they do then
    }
}

DragOperation ImageViewFir::operationForFiles(const Pasteboard& pasteboard, bool entered) {
    if (hasType(pasteboard, pasteboard_type::pages)) {
        return DragOperation::none;
    }
    const std::vector<std::string> files =
        pasteboard.propertyListForType(pasteboard_type::filenames);
    if (files.empty()) {
        return DragOperation::copy;
    }
    // The first file decides. One that has to be converted may come along, but not lead.
    const FileRoute first = dropRoute(files.front());
    if (first != FileRoute::image && first != FileRoute::pdf) {
        return DragOperation::none;
    }
    return entered ? enterLastGroup() : DragOperation::copy;
}

DragOperation ImageViewFir::draggingEntered(const DraggingInfo& info) {
    return operationForFiles(info.draggingPasteboard(), true);
}

DragOperation ImageViewFir::draggingUpdated(const DraggingInfo& info) {
    return operationForFiles(info.draggingPasteboard(), false);
}

bool ImageViewFir::performDragOperation(const DraggingInfo& info) {
    const Pasteboard& pasteboard = info.draggingPasteboard();
    if (hasType(pasteboard, pasteboard_type::pages)) {
        return false;
    }
    bool isTaken = false;
    {
        const RaisedFlag dropping(m_isDropping);
        isTaken = dropFiles(pasteboard.propertyListForType(pasteboard_type::filenames));
    }
    askAboutPasswordMeanwhile();
    return isTaken;
}

bool ImageViewFir::dropFiles(const std::vector<std::string>& files) {
    const std::unique_ptr<LongWork> series = m_services.longWork.series(addingText(files.size()));
    ImportRun run{{}, series.get()};
    for (std::size_t i = 0; i < files.size(); ++i) {
        const FileRoute route = dropRoute(files[i]);
        if (route == FileRoute::notLegal) {
            showAlert(messageText(import_message::notLegal, lastPathComponent(files[i])));
            return false;
        }
        addByRoute(files[i], route, run);
        updateDatasource();
        if (!run.goesOn()) {
            tellRest(run, files.size() - i);
            return true;
        }
    }
    return true;
}

bool ImageViewFir::perform(const std::string& text, ImportRun& run, const LongWork::Work& work) {
    if (!run.goesOn()) {
        return false;
    }
    LongWork& longWork = run.work != nullptr ? *run.work : m_services.longWork;
    const bool finished = longWork.run(text, [&run, &work](const std::stop_token& cancelled) {
        // The user's cancel ends the work, and the end of the program does.
        std::stop_source either;
        const auto end = [&either]() { either.request_stop(); };
        const std::stop_callback byUser(cancelled, end);
        const std::stop_callback byProgram(run.stop, end);
        work(either.get_token());
    });
    run.isCancelled = !finished;
    return run.goesOn();
}

void ImageViewFir::convert(const std::string& path, Conversion conversion, ImportRun& run) {
    // A namesake waits until this file stands in the pane: it would write over it before.
    std::optional<NameTurns::Turn> turn;
    std::optional<ImportResult<std::string>> converted;
    std::optional<ImportResult<std::shared_ptr<PDFDocument>>> opened;
    const bool finished =
        perform("Converting " + lastPathComponent(path), run,
                [this, &path, conversion, &turn, &converted, &opened](const std::stop_token& stop) {
                    turn.emplace(m_conversionTurns, lastPathComponent(path), stop);
                    if (!turn->hasCome()) {
                        return;
                    }
                    converted = (m_services.conversions.*conversion)(path, stop);
                    if (*converted) {
                        opened = openLabelled(**converted, std::nullopt);
                    }
                });
    if (!finished || !converted) {
        return; // the user knows
    }
    m_services.mainThread.runAndWait([this, &converted, &opened]() {
        if (!*converted) {
            refuse(converted->error());
            return;
        }
        const std::string& pdf = **converted;
        takeIn(pdf, std::move(*opened));
        if (std::ranges::find(m_pdfFilesName, pdf) != m_pdfFilesName.end()) {
            m_convertedFiles.insert(pdf);
        }
    });
}

void ImageViewFir::image2PDF(const std::string& path, ImportRun& run) {
    convert(path, &DocumentConversions::image2PDF, run);
}

void ImageViewFir::html2PDF(const std::string& path, ImportRun& run) {
    convert(path, &DocumentConversions::html2PDF, run);
}

void ImageViewFir::rtf2PDF(const std::string& path, ImportRun& run) {
    convert(path, &DocumentConversions::rtf2PDF, run);
}

void ImageViewFir::doc2PDF(const std::string& path, ImportRun& run) {
    convert(path, &DocumentConversions::doc2PDF, run);
}

void ImageViewFir::addImagesWithPath(const std::string& path, bool recursive, ImportRun& run) {
    const auto files = filesToOpen(path);
    if (!files) {
        m_services.mainThread.runAndWait([this, &files]() { refuse(files.error()); });
        return;
    }
    const bool isFolder = files->size() != 1 || files->front() != path;
    for (const std::string& file : *files) {
        if (!run.goesOn()) {
            return;
        }
        if (isFolder && recursive) {
            addImagesWithPath(file, false, run);
        } else {
            addAnImageWithPath(file, run);
        }
    }
}

ImportResult<std::shared_ptr<PDFDocument>>
ImageViewFir::openLabelled(const std::string& path,
                           const std::optional<std::string>& password) const {
    auto opened = m_services.intake.open(path, password);
    if (!opened) {
        return tl::unexpected(std::move(opened.error()));
    }
    std::shared_ptr<PDFDocument> document = std::move(*opened);
    if (const auto& source = document->source()) {
        auto counted = source->withCountedPages();
        if (!counted) {
            return tl::unexpected(ImportRefusal::fromError(path, counted.error()));
        }
        if (*counted != source) {
            document = std::make_shared<PDFDocument>(std::move(*counted));
        }
    }
    labelImportedPages(*document, path, password.has_value());
    return document;
}

void ImageViewFir::addAnImageWithPath(const std::string& path, ImportRun& run) {
    std::optional<ImportResult<std::shared_ptr<PDFDocument>>> opened;
    const bool finished = perform("Opening " + lastPathComponent(path), run,
                                  [this, &path, &opened](const std::stop_token&) {
                                      opened = openLabelled(path, std::nullopt);
                                  });
    if (!finished || !opened) {
        return;
    }
    m_services.mainThread.runAndWait(
        [this, &path, &opened]() { takeIn(path, std::move(*opened)); });
}

void ImageViewFir::takeIn(const std::string& path,
                          ImportResult<std::shared_ptr<PDFDocument>> opened) {
    if (std::ranges::find(m_pdfFilesName, path) != m_pdfFilesName.end()) {
        showAlert(messageText(alreadyExists, lastPathComponent(path)));
    } else if (opened) {
        queueFile(path, std::move(*opened));
    } else if (opened.error().kind == ImportRefusal::Kind::encrypted) {
        askForPassword(opened.error());
    } else {
        refuse(opened.error());
    }
}

} // namespace quillorn
