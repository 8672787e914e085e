#pragma once

#include "platform/ui/Controls.h"
#include "platform/ui/Resources.h"
#include "platform/ui/Sheet.h"
#include "platform/ui/StatusLine.h"
#include "platform/ui/Window.h"
#include "platform/ui/Workspace.h"

#include <string>

namespace quillorn {

/// The parts of the window that the program's own commands work with. None is owned, all outlive
/// the controller.
struct AppControlOutlets {
    Window& window;
    Screen& mainScreen;
    SplitView& splitView;
    Button& btnSavePath;
    Slider& sliderFir;
    Slider& sliderSec;
    MenuItem& menuAbout;
    MenuItem& menuQuit;
    MenuItem& menuHide;
    MenuItem& menuHelp;
    Sheet& winAbout;
    Label& version;
    Label& labTitle;
    Label& labNotice; ///< who made the program
};

/// What it uses besides.
struct AppControlServices {
    Workspace& workspace;
    StatusLine& statusLine;
    Resources resources;
    std::string bundleVersion; ///< of the program, "0.1.0"
    std::string supportPage;   ///< address of the page where the makers can be reached
    std::string homeFolder;
};

/// Finishes the set-up once the window is there, and looks after the about window and help. The
/// panes have controllers of their own, which it does not know. Thread of the window.
class AppControl {
public:
    AppControl(const AppControlOutlets& outlets, AppControlServices services);

    /// Titles the menus, fills the about window, prepares the cache folder with its blank page
    /// file, and places the window. Nothing of it fails visibly but in the status line.
    void awakeFromNib();
    /// Shows the about window until it is closed.
    void showAboutPanel();
    /// The about window's close box: yes, and its modal run ends.
    [[nodiscard]] bool windowShouldClose(Sheet& about);
    /// Opens the manual, "Help.pdf" of the resources.
    void showHelpFile();
    /// Opens the support page.
    void showHelpMenu();
    /// Copies the Word converter's configuration into ".bin" of the home folder, for a converter
    /// that looks there. No command does it.
    void createBin();

private:
    void prepareCacheFolder();
    void placeWindow();

    AppControlOutlets m_outlets;
    AppControlServices m_services;
};

} // namespace quillorn
