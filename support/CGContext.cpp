#include "support/CGContext.h"

#include "support/detail/FontTable.h"
#include "support/detail/MacRoman.h"
#include "support/detail/Pixel.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

namespace {

struct GraphicsState {
    double alpha = 1;
    CGColor fill;
    CGColor stroke;
    double lineWidth = 1;
    double dashPhase = 0;
    std::vector<double> dash;
    std::string fontName;
    double fontSize = 0;
    CGTextDrawingMode textMode = CGTextDrawingMode::Fill;
};

// Not a number becomes 0.
double Clamp(double value) {
    return value > 0 ? std::min(value, 1.0) : 0.0;
}

CGColor Clamp(const CGColor& color) {
    return {Clamp(color.red), Clamp(color.green), Clamp(color.blue), Clamp(color.alpha)};
}

// Cairo refuses to work on once it was given such dashes.
bool IsUsable(const std::vector<double>& dash) {
    double sum = 0;
    for (const double length : dash) {
        if (!std::isfinite(length) || length < 0)
            return false;
        sum += length;
    }
    return dash.empty() || sum > 0;
}

struct ScaledFontDestroy {
    void operator()(cairo_scaled_font_t* font) const { cairo_scaled_font_destroy(font); }
};
using ScaledFont = std::unique_ptr<cairo_scaled_font_t, ScaledFontDestroy>;

struct GlyphsFree {
    void operator()(cairo_glyph_t* glyphs) const { cairo_glyph_free(glyphs); }
};

ScaledFont MakeScaledFont(const std::string& name, double size) {
    cairo_matrix_t fontMatrix;
    cairo_matrix_t userMatrix;
    cairo_matrix_init_scale(&fontMatrix, size, size);
    cairo_matrix_init_identity(&userMatrix);
    cairo_font_options_t* options = cairo_font_options_create();
    cairo_font_options_set_hint_metrics(options, CAIRO_HINT_METRICS_OFF);
    ScaledFont font(cairo_scaled_font_create(ASFontFace(name), &fontMatrix, &userMatrix, options));
    cairo_font_options_destroy(options);
    return font;
}

} // namespace

struct CGContext::Drawing {
    cairo_surface_t* surface = nullptr;
    cairo_t* cairo = nullptr;
    GraphicsState state;
    std::vector<GraphicsState> saved;
    std::vector<CGPathElement> path;
    CGPoint textPosition;

    void SetSource(const CGColor& color) const {
        cairo_set_source_rgba(cairo, color.red, color.green, color.blue, color.alpha * state.alpha);
    }
    void SetPen() const {
        SetSource(state.stroke);
        cairo_set_line_width(cairo, state.lineWidth);
        cairo_set_dash(cairo, state.dash.data(), static_cast<int>(state.dash.size()),
                       state.dashPhase);
    }
    void TracePath() const {
        cairo_new_path(cairo);
        for (const CGPathElement& element : path) {
            switch (element.kind) {
            case CGPathElement::Kind::MoveTo:
                cairo_move_to(cairo, element.point.x, element.point.y);
                break;
            case CGPathElement::Kind::LineTo:
                cairo_line_to(cairo, element.point.x, element.point.y);
                break;
            case CGPathElement::Kind::Close:
                cairo_close_path(cairo);
                break;
            }
        }
    }
    void PaintGlyphs(cairo_scaled_font_t* font, const cairo_glyph_t* glyphs, int count) const {
        const bool fill = state.textMode == CGTextDrawingMode::Fill ||
                          state.textMode == CGTextDrawingMode::FillStroke;
        const bool stroke = state.textMode == CGTextDrawingMode::Stroke ||
                            state.textMode == CGTextDrawingMode::FillStroke;
        if (!fill && !stroke)
            return;
        cairo_set_scaled_font(cairo, font);
        cairo_new_path(cairo);
        cairo_glyph_path(cairo, glyphs, count);
        if (fill) {
            SetSource(state.fill);
            cairo_fill_preserve(cairo);
        }
        if (stroke) {
            SetPen();
            cairo_stroke_preserve(cairo);
        }
        cairo_new_path(cairo);
    }
};

CGContext::CGContext(int32_t width, int32_t height) : m_drawing(std::make_unique<Drawing>()) {
    m_drawing->surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, std::max(1, width), std::max(1, height));
    m_drawing->cairo = cairo_create(m_drawing->surface);
}

CGContext::~CGContext() {
    cairo_destroy(m_drawing->cairo);
    cairo_surface_destroy(m_drawing->surface);
}

void CGContext::saveGState() {
    m_drawing->saved.push_back(m_drawing->state);
}

void CGContext::restoreGState() {
    if (m_drawing->saved.empty())
        return;
    m_drawing->state = std::move(m_drawing->saved.back());
    m_drawing->saved.pop_back();
}

void CGContext::setAlpha(double alpha) {
    m_drawing->state.alpha = Clamp(alpha);
}

void CGContext::setFillColor(const CGColor& color) {
    m_drawing->state.fill = Clamp(color);
}

void CGContext::setStrokeColor(const CGColor& color) {
    m_drawing->state.stroke = Clamp(color);
}

