#include "platform/imaging/ImageReader.h"

#include "platform/imaging/PNGHeader.h"
#include "platform/imaging/SmallHeaders.h"
#include "platform/imaging/TIFFHeader.h"
#include "platform/imaging/WorkerProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

using Kind = ImageError::Kind;

constexpr double pointsPerInch = 72;
constexpr int firstSidewaysOrientation = 5; // the rows of the stored image become columns

tl::unexpected<ImageError> failed(Kind kind, const fs::path& file, std::string reason) {
    return tl::unexpected(ImageError{kind, file, std::move(reason)});
}

std::string extensionOf(const fs::path& path) {
    const std::string extension = path.extension().string();
    return extension.empty() ? extension : extension.substr(1);
}

/// What the facts say of an image; its content is still to come.
ReadImage imageWith(ImageFormat format, const ImageFacts& facts) {
    const ImageDensity density =
        facts.density.isUsable() ? facts.density : ImageDensity{pointsPerInch, pointsPerInch};
    ReadImage image;
    image.format = format;
    image.orientation = facts.orientation;
    image.width = facts.width * pointsPerInch / density.horizontal;
    image.height = facts.height * pointsPerInch / density.vertical;
    if (facts.orientation >= firstSidewaysOrientation) {
        std::swap(image.width, image.height);
    }
    return image;
}

std::vector<char> joined(const std::vector<std::span<const char>>& pieces) {
    std::size_t size = 0;
    for (const std::span<const char> piece : pieces) {
        size += piece.size();
    }
    std::vector<char> all;
    all.reserve(size);
    for (const std::span<const char> piece : pieces) {
        all.insert(all.end(), piece.begin(), piece.end());
    }
    return all;
}

/// TIFF is a family. Qt's reader brings most of it down to 8 bits of RGB; of these kinds it keeps
/// the samples as they are.
bool readsWellWithQt(const TIFFFacts& facts) {
    enum Photometric { whiteIsZero = 0, blackIsZero = 1, rgb = 2, palette = 3, yCbCr = 6 };
    if (facts.sampleFormat != 1) {
        return false;
    }
    switch (facts.photometric) {
    case whiteIsZero:
        return facts.components == 1 && facts.bitsPerComponent <= 8;
    case blackIsZero:
        return facts.components == 1 && facts.bitsPerComponent <= 16;
    case rgb:
        return (facts.components == 3 || facts.components == 4) &&
               (facts.bitsPerComponent == 8 || facts.bitsPerComponent == 16);
    case palette:
        return facts.components == 1 && facts.bitsPerComponent <= 8;
    case yCbCr:
        return facts.components == 3 && facts.bitsPerComponent == 8;
    default:
        return false;
    }
}

} // namespace

/// A file that is being read.
struct ImageReader::File {
    fs::path path;
    FileDescriptor descriptor;
    std::vector<char> bytes; ///< all of it
    std::stop_token stop;
};

std::optional<ImageFormat> imageFormatOf(const fs::path& path) {
    const auto descriptor = FileDescriptor::openRegularFile(path);
    if (!descriptor) {
        return std::nullopt;
    }
    std::array<char, recognitionBytes> head{};
    const auto got = readAt(*descriptor, path, head, 0);
    return got ? recogniseImage(std::span(head).first(*got), extensionOf(path)) : std::nullopt;
}

ImageReader::ImageReader(fs::path workerFolder, ImageLimits limits)
    : m_workerFolder(std::move(workerFolder)), m_limits(limits) {}

