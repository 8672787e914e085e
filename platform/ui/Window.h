#pragma once

#include "platform/ui/Toolbar.h"

#include <cstddef>

namespace quillorn {

/// A place on the screen, or in a window, in logical pixels. The windows' controllers only name
/// centred frames, for which it does not matter at which end the vertical axis begins.
struct WindowFrame {
    double x = 0;
    double y = 0;
    double width = 0;
    double height = 0;
    bool operator==(const WindowFrame&) const = default;
};

struct WindowSize {
    double width = 0;
    double height = 0;
    bool operator==(const WindowSize&) const = default;
};

/// The main window. It and what follows belong to the thread of the window.
class Window {
public:
    virtual ~Window() = default;
    [[nodiscard]] virtual WindowFrame frame() const = 0;
    virtual void setFrame(const WindowFrame& frame, bool animate) = 0;
    virtual void setMinSize(const WindowSize& size) = 0;
    /// Offers to fill the whole screen.
    virtual void allowFullScreen() = 0;
    /// `delegate` makes the items and outlives the window.
    virtual void setToolbar(const Toolbar& toolbar, ToolbarDelegate& delegate) = 0;
};

enum class DividerStyle { thin = 2, paneSplitter = 3 };

/// The two panes beside each other.
class SplitView {
public:
    virtual ~SplitView() = default;
    /// From the left edge; a position beyond what is allowed means the largest allowed one.
    virtual void setPositionOfDivider(double position, std::size_t divider) = 0;
    virtual void setDividerStyle(DividerStyle style) = 0;
    /// In the window's contents. A shell with layouts may know better.
    virtual void setFrame(const WindowFrame& frame) = 0;
};

/// The screen that the window is on.
class Screen {
public:
    virtual ~Screen() = default;
    [[nodiscard]] virtual WindowFrame frame() const = 0;
};

} // namespace quillorn
