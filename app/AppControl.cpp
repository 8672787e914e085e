#include "app/AppControl.h"

#include "model/FileNames.h"
#include "platform/pdf/PDFDocument.h"
#include "platform/ui/ApplicationName.h"
#include "platform/ui/CacheFolder.h"

#include <filesystem>
#include <string_view>
#include <system_error>
#include <utility>

namespace quillorn {

namespace {

constexpr double titleFontSize = 14; // points
constexpr const char* notice = "Made by the Quillorn Folivane project";
constexpr double startSize = 400; // logical pixels, both ways
constexpr WindowSize leastSize{250, 300};

std::string titled(std::string_view text) {
    return messageText(text, applicationName);
}

} // namespace

AppControl::AppControl(const AppControlOutlets& outlets, AppControlServices services)
    : m_outlets(outlets), m_services(std::move(services)) {}

void AppControl::awakeFromNib() {
    m_outlets.menuAbout.setTitle(titled("About %@"));
    m_outlets.menuQuit.setTitle(titled("Quit %@"));
    m_outlets.menuHide.setTitle(titled("Hide %@"));
    m_outlets.menuHelp.setTitle(titled("%@ Help"));
    m_outlets.labTitle.setFontSize(titleFontSize, true);
    m_outlets.labTitle.setStringValue(std::string(applicationName));
    m_outlets.labNotice.setStringValue(notice);
    m_outlets.version.setStringValue(messageText("Version %@", m_services.bundleVersion));
    prepareCacheFolder();
    placeWindow();
}

void AppControl::prepareCacheFolder() {
    const std::string folder = cacheFolder(m_services.homeFolder);
    std::error_code error;
    if (!std::filesystem::exists(folder, error)) {
        std::filesystem::create_directories(folder, error);
    }
    PDFWriteOptions options;
    options.whenEmpty = PDFWriteOptions::WhenEmpty::noPages;
    const auto written = PDFDocument().writeToFile(joinedPath(folder, "blank.pdf"), options);
    if (!written) {
        m_services.statusLine.showMessage(
            "The folder for temporary files cannot be used: " + written.error().reason + ".");
    }
}

void AppControl::placeWindow() {
    const WindowFrame screen = m_outlets.mainScreen.frame();
    m_outlets.window.setFrame(
        {screen.width / 2 - startSize / 2, screen.height / 2 - startSize / 2, startSize, startSize},
        true);
    m_outlets.window.setMinSize(leastSize);
    const WindowFrame window = m_outlets.window.frame();
    // Far beyond the window, so that the divider goes as far as it may: the source pane has the
    // window to itself until the first file comes.
    m_outlets.splitView.setPositionOfDivider(window.height * window.width, 0);
    m_outlets.splitView.setDividerStyle(DividerStyle::thin);
    m_outlets.splitView.setFrame({-2, 0, window.width + 3, window.height - 21});
}

void AppControl::showAboutPanel() {
    m_outlets.winAbout.runModal();
    m_outlets.winAbout.stopModal();
}

bool AppControl::windowShouldClose(Sheet& about) {
    about.stopModal();
    return true;
}

void AppControl::showHelpFile() {
    const auto manual = m_services.resources.pathForResource("Help", "pdf");
    if (!manual || !m_services.workspace.openFile(manual->string())) {
        m_services.statusLine.showMessage(manual ? "No program was found that shows the manual."
                                                 : "The manual is not installed.");
    }
}

void AppControl::showHelpMenu() {
    if (!m_services.workspace.openURL(m_services.supportPage)) {
        m_services.statusLine.showMessage("No browser was found that shows " +
                                          m_services.supportPage + ".");
    }
}

void AppControl::createBin() {
    const std::filesystem::path folder = joinedPath(m_services.homeFolder, ".bin");
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const auto file = m_services.resources.pathForResource("wvHtml", "xml");
    if (!error && file) {
        std::filesystem::copy_file(*file, folder / "wvHtml.xml",
                                   std::filesystem::copy_options::overwrite_existing, error);
    }
    if (error || !file) {
        m_services.statusLine.showMessage("The converter's configuration was not copied: " +
                                          (error ? error.message() : "it is not installed") + ".");
    }
}

} // namespace quillorn
