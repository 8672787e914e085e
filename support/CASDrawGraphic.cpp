#include "support/CASDrawGraphic.h"

#include <cstdint>
#include <cstring>
#include <limits>

namespace {

constexpr double fullChannel = 255;

double Byte(uint32_t color, unsigned shift) {
    return (color >> shift) & 0xFFU;
}

// Integer arithmetic that truncates, without overflow for absurd sizes.
int64_t Scaled(int32_t size, int64_t twentieths) {
    return int64_t{size} * twentieths / 20;
}

int32_t ToInteger(double value) {
    constexpr double largest = std::numeric_limits<int32_t>::max();
    if (!(value > -largest))
        return std::numeric_limits<int32_t>::min();
    return value < largest ? static_cast<int32_t>(value) : std::numeric_limits<int32_t>::max();
}

void AddLine(CGContext& context, double x, double y, double width) {
    context.moveTo(x, y);
    context.addLineTo(x + width, y);
}

} // namespace

bool CASDrawGraphic::DrawImage(CGContextRef context, CGImageRef image, const CASRect& rect,
                               int alpha) {
    if (image == nullptr || context == nullptr)
        return false;
    context->setAlpha(alpha / fullChannel);
    context->drawImage(*image, rect.x, rect.y, rect.width, rect.height);
    context->setAlpha(1);
    return true;
}

bool CASDrawGraphic::DrawText(CGContextRef context, const CASFont& font, const CASRect& rect,
                              const char* text, unsigned length) {
    if (text == nullptr || length == 0)
        return true;
    if (context == nullptr)
        return false;
    const double alpha = Byte(font.color, 24) / fullChannel;
    context->saveGState();
    context->selectFont(font.GetFontFullName(), font.size);
    context->setFillColor({Byte(font.color, 16) / fullChannel, Byte(font.color, 8) / fullChannel,
                           Byte(font.color, 0) / fullChannel, alpha});
    context->setStrokeColor({0, 0, 0, alpha});
    context->setTextDrawingMode(CGTextDrawingMode::FillStroke);
    context->setTextPosition(rect.x, static_cast<double>(rect.y + Scaled(font.size, 12)));
    context->showText(text, std::strlen(text));
    if ((font.style & ASFontUnderline) != 0)
        AddLine(*context, rect.x, rect.y, rect.width);
    const int64_t middle = int64_t{rect.y} + rect.height / 2;
    if ((font.style & ASFontStrikeThrough) != 0)
        AddLine(*context, rect.x, static_cast<double>(middle), rect.width);
    context->restoreGState();
    return true;
}

CASRect CASDrawGraphic::MeasureTextBound(CGContextRef context, const CASFont& font,
                                         const CASRect& rect, const char* text, unsigned length) {
    double advance = 0;
    if (context != nullptr && text != nullptr && length != 0) {
        context->saveGState();
        context->selectFont(font.GetFontFullName(), font.size);
        const CGPoint start = context->textPosition();
        context->setTextDrawingMode(CGTextDrawingMode::Invisible);
        context->showText(text, std::strlen(text));
        advance = context->textPosition().x - start.x;
        context->restoreGState();
    }
    const int32_t width = ToInteger(advance);
    return {rect.x, rect.y, width == 0 ? rect.width / 2 : width,
            static_cast<int32_t>(Scaled(font.size, 24))};
}

// NOLINTNEXTLINE(performance-unnecessary-value-param)
bool CASDrawGraphic::DrawRect(CGContextRef context, CASRect rect, unsigned color,
                              ASLineStyle style) {
    if (context == nullptr)
        return false;
    // Deliberate: the bytes as they are, which the context clamps to 0 or full strength.
    context->setStrokeColor({Byte(color, 16), Byte(color, 8), Byte(color, 0), Byte(color, 24)});
    switch (style) {
    case ASLineStyleDashed:
        context->setLineDash(0, {4, 2});
        break;
    case ASLineStyleDotted:
        context->setLineDash(0, {2, 2});
        break;
    case ASLineStyleDashDot:
        context->setLineDash(0, {4, 2, 1, 2});
        break;
    default:
        break;
    }
    context->addRect(rect.x, rect.y, rect.width, rect.height);
    return true;
}

bool CASDrawGraphic::DrawRect(CGContextRef context, int x, int y, int width, int height,
                              unsigned color, ASLineStyle style) {
    return DrawRect(context, CASRect(x, y, width, height), color, style);
}
