#include "panes/BackgroundLayers.h"

#include "model/FileNames.h"

#include <QByteArray>
#include <QColor>
#include <QFile>
#include <QPainter>
#include <QPointF>
#include <QRect>
#include <algorithm>

namespace quillorn {

namespace {

constexpr float distanceFromTop = 125; // logical pixels

QImage loadOnce(QImage& kept, std::string_view name) {
    if (kept.isNull()) {
        kept = createImageWithName(name);
    }
    return kept;
}

} // namespace

void ColorLayer::drawInContext(QPainter& painter) {
    const auto component = [](float value) { return std::clamp(value, 0.0F, 1.0F); };
    const BrowserRect visible = m_owner.visibleRect();
    painter.fillRect(QRect(0, 0, visible.width, visible.height),
                     QColor::fromRgbF(component(m_color.red), component(m_color.green),
                                      component(m_color.blue)));
}

void PictureLayer::drawInContext(QPainter& painter) {
    if (m_owner == nullptr) {
        return;
    }
    const BrowserRect visible = m_owner->visibleRect();
    if (visible.right() <= 0 || static_cast<float>(visible.height) <= distanceFromTop) {
        return;
    }
    const QImage image = picture();
    if (image.isNull()) {
        return;
    }
    const float left = (static_cast<float>(visible.width) - static_cast<float>(image.width())) / 2;
    painter.drawImage(QPointF(left, distanceFromTop), image);
}

QImage ImageBrowserBackgroundLayerFir::picture() const {
    return backgroundImageFir();
}

QImage ImageBrowserBackgroundLayerSec::picture() const {
    return backgroundImageSec();
}

QImage createImageWithName(std::string_view name, const Resources& resources) {
    const auto path = resources.pathForResource(baseName(name), pathExtension(name));
    return path ? QImage(QFile::decodeName(QByteArray::fromStdString(path->string()))) : QImage();
}

QImage backgroundImageFir() {
    static QImage kept;
    return loadOnce(kept, "Fir_Image.png");
}

QImage backgroundImageSec() {
    static QImage kept;
    return loadOnce(kept, "Sec_Image.png");
}

} // namespace quillorn
