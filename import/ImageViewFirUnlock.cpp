#include "import/ImageViewFir.h"

#include "model/FileNames.h"

#include <optional>
#include <utility>

// Files that need a password.

namespace quillorn {

namespace {

constexpr const char* question = "%@ has been encrypted,do you want to enter a password?";

} // namespace

void ImageViewFir::askForPassword(const ImportRefusal& refusal) {
    m_services.statusLine.showMessage(lastPathComponent(refusal.path) +
                                      " needs a password: " + refusal.reason + ".");
    if (m_isTypingPassword || m_isDropping) {
        // What is typed belongs to the file that was asked about, and a drop is over before
        // anybody can answer. Of those that come meanwhile one is remembered.
        m_lockedMeanwhile = refusal.path;
    } else {
        askAboutPassword(refusal.path);
    }
}

void ImageViewFir::askAboutPassword(const std::string& path) {
    m_pdfPasswordPath = path; // a file that waited before this one waits no longer
    m_services.alerts.beginSheet(
        Alert{"Infomation !", messageText(question, lastPathComponent(path)), "OK", "Cancel"},
        [this](AlertAnswer code) { alertEnded(code); });
}

void ImageViewFir::askAboutPasswordMeanwhile() {
    if (const auto path = std::exchange(m_lockedMeanwhile, std::nullopt)) {
        askAboutPassword(*path);
    }
}

void ImageViewFir::alertEnded(AlertAnswer code) {
    if (code != AlertAnswer::defaultButton) {
        return;
    }
    m_outlets.passwordText.setStringValue("");
    {
        const RaisedFlag typing(m_isTypingPassword);
        m_outlets.passwordWindow.runModal();
    }
    askAboutPasswordMeanwhile();
}

void ImageViewFir::isEnterPassword(Sheet& sender) {
    sender.stopModal();
    sender.orderOut();
    const std::string path = m_pdfPasswordPath;
    const std::string password = m_outlets.passwordText.stringValue();
    m_outlets.passwordText.setStringValue(""); // it is not kept where it can be read
    ImportRun run;
    std::optional<ImportResult<std::shared_ptr<PDFDocument>>> opened;
    const bool finished = perform("Opening " + lastPathComponent(path), run,
                                  [this, &path, &password, &opened](const std::stop_token&) {
                                      opened = openLabelled(path, password);
                                  });
    if (!finished || !opened) {
        return;
    }
    if (!*opened) {
        showAlert(std::string(import_message::wrongPassword));
        m_services.statusLine.showMessage(lastPathComponent(path) + ": " + opened->error().reason +
                                          ".");
        return;
    }
    queueFile(path, std::move(**opened));
    updateDatasource();
}

void ImageViewFir::cancelPassword(Sheet& sender) {
    sender.stopModal();
    sender.orderOut();
}

} // namespace quillorn
