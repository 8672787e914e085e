#include "platform/browser/BrowserLook.h"

#include <QCoreApplication>
#include <QFontMetrics>
#include <QLocale>
#include <QPainter>
#include <QPixmapCache>
#include <QPolygonF>
#include <QRegion>
#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace quillorn {

namespace {

constexpr int smallestFrame = 64; // logical pixels wide
constexpr int largestFrame = 340;
constexpr double frameProportion = 1.36; // height by width: a little less narrow than DIN A
constexpr int cellPadding = 8;           // around the frame
constexpr int labelGap = 5;
constexpr int labelPadding = 2;
constexpr int shadowReach = 7;
constexpr int shadowDrop = 2;   // how far it falls below the page
constexpr double roundness = 5; // of corners

QColor colorOf(const BrowserColor& color) {
    const auto clamped = [](float level) { return std::clamp(level, 0.0F, 1.0F); };
    return QColor::fromRgbF(clamped(color.red), clamped(color.green), clamped(color.blue));
}

QColor withAlpha(QColor color, double alpha) {
    color.setAlphaF(static_cast<float>(alpha));
    return color;
}

int labelHeight(const QFont& font) {
    return QFontMetrics(font).height() + 2 * labelPadding;
}

QString pagesText(std::size_t count) {
    const auto translated = [](const char* text) {
        return QCoreApplication::translate("ImageBrowserView", text);
    };
    return count == 1
               ? translated("1 page")
               : translated("%1 pages").arg(QLocale().toString(static_cast<qulonglong>(count)));
}

} // namespace

BrowserLook::BrowserLook(const QPalette& palette, const QFont& font, qreal devicePixelRatio,
                         bool isBackgroundDark)
    : m_palette(palette),
      m_font(font),
      m_ratio(devicePixelRatio),
      m_text(palette.color(QPalette::Text)) {
    constexpr double middle = 0.5;
    const bool isTextLight = m_text.lightnessF() > middle;
    if (isTextLight != isBackgroundDark) {
        m_text = isBackgroundDark ? QColor(240, 240, 240) : QColor(30, 30, 30);
    }
}

BrowserMetrics BrowserLook::metrics(float zoomValue, const QFont& font, int width) {
    constexpr int spacing = 8;
    const double zoom = std::clamp(static_cast<double>(zoomValue), 0.0, 1.0);
    const auto wished =
        static_cast<int>(std::lround(smallestFrame + zoom * (largestFrame - smallestFrame)));
    const int room = std::max(smallestFrame, width - 2 * (spacing + cellPadding));
    const int frame = std::min(wished, room);
    BrowserMetrics metrics;
    metrics.cellWidth = frame + 2 * cellPadding;
    metrics.cellHeight = static_cast<int>(std::lround(frame * frameProportion)) + 2 * cellPadding +
                         labelGap + labelHeight(font);
    metrics.spacing = spacing;
    metrics.headerHeight = QFontMetrics(font).height() + 14;
    return metrics;
}

QRect BrowserLook::frame(const QRect& cell, const QFont& font) {
    return cell.adjusted(cellPadding, cellPadding, -cellPadding,
                         -cellPadding - labelGap - labelHeight(font));
}

QSize BrowserLook::frameInDevicePixels(const QRect& cell) const {
    const QSizeF size = QSizeF(frame(cell, m_font).size()) * m_ratio;
    return {static_cast<int>(size.width()), static_cast<int>(size.height())};
}

HeaderTexts BrowserLook::headerTexts(const QRect& room, const QFont& font, const HeaderLook& look) {
    constexpr int gap = 12;
    constexpr int leastTitle = 80; // pixels, unless the title needs less
    HeaderTexts texts;
    texts.titleFont = font;
    texts.titleFont.setBold(true);
    const QFontMetrics titleMetrics(texts.titleFont);
    texts.count = pagesText(look.pageCount);
    const int countWidth = QFontMetrics(font).horizontalAdvance(texts.count);
    const int titleWidth = room.width() - countWidth - gap;
    if (titleWidth < std::min(leastTitle, titleMetrics.horizontalAdvance(look.title))) {
        // Which group it is matters more than how large it is.
        texts.count.clear();
        texts.titleRect = room;
    } else {
        texts.countRect = room.adjusted(room.width() - countWidth, 0, 0, 0);
        texts.titleRect = room.adjusted(0, 0, -countWidth - gap, 0);
    }
    texts.title =
        titleMetrics.elidedText(look.title, Qt::ElideMiddle, std::max(texts.titleRect.width(), 0));
    return texts;
}

