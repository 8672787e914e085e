#include "platform/imaging/worker/QtDecoder.h"

#include "platform/imaging/worker/DrawingFrame.h"
#include "platform/imaging/worker/DrawingText.h"
#include "platform/imaging/worker/PixelPacking.h"
#include "platform/imaging/worker/Raster.h"
#include "platform/imaging/worker/TGADecoder.h"

#include <QBuffer>
#include <QByteArray>
#include <QColorSpace>
#include <QImage>
#include <QImageReader>
#include <QMarginsF>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSvgRenderer>
#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace quillorn::worker {

namespace {

constexpr int bytesPerMebibyteShift = 20;

tl::unexpected<Refusal> refused(ReplyKind kind, std::string reason) {
    return tl::unexpected(Refusal{kind, std::move(reason)});
}

tl::unexpected<Refusal> tooManyPixels() {
    return refused(ReplyKind::tooLarge, "it has more pixels than an image may have");
}

QByteArray readerFormat(ImageFormat format) {
    const std::string_view name = imageFormatName(format);
    return QByteArray(name.data(), static_cast<qsizetype>(name.size()));
}

template <class Sample>
Raster<Sample> rasterOf(const QImage& image) {
    Raster<Sample> raster{static_cast<std::uint32_t>(image.width()),
                          static_cast<std::uint32_t>(image.height()),
                          3,
                          true,
                          {}};
    const std::size_t row = std::size_t{raster.width} * raster.channels();
    raster.samples.resize(row * raster.height);
    for (int y = 0; y < image.height(); ++y) {
        std::memcpy(raster.samples.data() + static_cast<std::size_t>(y) * row,
                    image.constScanLine(y), row * sizeof(Sample));
    }
    return raster;
}

/// The profile of colours that are not those of every screen anyway.
std::vector<char> profileOf(const QImage& image) {
    const QColorSpace space = image.colorSpace();
    if (!space.isValid() || space == QColorSpace(QColorSpace::SRgb)) {
        return {};
    }
    const QByteArray profile = space.iccProfile();
    std::vector<char> bytes(profile.begin(), profile.end());
    return isProfileFor(bytes, 3) ? bytes : std::vector<char>();
}

bool hasWideSamples(const QImage& image) {
    switch (image.format()) {
    case QImage::Format_Grayscale16:
    case QImage::Format_RGBX64:
    case QImage::Format_RGBA64:
    case QImage::Format_RGBA64_Premultiplied:
    case QImage::Format_RGB30:
    case QImage::Format_BGR30:
    case QImage::Format_A2RGB30_Premultiplied:
    case QImage::Format_A2BGR30_Premultiplied:
    case QImage::Format_RGBX16FPx4:
    case QImage::Format_RGBA16FPx4:
    case QImage::Format_RGBX32FPx4:
    case QImage::Format_RGBA32FPx4:
        return true;
    default:
        return false;
    }
}

PackedImage packedImage(QImage image) {
    std::vector<char> profile = profileOf(image);
    const bool keepColours = !profile.empty();
    PackedImage result;
    if (hasWideSamples(image)) {
        image.convertTo(QImage::Format_RGBA64);
        const auto raster = rasterOf<std::uint16_t>(image);
        image = QImage();
        result = packed(raster, keepColours);
    } else {
        image.convertTo(QImage::Format_RGBA8888);
        const auto raster = rasterOf<std::uint8_t>(image);
        image = QImage();
        result = packed(raster, keepColours);
    }
    result.iccProfile = std::move(profile);
    return result;
}

/// An icon file holds the same picture in several sizes; the largest is the picture.
QImage largestPicture(QImageReader& reader) {
    QImage best = reader.read();
    const int count = reader.imageCount();
    for (int i = 1; i < count && reader.jumpToImage(i); ++i) {
        QImage other = reader.read();
        if (std::pair(other.width(), other.depth()) > std::pair(best.width(), best.depth())) {
            best = std::move(other);
        }
    }
    return best;
}

Decoded decodePixels(const Task& task, const QByteArray& bytes) {
    QBuffer buffer;
    buffer.setData(bytes);
    buffer.open(QIODevice::ReadOnly);
    QImageReader reader(&buffer, readerFormat(task.format));
    reader.setDecideFormatFromContent(false);
    reader.setAutoTransform(false);
    QImageReader::setAllocationLimit(static_cast<int>(
        std::min<std::uint64_t>(task.limits.workerMemory >> bytesPerMebibyteShift, 1U << 16U)));
    if (!reader.canRead()) {
        return refused(ReplyKind::notMine, reader.errorString().toStdString());
    }
    const QSize size = reader.size();
    if (size.isValid() && !size.isEmpty() &&
        !task.limits.allowSize(static_cast<std::uint64_t>(size.width()),
                               static_cast<std::uint64_t>(size.height()))) {
        return tooManyPixels();
    }
    const bool isIcon = task.format == ImageFormat::ico || task.format == ImageFormat::icns;
    QImage image = isIcon ? largestPicture(reader) : reader.read();
    if (image.isNull()) {
        return refused(ReplyKind::notMine, reader.errorString().toStdString());
    }
    if (!task.limits.allowSize(static_cast<std::uint64_t>(image.width()),
                               static_cast<std::uint64_t>(image.height()))) {
        return tooManyPixels();
    }
    return packedImage(std::move(image));
}

/// What the drawing says of its size, completed by the bounds of what it shows.
DrawingFrame frameOf(std::string_view text, const QSvgRenderer& renderer) {
    DrawingFrame frame = readDrawingFrame(text);
    if (!frame.viewBox) {
        const QRectF bounds = renderer.viewBoxF();
        frame.viewBox = DrawingBox{bounds.x(), bounds.y(), bounds.width(), bounds.height()};
    }
    if (!(frame.width > 0) || !(frame.height > 0)) {
        frame.width = frame.viewBox->width;
        frame.height = frame.viewBox->height;
    }
    return frame;
}

QRectF rectangle(const DrawingBox& box) {
    return {box.x, box.y, box.width, box.height};
}

Decoded decodeDrawing(const Task& task, std::vector<char>& bytes) {
    // The page is drawn at this size, in points, and scaled where it is used: a page size is
    // rounded to whole points, which matters less the larger it is.
    constexpr double longestSide = 2000;
    constexpr int resolution = 720; // dots an inch; nothing but rounding depends on it
    constexpr double smallest = 1e-3;
    constexpr double largest = 1e6;
    const auto text = readDrawingText(bytes, task.limits.drawingText);
    bytes = {};
    if (!text) {
        return refused(ReplyKind::refused, text.error());
    }
    QSvgRenderer renderer;
    if (!renderer.load(
            QByteArray::fromRawData(text->data(), static_cast<qsizetype>(text->size())))) {
        return refused(ReplyKind::refused, "it is no drawing, or a damaged one");
    }
    const DrawingFrame frame = frameOf(*text, renderer);
    const QSizeF size(frame.width, frame.height);
    if (!(std::min(size.width(), size.height()) >= smallest) ||
        !(std::max(size.width(), size.height()) <= largest)) {
        return refused(ReplyKind::refused, "it has no usable size");
    }
    const double scale = longestSide / std::max(size.width(), size.height());
    const QSizeF page(std::max(1.0, std::round(size.width() * scale)),
                      std::max(1.0, std::round(size.height() * scale)));
    QByteArray pdf;
    QBuffer buffer(&pdf);
    buffer.open(QIODevice::WriteOnly);
    QPdfWriter writer(&buffer);
    writer.setResolution(resolution);
    writer.setPageSize(QPageSize(page, QPageSize::Point, QString(), QPageSize::ExactMatch));
    writer.setPageMargins(QMarginsF(0, 0, 0, 0));
    QPainter painter;
    if (!painter.begin(&writer)) {
        return refused(ReplyKind::refused, "it cannot be drawn");
    }
    // The library's own ideas of units and of proportions differ from the standard's.
    renderer.setViewBox(rectangle(*frame.viewBox));
    renderer.setAspectRatioMode(Qt::IgnoreAspectRatio);
    renderer.render(&painter, rectangle(placeInFrame(*frame.viewBox, frame.fit, writer.width(),
                                                     writer.height())));
    painter.end();
    return VectorImage{std::vector<char>(pdf.begin(), pdf.end()), size.width(), size.height()};
}

} // namespace

Decoded decodeWithQt(const Task& task, std::vector<char>& bytes) {
    if (task.format == ImageFormat::tga) {
        return decodeTGA(task, bytes);
    }
    if (task.format == ImageFormat::svg) {
        return decodeDrawing(task, bytes);
    }
    return decodePixels(
        task, QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size())));
}

} // namespace quillorn::worker
