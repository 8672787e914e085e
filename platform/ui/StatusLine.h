#pragma once

#include <string>

namespace quillorn {

/// A line in the window that tells what went wrong, and why, without stopping anybody. Belongs
/// to the thread of the window.
class StatusLine {
public:
    virtual ~StatusLine() = default;
    /// `text` is one sentence or two, UTF-8. Several in a row are kept for reading.
    virtual void showMessage(const std::string& text) = 0;
};

} // namespace quillorn