void BrowserLook::drawHeader(QPainter& painter, const QRect& rect, const HeaderLook& look) const {
    constexpr int margin = 12;
    constexpr int triangleSide = 8;
    constexpr int chipSide = 10;
    constexpr int gap = 8;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(rect, withAlpha(m_text, 0.06));
    painter.fillRect(QRect(rect.left(), rect.bottom(), rect.width(), 1), withAlpha(m_text, 0.12));
    const QPointF middle(rect.left() + margin + triangleSide / 2.0,
                         rect.top() + rect.height() / 2.0);
    painter.setPen(Qt::NoPen);
    painter.setBrush(withAlpha(m_text, 0.65));
    constexpr double half = triangleSide / 2.0;
    painter.drawPolygon(
        look.isExpanded
            ? QPolygonF({middle + QPointF(-half, -half / 2), middle + QPointF(half, -half / 2),
                         middle + QPointF(0, half * 0.75)})
            : QPolygonF({middle + QPointF(-half / 2, -half), middle + QPointF(-half / 2, half),
                         middle + QPointF(half * 0.75, 0)}));
    const QRectF chip(rect.left() + margin + triangleSide + gap, middle.y() - chipSide / 2.0,
                      chipSide, chipSide);
    painter.setPen(withAlpha(m_text, 0.25));
    painter.setBrush(colorOf(look.color));
    painter.drawRoundedRect(chip, 3, 3);

    painter.setFont(m_font);
    painter.setPen(withAlpha(m_text, 0.6));
    const int textLeft = static_cast<int>(chip.right()) + gap;
    const HeaderTexts texts =
        headerTexts(rect.adjusted(textLeft - rect.left(), 0, -margin, 0), m_font, look);
    painter.drawText(texts.countRect, Qt::AlignVCenter | Qt::AlignRight, texts.count);
    painter.setFont(texts.titleFont);
    painter.setPen(m_text);
    painter.drawText(texts.titleRect, Qt::AlignVCenter | Qt::AlignLeft, texts.title);
    if (look.isFocused) {
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(m_palette.color(QPalette::Highlight), 1.5));
        painter.drawRoundedRect(QRectF(rect).adjusted(2, 2, -2, -3), roundness, roundness);
    }
    painter.restore();
}

void BrowserLook::drawGroupBar(QPainter& painter, const QRect& rect,
                               const BrowserColor& color) const {
    painter.fillRect(rect, withAlpha(colorOf(color), 0.8));
}

QRectF BrowserLook::paperIn(const QRectF& area, const PagePicture& picture) const {
    const QSizeF size = picture.size / m_ratio;
    // On whole device pixels, or the page would be drawn blurred.
    const auto snapped = [this](double position) {
        return std::round(position * m_ratio) / m_ratio;
    };
    return {snapped(area.center().x() - size.width() / 2), snapped(area.bottom() - size.height()),
            size.width(), size.height()};
}

void BrowserLook::drawCell(QPainter& painter, const QRect& cell, const CellLook& look) const {
    const QRect area = frame(cell, m_font);
    if (look.isSelected) {
        drawHalo(painter, look.hasPage ? paperIn(area, look.picture) : QRectF(area));
    }
    if (look.hasPage) {
        drawPage(painter, area, look.picture);
        if (look.isSelected) {
            constexpr double thickness = 2;
            drawFrame(painter, paperIn(area, look.picture),
                      static_cast<int>(std::lround(thickness * m_ratio)),
                      m_palette.color(QPalette::Highlight));
        }
    }
    drawLabel(painter, cell, look);
}

