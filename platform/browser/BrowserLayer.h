#pragma once

class QPainter;

namespace quillorn {

/// Something painted over the whole of a browser, below or above its cells.
class BrowserLayer {
public:
    virtual ~BrowserLayer() = default;

    /// Paints on the visible part, whose upper left corner is the painter's origin. Units are
    /// logical pixels. Called by the thread of the window.
    virtual void drawInContext(QPainter& painter) = 0;
};

} // namespace quillorn
