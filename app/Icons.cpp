#include "app/Icons.h"

#include <QApplication>
#include <QIconEngine>
#include <QPainter>
#include <QPainterPath>
#include <QPalette>
#include <QPixmap>
#include <array>
#include <sstream>
#include <string>

namespace quillorn {

namespace {

constexpr qreal grid = 24;         // units of the drawings below, both ways
constexpr qreal strokeWidth = 1.7; // in the same units

struct Drawing {
    std::string_view name;
    /// M x y, L x y: move, line. R x y w h: rectangle. E x y rx ry: ellipse round a middle.
    /// A x y r start span: arc round a middle, in degrees, counter-clockwise from the right.
    std::string_view strokes;
};

constexpr std::array<Drawing, 27> drawings = {{
    {"add", "M 6 3 L 14 3 L 18 7 L 18 11 M 14 3 L 14 7 L 18 7 M 6 3 L 6 21 L 12 21 "
            "M 18 14 L 18 22 M 14 18 L 22 18"},
    {"import", "M 6 3 L 14 3 L 18 7 L 18 21 L 6 21 L 6 3 M 14 3 L 14 7 L 18 7 "
               "M 12 10 L 12 17 M 9 14 L 12 17 L 15 14"},
    {"newGroup", "R 4 8 11 13 M 8 8 L 8 4 L 19 4 L 19 17 L 15 17 M 9.5 11.5 L 9.5 17.5 "
                 "M 6.5 14.5 L 12.5 14.5"},
    {"save", "M 4 15 L 4 20 L 20 20 L 20 15 M 12 3 L 12 15 M 7.5 10.5 L 12 15 L 16.5 10.5"},
    {"folder", "M 3 19 L 3 5 L 9 5 L 11 8 L 21 8 L 21 19 L 3 19"},
    {"close", "M 6 6 L 18 18 M 18 6 L 6 18"},
    {"clear", "M 4 20 L 20 20 M 8 16 L 4.5 12.5 L 13 4 L 19.5 10.5 L 14 16 L 8 16 "
              "M 9 8 L 15.5 14.5"},
    {"copy", "R 8 8 12 13 M 16 8 L 16 3 L 4 3 L 4 16 L 8 16"},
    {"paste", "R 5 5 14 16 R 9 3 6 4 M 9 12 L 15 12 M 9 16 L 15 16"},
    {"selectAll", "R 4 4 6.5 6.5 R 13.5 4 6.5 6.5 R 4 13.5 6.5 6.5 R 13.5 13.5 6.5 6.5"},
    {"zoomIn", "E 10.5 10.5 6.5 6.5 M 15.5 15.5 L 21 21 M 10.5 7.5 L 10.5 13.5 "
               "M 7.5 10.5 L 13.5 10.5"},
    {"zoomOut", "E 10.5 10.5 6.5 6.5 M 15.5 15.5 L 21 21 M 7.5 10.5 L 13.5 10.5"},
    {"collapse", "M 4 12 L 20 12 M 8 4 L 12 8 L 16 4 M 8 20 L 12 16 L 16 20"},
    {"expand", "M 4 12 L 20 12 M 8 8 L 12 4 L 16 8 M 8 16 L 12 20 L 16 16"},
    {"fullScreen", "M 4 9 L 4 4 L 9 4 M 15 4 L 20 4 L 20 9 M 20 15 L 20 20 L 15 20 "
                   "M 9 20 L 4 20 L 4 15"},
    {"addToOutput", "R 13 4 8 16 M 3 12 L 10.5 12 M 7 8.5 L 10.5 12 L 7 15.5"},
    {"earlier", "M 19 12 L 5 12 M 11 6 L 5 12 L 11 18"},
    {"later", "M 5 12 L 19 12 M 13 6 L 19 12 L 13 18"},
    {"rotateRight", "A 12 12.5 7.5 60 -300 M 16.5 2.5 L 16.5 7 L 12 7"},
    {"rotateLeft", "A 12 12.5 7.5 120 300 M 7.5 2.5 L 7.5 7 L 12 7"},
    {"remove", "M 4 6.5 L 20 6.5 M 9 6.5 L 9 3.5 L 15 3.5 L 15 6.5 M 6 6.5 L 7 21 L 17 21 "
               "L 18 6.5 M 10 10.5 L 10 17 M 14 10.5 L 14 17"},
    {"rename", "M 4 20 L 4.5 15.5 L 15.5 4.5 L 19.5 8.5 L 8.5 19.5 L 4 20 M 12.5 7.5 L 16.5 11.5"},
    {"help", "E 12 12 9 9 A 12 9.5 2.7 180 -225 M 13.9 11.4 L 12 13.2 L 12 14.5 "
             "M 12 17.2 L 12 17.4"},
    {"info", "E 12 12 9 9 M 12 11 L 12 17 M 12 7.2 L 12 7.4"},
    {"quit", "M 10 4 L 4 4 L 4 20 L 10 20 M 9 12 L 20 12 M 15.5 7.5 L 20 12 L 15.5 16.5"},
    {"messages", "M 4 4 L 20 4 L 20 16 L 11 16 L 7 20 L 7 16 L 4 16 L 4 4 M 8 8.5 L 16 8.5 "
                 "M 8 12 L 13 12"},
    {"more", "M 6 6 L 12 12 L 6 18 M 13 6 L 19 12 L 13 18"},
}};

QPainterPath pathOf(std::string_view strokes) {
    QPainterPath path;
    std::istringstream stream{std::string(strokes)};
    const auto next = [&stream]() {
        qreal value = 0;
        stream >> value;
        return value;
    };
    for (char command = 0; stream >> command;) {
        const qreal x = next();
        const qreal y = next();
        if (command == 'M') {
            path.moveTo(x, y);
        } else if (command == 'L') {
            path.lineTo(x, y);
        } else if (command == 'R') {
            const qreal width = next();
            path.addRect(x, y, width, next());
        } else if (command == 'E') {
            const qreal radius = next();
            path.addEllipse(QPointF(x, y), radius, next());
        } else if (command == 'A') {
            const qreal radius = next();
            const qreal start = next();
            const QRectF circle(x - radius, y - radius, 2 * radius, 2 * radius);
            path.arcMoveTo(circle, start);
            path.arcTo(circle, start, next());
        }
    }
    return path;
}

class LineIconEngine final : public QIconEngine {
public:
    explicit LineIconEngine(const QPainterPath& path) : m_path(path) {}

