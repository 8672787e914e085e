#include "tests/import/SourcePane.h"

#include "platform/ui/CacheFolder.h"
#include "tests/fakes/TestPDF.h"

#include <string_view>

namespace quillorn::tests {

SourcePane::SourcePane() : SourcePane(nullptr, nullptr, nullptr) {}

SourcePane::SourcePane(MainThread& mainThread, WorkerThreads& workerThreads, LongWork& work)
    : SourcePane(&mainThread, &workerThreads, &work) {}

SourcePane::SourcePane(MainThread* mainThread, WorkerThreads* workerThreads, LongWork* work)
    : conversions(cacheFolder(home.path().string())),
      pane(ImageViewFirOutlets{controls.outlets(), mainWindow, splitView, mainScreen,
                               passwordWindow, passwordText, btnSave, btnAddNewGroup,
                               btnOpenPDFFiles},
           ImageViewFirServices{alerts, filePanels, preferences,
                                mainThread != nullptr ? *mainThread : threads,
                                workerThreads != nullptr ? *workerThreads : threads,
                                work != nullptr ? *work : longWork, statusLine, conversions,
                                dragPagesArray, PDFIntake(), home.path().string(),
                                [](std::string_view text) { return std::string(text); }}) {
    std::filesystem::create_directories(cacheFolder(home.path().string()));
    pane.awakeFromNib();
}

std::string SourcePane::pdf(const std::string& name, std::size_t pages) {
    return TestPDF(name, pages).writeTo(home / name).string();
}

std::string SourcePane::file(const std::string& name, const std::string& content) {
    writeFile(home / name, content);
    return (home / name).string();
}

std::string SourcePane::encrypted(const std::string& name, const std::string& userPassword,
                                  const std::vector<std::string>& restrictions) {
    return encryptPDF(pdf("plain-" + name, 2), home / name, {userPassword, "owner", restrictions})
        .string();
}

bool SourcePane::drop(const std::vector<std::string>& paths) {
    return pane.performDragOperation(FakeDrag(FakePasteboard::ofFiles(paths)));
}

void SourcePane::expectQuestion(const std::string& name, std::optional<AlertAnswer> answer) {
    alerts.expectSheet(Alert{"Infomation !",
                             name + " has been encrypted,do you want to enter a password?", "OK",
                             "Cancel"},
                       answer);
}

void SourcePane::typePassword(const std::string& password) {
    passwordWindow.m_user = [this, password]() {
        passwordText.m_value = password;
        pane.isEnterPassword(passwordWindow);
    };
}

std::string SourcePane::shown() const {
    std::string text;
    for (std::size_t i = 0; i < controls.browser.groups().size(); ++i) {
        text += (i == 0 ? "" : " | ") + controls.browser.groups()[i].title + ":";
        for (const std::string& title : controls.browser.titlesOfGroup(i)) {
            text += " " + title;
        }
    }
    return text;
}

} // namespace quillorn::tests