ImageResult<ReadImage> ImageReader::read(const fs::path& path, const std::stop_token& stop) const {
    auto descriptor = FileDescriptor::openRegularFile(path);
    if (!descriptor) {
        return failed(Kind::unreadable, path, descriptor.error().reason);
    }
    const auto stamp = FileStamp::of(*descriptor, path);
    if (!stamp) {
        return failed(Kind::unreadable, path, stamp.error().reason);
    }
    if (stamp->size == 0) {
        return failed(Kind::notImage, path, "the file is empty");
    }
    if (stamp->size > m_limits.fileBytes) {
        return failed(Kind::tooLarge, path, "the file is larger than an image may be");
    }
    File file{path, std::move(*descriptor), {}, stop};
    std::array<char, recognitionBytes> head{};
    const auto begun = readAt(file.descriptor, path, head, 0);
    if (!begun) {
        return failed(Kind::unreadable, path, begun.error().reason);
    }
    const auto format = recogniseImage(std::span(head).first(*begun), extensionOf(path));
    if (!format) {
        return failed(Kind::notImage, path, "its content is no image of a known format");
    }
    file.bytes.resize(static_cast<std::size_t>(stamp->size));
    const auto got = readAt(file.descriptor, path, file.bytes, 0);
    if (!got) {
        return failed(Kind::unreadable, path, got.error().reason);
    }
    file.bytes.resize(*got);
    return readAs(*format, file);
}

ImageResult<ReadImage> ImageReader::readAs(ImageFormat format, File& file) const {
    constexpr ImageFacts unknown;
    switch (format) {
    case ImageFormat::jpeg:
        return readJPEG(file);
    case ImageFormat::jpeg2000:
        return readJPEG2000(file);
    case ImageFormat::png:
        return readPNG(file);
    case ImageFormat::tiff:
        return readTIFF(file);
    case ImageFormat::icns:
        return readICNS(file);
    case ImageFormat::bmp:
        return decode(format, readBMPHeader(file.bytes).value_or(unknown), file, true);
    case ImageFormat::gif:
        return decode(format, readGIFHeader(file.bytes).value_or(unknown), file, true);
    case ImageFormat::webp:
        return decode(format, readWebPHeader(file.bytes).value_or(unknown), file, true);
    case ImageFormat::psd:
        return decode(format, readPSDHeader(file.bytes).value_or(unknown), file, false);
    case ImageFormat::tga:
        return decode(format, readTGAHeader(file.bytes).value_or(unknown), file, true);
    case ImageFormat::heif:
    case ImageFormat::avif:
        return decode(format, unknown, file, false);
    case ImageFormat::ico:
    case ImageFormat::svg:
        break;
    }
    return decode(format, unknown, file, true);
}

ImageResult<ReadImage> ImageReader::readJPEG(File& file) const {
    auto facts = readJPEGHeader(file.bytes);
    if (!facts) {
        return failed(Kind::notImage, file.path, "it is a JPEG file without a picture");
    }
    if (!facts->suitsPDF() || !m_limits.allowSize(facts->width, facts->height)) {
        return decode(ImageFormat::jpeg, *facts, file);
    }
    ReadImage image = imageWith(ImageFormat::jpeg, *facts);
    image.content = JPEGImage{std::move(*facts), std::move(file.bytes)};
    return image;
}

ImageResult<ReadImage> ImageReader::readJPEG2000(File& file) const {
    auto facts = readJPEG2000Header(file.bytes);
    if (!facts) {
        return failed(Kind::notImage, file.path, "it is a JPEG 2000 file without a picture");
    }
    if (!facts->suitsPDF() || !m_limits.allowSize(facts->width, facts->height)) {
        return decode(ImageFormat::jpeg2000, *facts, file, false);
    }
    std::vector<char> data;
    if (facts->isBareCodestream) {
        data = jp2BoxesBefore(*facts);
        data.insert(data.end(), file.bytes.begin(), file.bytes.end());
    } else {
        data = std::move(file.bytes);
    }
    ReadImage image = imageWith(ImageFormat::jpeg2000, *facts);
    image.content = JPEG2000Image{std::move(*facts), std::move(data)};
    return image;
}

