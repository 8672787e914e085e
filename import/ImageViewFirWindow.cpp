#include "import/ImageViewFir.h"

#include <array>
#include <utility>

// What the first file brings: the window at its working size, with its toolbar.

namespace quillorn {

namespace {

constexpr const char* openPDFIdent = "Open PDF Ident";
constexpr const char* addNewGroupIdent = "Add New Group Ident";
constexpr const char* savePDFIdent = "Save PDF Ident";
constexpr double workingSize = 810; // logical pixels, both ways

} // namespace

void ImageViewFir::layOutWindow() {
    const WindowFrame screen = m_outlets.mainScreen.frame();
    m_outlets.mainWindow.setFrame({screen.width / 2 - workingSize / 2,
                                   screen.height / 2 - workingSize / 2, workingSize, workingSize},
                                  true);
    m_outlets.splitView.setPositionOfDivider(workingSize / 2, 0);
    m_outlets.splitView.setDividerStyle(DividerStyle::paneSplitter);
    const WindowFrame window = m_outlets.mainWindow.frame();
    m_outlets.splitView.setFrame({-2, 17, window.width + 3, window.height - 36});
    setupToolbar();
    m_outlets.mainWindow.allowFullScreen();
}

void ImageViewFir::setupToolbar() {
    Toolbar toolbar;
    toolbar.identifier = "Toolbar Identifier";
    toolbar.allowsUserCustomization = true;
    toolbar.autosavesConfiguration = true;
    toolbar.displayMode = Toolbar::DisplayMode::iconAndLabel;
    m_outlets.mainWindow.setToolbar(toolbar, *this);
}

std::vector<std::string> ImageViewFir::toolbarDefaultItemIdentifiers() const {
    return {openPDFIdent,     std::string(toolbar_identifier::flexibleSpace),
            addNewGroupIdent, std::string(toolbar_identifier::separator),
            savePDFIdent,     std::string(toolbar_identifier::space)};
}

std::vector<std::string> ImageViewFir::toolbarAllowedItemIdentifiers() const {
    return toolbarDefaultItemIdentifiers();
}

std::optional<ToolbarItem> ImageViewFir::toolbarItemForItemIdentifier(std::string_view identifier) {
    struct Own {
        std::string_view identifier;
        std::string_view text;
        Button& view;
    };
    const std::array<Own, 3> own = {
        {{savePDFIdent, "Save", m_outlets.btnSave},
         {addNewGroupIdent, "Create A New PDF", m_outlets.btnAddNewGroup},
         {openPDFIdent, "Add Files", m_outlets.btnOpenPDFFiles}}};
    for (const Own& item : own) {
        if (item.identifier == identifier) {
            const std::string text = m_services.localizedString(item.text);
            return ToolbarItem{std::string(identifier), text, text, text, &item.view};
        }
    }
    return std::nullopt;
}

} // namespace quillorn
