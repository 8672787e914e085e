#pragma once

#include "platform/browser/BrowserLayout.h"
#include "platform/browser/ImageBrowser.h"
#include "platform/browser/PagePictures.h"

#include <QColor>
#include <QFont>
#include <QPalette>
#include <QPixmap>
#include <QRect>
#include <QString>
#include <cstddef>
#include <vector>

class QPainter;

namespace quillorn {

/// What a header says.
struct HeaderLook {
    QString title;
    BrowserColor color;
    std::size_t pageCount = 0;
    bool isExpanded = true;
    bool isFocused = false; ///< keys act on it
};

/// The same as it is laid out.
struct HeaderTexts {
    QString title; ///< shortened where it must be
    QRect titleRect;
    QFont titleFont;
    QString count; ///< empty where there is no room for it
    QRect countRect;
};

/// What a cell shows.
struct CellLook {
    PagePicture picture;
    bool hasPage = true;
    QString title;
    bool isSelected = false;
    bool isFocused = false; ///< keys act on it
};

/// How a browser looks: pages as paper with a soft shadow and their label below, under headers
/// that let the background through. All sizes are logical pixels, all colours the palette's; only
/// text adapts itself to a background that is light where the palette is dark, or the other way
/// round.
class BrowserLook {
public:
    BrowserLook(const QPalette& palette, const QFont& font, qreal devicePixelRatio,
                bool isBackgroundDark);

    /// The frame of thumbnails grows with the zoom value, from 0 to 1, as far as a cell has room in
    /// `width` pixels.
    [[nodiscard]] static BrowserMetrics metrics(float zoomValue, const QFont& font, int width);
    /// The frame in a cell into which a page has to fit.
    [[nodiscard]] static QRect frame(const QRect& cell, const QFont& font);
    [[nodiscard]] QSize frameInDevicePixels(const QRect& cell) const;

    void drawHeader(QPainter& painter, const QRect& rect, const HeaderLook& look) const;
    /// The texts of a header in the room that is left for them.
    [[nodiscard]] static HeaderTexts headerTexts(const QRect& room, const QFont& font,
                                                 const HeaderLook& look);
    /// A bar of the group's colour beside its cells.
    void drawGroupBar(QPainter& painter, const QRect& rect, const BrowserColor& color) const;
    void drawCell(QPainter& painter, const QRect& cell, const CellLook& look) const;
    void drawDropMark(QPainter& painter, const QRect& mark) const;
    /// Around everything: whatever is dropped here is taken, wherever.
    void drawDropFrame(QPainter& painter, const QRect& area) const;
    void drawRubberBand(QPainter& painter, const QRect& band) const;
    /// A page as it lies in `area`, which it fills in its proportions.
    void drawPage(QPainter& painter, const QRectF& area, const PagePicture& picture) const;
    /// What follows the pointer in a drag: up to three pages on top of each other, and how many
    /// there are in all. Pages as they are drawn in `frame`, in device pixels.
    [[nodiscard]] QPixmap dragPicture(const std::vector<PagePicture>& pages,
                                      std::size_t count) const;

    [[nodiscard]] const QColor& textColor() const { return m_text; }

private:
    [[nodiscard]] QRectF paperIn(const QRectF& area, const PagePicture& picture) const;
    [[nodiscard]] QPixmap shadow(QSize paper) const;
    [[nodiscard]] QPixmap halo(QSize paper) const;
    void drawHalo(QPainter& painter, const QRectF& paper) const;
    void drawAround(QPainter& painter, const QRectF& paper, const QPixmap& picture, int drop) const;
    void drawShadow(QPainter& painter, const QRectF& paper) const;
    void drawFrame(QPainter& painter, const QRectF& paper, int thickness,
                   const QColor& color) const;
    static void drawOutline(QPainter& painter, const QRectF& paper);
    void drawUndrawable(QPainter& painter, const QRectF& paper) const;
    void drawLabel(QPainter& painter, const QRect& cell, const CellLook& look) const;

    QPalette m_palette;
    QFont m_font;
    qreal m_ratio;
    QColor m_text;
};

} // namespace quillorn
