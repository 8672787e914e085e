#pragma once

#include <cstddef>

namespace quillorn {

/// A small window that asks for something, on the main window or on another sheet.
/// Belongs to the thread of the window.
class Sheet {
public:
    virtual ~Sheet() = default;
    /// Shows it and lets the user do nothing else until `stopModal`.
    virtual void runModal() = 0;
    /// Ends the innermost modal run; nothing when there is none.
    virtual void stopModal() = 0;
    /// Takes it from the screen.
    virtual void orderOut() = 0;
};

/// Shows how far the file at hand is written, on top of the sheet that asked for it. Its cancel
/// button calls `ImageViewSec::cancelSaving`.
class ProgressSheet {
public:
    virtual ~ProgressSheet() = default;
    virtual void begin(std::size_t maximum) = 0; ///< shows it with the bar at 0
    virtual void setValue(std::size_t value) = 0;
    virtual void end() = 0; ///< takes it from the screen
};

} // namespace quillorn
