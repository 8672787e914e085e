#pragma once

#include "support/ASSystem.h"
#include "support/CASFont.h"
#include "support/CASObject.h"
#include "support/CGContext.h"

#include <cstdint>

enum ASLineStyle : int32_t {
    ASLineStyleSolid = 0,
    ASLineStyleDashed = 1,
    ASLineStyleDotted = 2,
    ASLineStyleDashDot = 3,
};

// Draws pictures, text and rectangles into a context. Colours are packed 0xAARRGGBB, numbers are
// pixels, text is Mac Roman. No state: one object may serve any number of contexts. Every call with
// a null context that would have to draw returns false.
//
//     CGContext context(300, 200);
//     CASDrawGraphic graphic;
//     graphic.DrawText(&context, CASFont("DejaVu Sans"), CASRect(10, 10, 200, 20), "Page 1", 6);
//     graphic.DrawRect(&context, 5, 5, 210, 30, 0xFF3366CC, ASLineStyleDashed);
//     context.strokePath();
class CASDrawGraphic : public CASObject {
public:
    using CASObject::operator=;

    /// Stretches the image into the rectangle; alpha 0..255. Leaves the context's alpha at 1. False
    /// for a null image.
    bool DrawImage(CGContextRef context, CGImageRef image, const CASRect& rect, int alpha);

    /// Draws the whole zero-terminated text: `length` is deliberately looked at for 0 only. The
    /// baseline lies size * 12 / 20 below rect.y. Underline and strike-through are added to the
    /// current path, not painted. The graphics state is restored. True also for nothing to draw.
    bool DrawText(CGContextRef context, const CASFont& font, const CASRect& rect, const char* text,
                  unsigned length);

    /// The given x and y, the text's advance as width (half of the rectangle's when that is 0) and
    /// size * 24 / 20 as height.
    CASRect MeasureTextBound(CGContextRef context, const CASFont& font, const CASRect& rect,
                             const char* text, unsigned length);

    /// Sets the stroke colour and the line's dash and adds the rectangle to the current path, which
    /// is not stroked. Deliberate: the colour's bytes are not divided by 255, so every channel that
    /// is not 0 has full strength; a solid line leaves the dash that was set before.
    // NOLINTNEXTLINE(performance-unnecessary-value-param): by value, as its callers know it
    bool DrawRect(CGContextRef context, CASRect rect, unsigned color, ASLineStyle style);
    bool DrawRect(CGContextRef context, int x, int y, int width, int height, unsigned color,
                  ASLineStyle style);
};