    void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode,
               QIcon::State /*state*/) override {
        const QPalette palette = QApplication::palette();
        const QPalette::ColorGroup group =
            mode == QIcon::Disabled ? QPalette::Disabled : QPalette::Active;
        // In a menu, the entry under the pointer is painted on the highlight.
        const QPalette::ColorRole role =
            mode == QIcon::Selected ? QPalette::HighlightedText : QPalette::ButtonText;
        const qreal side = std::min(rect.width(), rect.height());
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->translate(rect.x() + (rect.width() - side) / 2,
                           rect.y() + (rect.height() - side) / 2);
        painter->scale(side / grid, side / grid);
        painter->setPen(QPen(palette.color(group, role), strokeWidth, Qt::SolidLine, Qt::RoundCap,
                             Qt::RoundJoin));
        painter->drawPath(m_path);
        painter->restore();
    }

    QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override {
        QPixmap pixmap(size);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        paint(&painter, QRect(QPoint(0, 0), size), mode, state);
        return pixmap;
    }

    [[nodiscard]] QIconEngine* clone() const override {
        return std::make_unique<LineIconEngine>(m_path).release(); // the icon's, by contract
    }

private:
    QPainterPath m_path;
};

} // namespace

QIcon lineIcon(std::string_view name) {
    for (const Drawing& drawing : drawings) {
        if (drawing.name == name) {
            return QIcon(std::make_unique<LineIconEngine>(pathOf(drawing.strokes)).release());
        }
    }
    return {};
}

} // namespace quillorn