ImageResult<ReadImage> ImageReader::readPNG(File& file) const {
    const auto facts = readPNGHeader(file.bytes);
    if (!facts) {
        return failed(Kind::notImage, file.path, "it is a PNG file without a picture");
    }
    if (!facts->suitsPDF() || !m_limits.allowSize(facts->width, facts->height) ||
        !hasWholeImageData(*facts)) {
        return decode(ImageFormat::png, *facts, file);
    }
    PackedImage image;
    image.width = facts->width;
    image.height = facts->height;
    image.colours = PackedPlane{PackedPlane::Coding::pngRows, facts->components,
                                facts->bitsPerComponent, joined(facts->data)};
    if (facts->kind == PNGFacts::Kind::palette) {
        image.palette.assign(facts->palette.begin(), facts->palette.end());
    }
    image.iccProfile = unpackedProfile(*facts);
    ReadImage result = imageWith(ImageFormat::png, *facts);
    result.content = std::move(image);
    return result;
}

ImageResult<ReadImage> ImageReader::readTIFF(File& file) const {
    const auto facts = readTIFFHeader(file.bytes);
    if (!facts || !facts->hasSize()) {
        return failed(Kind::notImage, file.path, "it is a TIFF file without a picture");
    }
    return decode(ImageFormat::tiff, *facts, file, readsWellWithQt(*facts));
}

ImageResult<ReadImage> ImageReader::readICNS(File& file) const {
    const std::span<const char> inner = largestFileInICNS(file.bytes);
    const auto format = recogniseImage(inner, {});
    if (!format) {
        return decode(ImageFormat::icns, {}, file);
    }
    // The icon's picture is a file in itself, and is read like one.
    File picture{file.path, FileDescriptor(::memfd_create("quillorn-icon", MFD_CLOEXEC)),
                 std::vector<char>(inner.begin(), inner.end()), file.stop};
    if (!picture.descriptor.isOpen()) {
        return failed(Kind::noReader, file.path, errnoText(errno));
    }
    if (const auto written = writeAll(picture.descriptor, file.path, inner); !written) {
        return failed(Kind::noReader, file.path, written.error().reason);
    }
    auto image = readAs(*format, picture);
    if (image) {
        image->format = ImageFormat::icns;
    }
    return image;
}

ImageResult<ReadImage> ImageReader::decode(ImageFormat format, const ImageFacts& facts, File& file,
                                           bool qtFirst) const {
    if (facts.hasSize() && !m_limits.allowSize(facts.width, facts.height)) {
        return failed(Kind::tooLarge, file.path,
                      "it says that it has " + std::to_string(facts.width) + " x " +
                          std::to_string(facts.height) + " pixels, more than an image may have");
    }
    file.bytes = {}; // the worker reads it by itself
    constexpr std::string_view qtWorker = "quillorn-image-worker";
    constexpr std::string_view magickWorker = "quillorn-image-worker-magick";
    std::array<std::string_view, 2> workers = {qtWorker, magickWorker};
    if (!qtFirst) {
        std::ranges::reverse(workers);
    }
    const auto runWorker = [&](std::string_view program) {
        const bool isDrawing = format == ImageFormat::svg;
        return runImageWorker(file.descriptor,
                              WorkerJob{m_workerFolder / program, format,
                                        isDrawing ? m_limits.forDrawing() : m_limits, file.stop,
                                        file.path});
    };
    WorkerAnswer answer = runWorker(workers.front());
    if (!answer.image && answer.mayOthers && format != ImageFormat::svg) {
        WorkerAnswer second = runWorker(workers.back());
        // What the one that knows the format better said explains more.
        if (second.image || second.image.error().kind != Kind::notImage) {
            answer = std::move(second);
        }
    }
    if (!answer.image) {
        return tl::unexpected(std::move(answer.image.error()));
    }
    if (auto* const drawing = std::get_if<VectorImage>(&*answer.image)) {
        ReadImage image;
        image.format = format;
        image.width = drawing->width;
        image.height = drawing->height;
        image.content = std::move(*drawing);
        return image;
    }
    auto& pixels = std::get<PackedImage>(*answer.image);
    ImageFacts actual = facts;
    actual.width = pixels.width;
    actual.height = pixels.height;
    actual.density = facts.density.isUsable() ? facts.density : pixels.density;
    ReadImage image = imageWith(format, actual);
    image.content = std::move(pixels);
    return image;
}

} // namespace quillorn