void BrowserLook::drawLabel(QPainter& painter, const QRect& cell, const CellLook& look) const {
    const QRect area = frame(cell, m_font);
    const QFontMetrics metrics(m_font);
    const QString text = metrics.elidedText(look.title, Qt::ElideMiddle, cell.width() - 12);
    const int width = metrics.horizontalAdvance(text) + 10;
    const QRect label(cell.center().x() - width / 2, area.bottom() + 1 + cellPadding / 2 + labelGap,
                      width, labelHeight(m_font));
    painter.setFont(m_font);
    if (look.isSelected || look.isFocused) {
        painter.save();
        painter.setRenderHint(QPainter::Antialiasing);
        const QColor highlight = m_palette.color(QPalette::Highlight);
        painter.setBrush(look.isSelected ? QBrush(highlight) : QBrush(Qt::NoBrush));
        painter.setPen(look.isFocused
                           ? QPen(look.isSelected ? m_text : highlight, look.isSelected ? 1.0 : 1.5)
                           : QPen(Qt::NoPen));
        painter.drawRoundedRect(QRectF(label).adjusted(0.5, 0.5, -0.5, -0.5), roundness, roundness);
        painter.restore();
    }
    painter.setPen(look.isSelected ? m_palette.color(QPalette::HighlightedText) : m_text);
    painter.drawText(label, Qt::AlignCenter, text);
}

void BrowserLook::drawPage(QPainter& painter, const QRectF& area,
                           const PagePicture& picture) const {
    const QRectF paper = paperIn(area, picture);
    drawShadow(painter, paper);
    if (picture.thumbnail != nullptr && picture.state == PagePicture::State::drawn) {
        // Pixel by pixel, which is the fast way and the sharp one.
        painter.save();
        painter.scale(1 / m_ratio, 1 / m_ratio);
        painter.drawImage((paper.topLeft() * m_ratio).toPoint(), picture.image());
        painter.restore();
    } else if (picture.thumbnail != nullptr) {
        painter.save();
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        painter.drawImage(paper, picture.image());
        painter.restore();
    } else if (picture.state == PagePicture::State::undrawable) {
        drawUndrawable(painter, paper);
    } else {
        painter.fillRect(paper, Qt::white);
        if (picture.state == PagePicture::State::waiting) {
            drawOutline(painter, paper);
        }
    }
    drawFrame(painter, paper, 1, QColor(205, 207, 210));
}

/// Along the outer edges of a page, as many device pixels thick. Rectangles, because the painter
/// takes a long time over lines.
void BrowserLook::drawFrame(QPainter& painter, const QRectF& paper, int thickness,
                            const QColor& color) const {
    const QRect inner((paper.topLeft() * m_ratio).toPoint(), (paper.size() * m_ratio).toSize());
    painter.save();
    painter.scale(1 / m_ratio, 1 / m_ratio);
    const QRect outer = inner.adjusted(-thickness, -thickness, thickness, thickness);
    for (const QRect& side : QRegion(outer).subtracted(inner)) {
        painter.fillRect(side, color);
    }
    painter.restore();
}

void BrowserLook::drawOutline(QPainter& painter, const QRectF& paper) {
    constexpr std::array<double, 7> lengths = {0.45, 0.0, 0.76, 0.7, 0.76, 0.62, 0.3};
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor(228, 231, 235));
    const double step = paper.height() / 14;
    for (std::size_t line = 0; line < lengths.size(); ++line) {
        const QRectF bar(paper.left() + paper.width() * 0.12,
                         paper.top() + step * (1.4 + static_cast<double>(line)),
                         paper.width() * lengths[line], step * 0.45);
        painter.drawRoundedRect(bar, bar.height() / 2, bar.height() / 2);
    }
    painter.restore();
}

