#include "import/ImageViewFir.h"

#include "model/FileNames.h"

#include <algorithm>
#include <utility>

// Files that need a password.

namespace quillorn {

namespace {

constexpr const char* question = "%@ has been encrypted,do you want to enter a password?";

} // namespace

void ImageViewFir::askForPassword(const ImportRefusal& refusal) {
    m_services.statusLine.showMessage(lastPathComponent(refusal.path) +
                                      " needs a password: " + refusal.reason + ".");
    const bool isAskedAbout = m_isAskingForPassword && refusal.path == m_pdfPasswordPath;
    if (!isAskedAbout &&
        std::ranges::find(m_waitingForPassword, refusal.path) == m_waitingForPassword.end()) {
        m_waitingForPassword.push_back(refusal.path);
    }
    askForNextPassword();
}

void ImageViewFir::askForNextPassword() {
    // One at a time: what is typed belongs to the file that was asked about, whatever comes in
    // meanwhile. A drop is over before anybody can answer.
    if (m_isAskingForPassword || m_isDropping || m_waitingForPassword.empty()) {
        return;
    }
    m_isAskingForPassword = true;
    m_pdfPasswordPath = std::move(m_waitingForPassword.front());
    m_waitingForPassword.pop_front();
    m_services.alerts.beginSheet(Alert{"Infomation !",
                                       messageText(question, lastPathComponent(m_pdfPasswordPath)),
                                       "OK", "Cancel"},
                                 [this](AlertAnswer code) { alertEnded(code); });
}

void ImageViewFir::alertEnded(AlertAnswer code) {
    if (code == AlertAnswer::defaultButton) {
        m_outlets.passwordText.setStringValue("");
        m_outlets.passwordWindow.runModal();
    }
    m_isAskingForPassword = false;
    askForNextPassword();
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
