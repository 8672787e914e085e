#pragma once

#include "support/CGImage.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Colour channels and alpha, 0..1.
struct CGColor {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;
};

struct CGPoint {
    double x = 0;
    double y = 0;
};

/// One step of a path.
struct CGPathElement {
    enum class Kind { MoveTo, LineTo, Close };
    Kind kind;
    CGPoint point; // not used by Close
};

enum class CGTextDrawingMode { Fill, Stroke, FillStroke, Invisible };

// A drawing context over a cairo surface, with a current path that can be looked at before (and
// without) being painted.
//
//     CGContext context(200, 100);
//     context.addRect(10, 10, 50, 20);
//     context.strokePath();
//
// Coordinates are pixels from the upper left corner, y downwards. The graphics state (colours,
// alpha, dash, line width, font, text mode) is what save and restore keep; the current path and the
// text position are not part of it. Values are clamped to their ranges. One thread at a time.
class CGContext {
public:
    /// A transparent surface; sides below 1 count as 1. On failure (no memory, sides beyond 32,767)
    /// the context keeps its state and paints nothing.
    CGContext(int32_t width, int32_t height);
    ~CGContext();
    CGContext(const CGContext&) = delete;
    CGContext& operator=(const CGContext&) = delete;

    void saveGState();
    /// Without a saved state nothing happens.
    void restoreGState();
    void setAlpha(double alpha);
    void setFillColor(const CGColor& color);
    void setStrokeColor(const CGColor& color);
    void setLineWidth(double width);
    /// Lengths of dashes and gaps in pixels; none means a solid line.
    void setLineDash(double phase, std::vector<double> lengths);

    void beginPath();
    void moveTo(double x, double y);
    void addLineTo(double x, double y);
    void addRect(double x, double y, double width, double height);
    /// Paint the current path and clear it.
    void strokePath();
    void fillPath();
    /// Draws the picture stretched into the rectangle.
    void drawImage(const CGImage& image, double x, double y, double width, double height);

    /// Font by PostScript name, full name or family; the nearest installed one stands in for a
    /// name that is not installed. Size in pixels.
    void selectFont(const char* name, double size);
    void setTextDrawingMode(CGTextDrawingMode mode);
    void setTextPosition(double x, double y);
    /// Draws Mac Roman text from the text position on, which moves behind it. Without a selected
    /// font nothing happens. The current path is left alone.
    void showText(const char* text, size_t length);

    // What has been set and added.
    double alpha() const;
    CGColor fillColor() const;
    CGColor strokeColor() const;
    double lineWidth() const;
    double lineDashPhase() const;
    const std::vector<double>& lineDash() const;
    const std::vector<CGPathElement>& path() const;
    const std::string& fontName() const;
    double fontSize() const;
    CGTextDrawingMode textDrawingMode() const;
    CGPoint textPosition() const;
    /// The pixel as 0xAARRGGBB, colour not multiplied by alpha; 0 outside.
    uint32_t pixel(int32_t x, int32_t y) const;

private:
    struct Drawing;
    std::unique_ptr<Drawing> m_drawing;
};

using CGContextRef = CGContext*;
