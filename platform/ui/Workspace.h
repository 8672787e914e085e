#pragma once

#include <string>

namespace quillorn {

/// The desktop around the program. Belongs to the thread of the window; nothing waits for what
/// it starts. Each returns whether something was started.
class Workspace {
public:
    virtual ~Workspace() = default;
    /// In the program that the user prefers for files of its kind.
    virtual bool openFile(const std::string& path) = 0;
    /// Shows a folder in the file manager.
    virtual bool openFolder(const std::string& path) = 0;
    /// In the browser.
    virtual bool openURL(const std::string& url) = 0;
};

} // namespace quillorn