void BrowserLook::drawUndrawable(QPainter& painter, const QRectF& paper) const {
    constexpr double leastForText = 90;
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.fillRect(paper, QColor(240, 240, 240));
    const double side = std::min(paper.width(), paper.height()) * 0.3;
    const QRectF circle(paper.center().x() - side / 2, paper.center().y() - side, side, side);
    painter.setPen(QPen(QColor(150, 150, 150), std::max(side / 14, 1.0)));
    painter.setBrush(Qt::NoBrush);
    painter.drawEllipse(circle);
    painter.drawLine(circle.center() + QPointF(-side, -side) * 0.22,
                     circle.center() + QPointF(side, side) * 0.22);
    painter.drawLine(circle.center() + QPointF(-side, side) * 0.22,
                     circle.center() + QPointF(side, -side) * 0.22);
    if (paper.width() >= leastForText) {
        painter.setFont(m_font);
        painter.setPen(QColor(100, 100, 100));
        const QRectF below(paper.left() + 4, circle.bottom() + side * 0.3, paper.width() - 8,
                           paper.bottom() - circle.bottom() - side * 0.3);
        painter.drawText(below, Qt::AlignHCenter | Qt::AlignTop | Qt::TextWordWrap,
                         QCoreApplication::translate("ImageBrowserView", "Cannot be drawn"));
    }
    painter.restore();
}

void BrowserLook::drawDropMark(QPainter& painter, const QRect& mark) const {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(m_palette.color(QPalette::Active, QPalette::Highlight));
    const double radius = std::min(mark.width(), mark.height()) / 2.0;
    painter.drawRoundedRect(mark, radius, radius);
    constexpr double knob = 4;
    if (mark.height() > mark.width()) {
        painter.drawEllipse(QPointF(QRectF(mark).center().x(), mark.top()), knob, knob);
        painter.drawEllipse(QPointF(QRectF(mark).center().x(), mark.bottom() + 1), knob, knob);
    }
    painter.restore();
}

void BrowserLook::drawDropFrame(QPainter& painter, const QRect& area) const {
    painter.save();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(withAlpha(m_palette.color(QPalette::Active, QPalette::Highlight), 0.08));
    painter.setPen(QPen(m_palette.color(QPalette::Active, QPalette::Highlight), 3));
    painter.drawRoundedRect(QRectF(area).adjusted(3, 3, -3, -3), roundness, roundness);
    painter.restore();
}

void BrowserLook::drawRubberBand(QPainter& painter, const QRect& band) const {
    const QColor highlight = m_palette.color(QPalette::Highlight);
    painter.fillRect(band, withAlpha(highlight, 0.18));
    painter.save();
    painter.setPen(withAlpha(highlight, 0.8));
    painter.setBrush(Qt::NoBrush);
    painter.drawRect(band.adjusted(0, 0, -1, -1));
    painter.restore();
}

/// Of a page of this size in device pixels, with what it throws around it. Most pages of a document
/// are of one size, so few are kept.
QPixmap BrowserLook::shadow(QSize paper) const {
    const int reach = static_cast<int>(std::lround(shadowReach * m_ratio));
    const QSize size = paper + QSize(2 * reach, 2 * reach);
    const QString key = QStringLiteral("quillorn-shadow-%1-%2-%3")
                            .arg(size.width())
                            .arg(size.height())
                            .arg(m_ratio);
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) {
        return pixmap;
    }
    constexpr double darkest = 0.38;
    // How dark it is at a distance from the edge, times that of the other direction.
    const auto share = [reach](int at, int length) {
        const double inside = std::min(at, length - 1 - at) + 0.5;
        const double part = std::min(inside / (1.6 * reach), 1.0);
        return part * part * (3 - 2 * part);
    };
    std::vector<double> columns;
    columns.reserve(static_cast<std::size_t>(size.width()));
    for (int x = 0; x < size.width(); ++x) {
        columns.push_back(share(x, size.width()));
    }
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    for (int y = 0; y < size.height(); ++y) {
        const double row = darkest * share(y, size.height());
        auto* const pixels = reinterpret_cast<QRgb*>(image.scanLine(y));
        for (std::size_t x = 0; x < columns.size(); ++x) {
            pixels[x] = qRgba(0, 0, 0, static_cast<int>(255 * row * columns[x]));
        }
    }
    pixmap = QPixmap::fromImage(image);
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void BrowserLook::drawShadow(QPainter& painter, const QRectF& paper) const {
    drawAround(painter, paper, shadow((paper.size() * m_ratio).toSize()),
               static_cast<int>(std::lround(shadowDrop * m_ratio)));
}

