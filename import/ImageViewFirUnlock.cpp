#include "import/ImageViewFir.h"

#include "model/FileNames.h"

#include <utility>

// Files that need a password.

namespace quillorn {

namespace {

constexpr const char* question = "%@ has been encrypted,do you want to enter a password?";

} // namespace

void ImageViewFir::askForPassword(const ImportRefusal& refusal) {
    m_pdfPasswordPath = refusal.path; // a file that waited before this one waits no longer
    const std::string name = lastPathComponent(refusal.path);
    m_services.statusLine.showMessage(name + " needs a password: " + refusal.reason + ".");
    m_services.alerts.beginSheet(Alert{"Infomation !", messageText(question, name), "OK", "Cancel"},
                                 [this](AlertAnswer code) { alertEnded(code); });
}

void ImageViewFir::alertEnded(AlertAnswer code) {
    if (code == AlertAnswer::defaultButton) {
        m_outlets.passwordText.setStringValue("");
        m_outlets.passwordWindow.runModal();
    }
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
