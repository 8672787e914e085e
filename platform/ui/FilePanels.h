#pragma once

#include <functional>
#include <string>
#include <vector>

namespace quillorn {

/// What a panel for choosing files or folders offers.
struct OpenPanel {
    std::string title; ///< empty: as the panel calls itself
    bool canChooseFiles = true;
    bool canChooseDirectories = false;
    bool canCreateDirectories = false;
    bool allowsMultipleSelection = false;
    std::string folder;             ///< where it starts; empty or missing: the panel's choice
    std::vector<std::string> types; ///< extensions in any case, in this order; empty: all files
    bool operator==(const OpenPanel&) const = default;
};

/// What the user chose.
struct OpenPanelChoice {
    std::vector<std::string> filenames; ///< absolute paths
    std::string directory;              ///< the folder that the panel showed at the end
};

/// How a panel ended.
enum class PanelReturn { cancel = 0, ok = 1 };

using OpenPanelEnded = std::function<void(PanelReturn returnCode, const OpenPanelChoice& choice)>;

/// Shows panels as sheets. Belongs to the thread of the window.
class FilePanels {
public:
    virtual ~FilePanels() = default;
    /// `didEnd` is called once, when the panel is closed: before this returns or later.
    virtual void beginSheet(const OpenPanel& panel, OpenPanelEnded didEnd) = 0;
};

} // namespace quillorn