void CGContext::setLineWidth(double width) {
    m_drawing->state.lineWidth = std::isfinite(width) && width > 0 ? width : 0;
}

void CGContext::setLineDash(double phase, std::vector<double> lengths) {
    if (!IsUsable(lengths) || !std::isfinite(phase))
        return;
    m_drawing->state.dashPhase = phase;
    m_drawing->state.dash = std::move(lengths);
}

void CGContext::beginPath() {
    m_drawing->path.clear();
}

void CGContext::moveTo(double x, double y) {
    m_drawing->path.push_back({CGPathElement::Kind::MoveTo, {x, y}});
}

void CGContext::addLineTo(double x, double y) {
    m_drawing->path.push_back({CGPathElement::Kind::LineTo, {x, y}});
}

void CGContext::addRect(double x, double y, double width, double height) {
    moveTo(x, y);
    addLineTo(x + width, y);
    addLineTo(x + width, y + height);
    addLineTo(x, y + height);
    m_drawing->path.push_back({CGPathElement::Kind::Close, {}});
}

void CGContext::strokePath() {
    m_drawing->TracePath();
    m_drawing->SetPen();
    cairo_stroke(m_drawing->cairo);
    beginPath();
}

void CGContext::fillPath() {
    m_drawing->TracePath();
    m_drawing->SetSource(m_drawing->state.fill);
    cairo_fill(m_drawing->cairo);
    beginPath();
}

void CGContext::drawImage(const CGImage& image, double x, double y, double width, double height) {
    if (width == 0 || height == 0 || image.width() < 1 || image.height() < 1)
        return;
    cairo_t* cairo = m_drawing->cairo;
    cairo_save(cairo);
    cairo_translate(cairo, x, y);
    cairo_scale(cairo, width / image.width(), height / image.height());
    cairo_set_source_surface(cairo, image.surface(), 0, 0);
    // Stretched edges keep their colour instead of fading out.
    cairo_pattern_set_extend(cairo_get_source(cairo), CAIRO_EXTEND_PAD);
    cairo_rectangle(cairo, 0, 0, image.width(), image.height());
    cairo_clip(cairo);
    cairo_paint_with_alpha(cairo, m_drawing->state.alpha);
    cairo_restore(cairo);
}

void CGContext::selectFont(const char* name, double size) {
    if (name == nullptr)
        return;
    m_drawing->state.fontName = name;
    // No surface is larger, and the drawing library fails on what is.
    constexpr double largestSize = 32'767;
    m_drawing->state.fontSize = size > 0 ? std::min(size, largestSize) : 0;
}

void CGContext::setTextDrawingMode(CGTextDrawingMode mode) {
    m_drawing->state.textMode = mode;
}

void CGContext::setTextPosition(double x, double y) {
    m_drawing->textPosition = {x, y};
}

void CGContext::showText(const char* text, size_t length) {
    const GraphicsState& state = m_drawing->state;
    if (text == nullptr || length == 0 || state.fontName.empty() || state.fontSize <= 0)
        return;
    const ScaledFont font = MakeScaledFont(state.fontName, state.fontSize);
    const std::string converted = ASMacRomanToUTF8({text, length});
    cairo_glyph_t* found = nullptr;
    int count = 0;
    const CGPoint start = m_drawing->textPosition;
    if (cairo_scaled_font_text_to_glyphs(font.get(), start.x, start.y, converted.data(),
                                         static_cast<int>(converted.size()), &found, &count,
                                         nullptr, nullptr, nullptr) != CAIRO_STATUS_SUCCESS)
        return;
    const std::unique_ptr<cairo_glyph_t, GlyphsFree> glyphs(found);
    cairo_text_extents_t extents = {};
    cairo_scaled_font_glyph_extents(font.get(), glyphs.get(), count, &extents);
    m_drawing->PaintGlyphs(font.get(), glyphs.get(), count);
    m_drawing->textPosition = {start.x + extents.x_advance, start.y + extents.y_advance};
}

double CGContext::alpha() const {
    return m_drawing->state.alpha;
}
CGColor CGContext::fillColor() const {
    return m_drawing->state.fill;
}
CGColor CGContext::strokeColor() const {
    return m_drawing->state.stroke;
}
double CGContext::lineWidth() const {
    return m_drawing->state.lineWidth;
}
double CGContext::lineDashPhase() const {
    return m_drawing->state.dashPhase;
}
const std::vector<double>& CGContext::lineDash() const {
    return m_drawing->state.dash;
}
const std::vector<CGPathElement>& CGContext::path() const {
    return m_drawing->path;
}
const std::string& CGContext::fontName() const {
    return m_drawing->state.fontName;
}
double CGContext::fontSize() const {
    return m_drawing->state.fontSize;
}
CGTextDrawingMode CGContext::textDrawingMode() const {
    return m_drawing->state.textMode;
}
CGPoint CGContext::textPosition() const {
    return m_drawing->textPosition;
}

uint32_t CGContext::pixel(int32_t x, int32_t y) const {
    cairo_surface_flush(m_drawing->surface);
    return ASPixelOfSurface(m_drawing->surface, x, y);
}