/// What a page of this size lies on when it is selected.
QPixmap BrowserLook::halo(QSize paper) const {
    const int reach = static_cast<int>(std::lround((cellPadding - 2) * m_ratio));
    const QColor color = withAlpha(m_palette.color(QPalette::Highlight), 0.28);
    const QString key = QStringLiteral("quillorn-halo-%1-%2-%3-%4")
                            .arg(paper.width())
                            .arg(paper.height())
                            .arg(m_ratio)
                            .arg(color.rgba());
    QPixmap pixmap;
    if (QPixmapCache::find(key, &pixmap)) {
        return pixmap;
    }
    pixmap = QPixmap(paper + QSize(2 * reach, 2 * reach));
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    const double rounded = (roundness + 1) * m_ratio;
    painter.drawRoundedRect(pixmap.rect(), rounded, rounded);
    painter.end();
    QPixmapCache::insert(key, pixmap);
    return pixmap;
}

void BrowserLook::drawHalo(QPainter& painter, const QRectF& paper) const {
    drawAround(painter, paper, halo((paper.size() * m_ratio).toSize()), 0);
}

/// A picture that is larger than a page by as much on every side, around the page only: what it
/// covers need not be blended. `drop`: device pixels that the picture lies lower.
void BrowserLook::drawAround(QPainter& painter, const QRectF& paper, const QPixmap& picture,
                             int drop) const {
    const QPoint place = (paper.topLeft() * m_ratio).toPoint();
    const QSize size = (paper.size() * m_ratio).toSize();
    QRect whole(QPoint(0, 0), picture.size());
    whole.moveTo(place - QPoint((picture.width() - size.width()) / 2,
                                (picture.height() - size.height()) / 2 - drop));
    const QRect covered = QRect(place, size).adjusted(1, 1, -1, -1);
    painter.save();
    painter.scale(1 / m_ratio, 1 / m_ratio);
    for (const QRect& strip : QRegion(whole).subtracted(covered)) {
        painter.drawPixmap(strip.topLeft(), picture, strip.translated(-whole.topLeft()));
    }
    painter.restore();
}

QPixmap BrowserLook::dragPicture(const std::vector<PagePicture>& pages, std::size_t count) const {
    constexpr double side = 110;
    constexpr double step = 7;
    constexpr int margin = 14;
    const int whole = static_cast<int>(side + 2 * step) + 2 * margin;
    QPixmap pixmap(QSize(whole, whole) * m_ratio);
    pixmap.setDevicePixelRatio(m_ratio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    const std::size_t shown = std::min<std::size_t>(pages.size(), 3);
    QRectF stack; // what the pages take up: less than their frames, as each has its proportions
    for (std::size_t i = shown; i-- > 0;) {
        PagePicture page = pages[i];
        page.size.scale(side * m_ratio, side * m_ratio, Qt::KeepAspectRatio);
        if (page.state == PagePicture::State::drawn && page.thumbnail != nullptr) {
            page.state = PagePicture::State::waiting; // it is drawn smaller than it is
        }
        const double shift = static_cast<double>(i) * step;
        const QRectF area(margin + shift, margin + 2 * step - shift, side, side);
        drawPage(painter, area, page);
        stack |= paperIn(area, page);
    }
    const QString text = QLocale().toString(static_cast<qulonglong>(count));
    QFont bold = m_font;
    bold.setBold(true);
    const QFontMetrics metrics(bold);
    const double height = metrics.height() + 4;
    const double width = std::max<double>(metrics.horizontalAdvance(text) + 12, height);
    QRectF badge(0, 0, width, height);
    badge.moveCenter(stack.topRight());
    badge.moveRight(std::min(badge.right(), whole - 2.0));
    badge.moveTop(std::max(badge.top(), 2.0));
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setBrush(m_palette.color(QPalette::Active, QPalette::Highlight));
    painter.setPen(QPen(m_palette.color(QPalette::Active, QPalette::HighlightedText), 1.5));
    painter.drawRoundedRect(badge, height / 2, height / 2);
    painter.setFont(bold);
    painter.drawText(badge, Qt::AlignCenter, text);
    return pixmap;
}

} // namespace quillorn
