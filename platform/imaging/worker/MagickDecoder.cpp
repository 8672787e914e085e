#include "platform/imaging/worker/MagickDecoder.h"

#include "platform/imaging/worker/PixelPacking.h"
#include "platform/imaging/worker/Raster.h"

#include <Magick++.h>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace quillorn::worker {

namespace {

tl::unexpected<Refusal> refused(ReplyKind kind, std::string reason) {
    return tl::unexpected(Refusal{kind, std::move(reason)});
}

/// ImageMagick says "program: reason `file' @ error/file.c/function/line".
std::string reasonOf(const Magick::Exception& error) {
    std::string text = error.what();
    text = text.substr(0, text.find(" @ "));
    text = text.substr(0, text.find_last_not_of(" `'") + 1);
    const std::size_t program = text.find(": ");
    return program == std::string::npos ? text : text.substr(program + 2);
}

std::string magickName(ImageFormat format, const std::vector<char>& bytes) {
    switch (format) {
    case ImageFormat::jpeg:
        return "JPEG";
    case ImageFormat::jpeg2000:
        return !bytes.empty() && bytes.front() == 0 ? "JP2" : "J2K";
    case ImageFormat::png:
        return "PNG";
    case ImageFormat::tiff:
        return "TIFF";
    case ImageFormat::gif:
        return "GIF";
    case ImageFormat::bmp:
        return "BMP";
    case ImageFormat::ico:
        return "ICO";
    case ImageFormat::psd:
        return "PSD";
    case ImageFormat::tga:
        return "TGA";
    case ImageFormat::webp:
        return "WEBP";
    case ImageFormat::heif:
        return "HEIC";
    case ImageFormat::avif:
        return "AVIF";
    case ImageFormat::icns:
    case ImageFormat::svg:
        break;
    }
    return {};
}

ImageDensity densityOf(const Magick::Image& image) {
    constexpr double centimetresPerInch = 2.54;
    const auto* const core = image.constImage();
    if (core->units == MagickCore::UndefinedResolution) {
        return {};
    }
    const double factor =
        core->units == MagickCore::PixelsPerCentimeterResolution ? centimetresPerInch : 1;
    return {core->x_resolution * factor, core->y_resolution * factor};
}

bool isOfScreens(Magick::ColorspaceType space) {
    return space == Magick::sRGBColorspace || space == Magick::GRAYColorspace ||
           space == Magick::TransparentColorspace;
}

std::vector<char> profileOf(Magick::Image& image, int components) {
    const Magick::Blob profile = image.iccColorProfile();
    const auto* const data = static_cast<const char*>(profile.data());
    std::vector<char> bytes(data, data + profile.length());
    return isProfileFor(bytes, components) ? bytes : std::vector<char>();
}

template <class Sample>
PackedImage packedPixels(Magick::Image& image, std::size_t colours, Magick::StorageType storage,
                         bool keepColours) {
    Raster<Sample> raster{static_cast<std::uint32_t>(image.columns()),
                          static_cast<std::uint32_t>(image.rows()),
                          colours,
                          image.matte(),
                          {}};
    raster.samples.resize(raster.pixels() * raster.channels());
    const std::string map =
        std::string(colours == 4 ? "CMYK" : "RGB") + (raster.hasAlpha ? "A" : "");
    image.write(0, 0, image.columns(), image.rows(), map, storage, raster.samples.data());
    return packed(raster, keepColours);
}

Decoded packedImage(Magick::Image& image) {
    constexpr std::size_t narrowDepth = 8;
    const bool isCMYK = image.colorSpace() == Magick::CMYKColorspace;
    bool hasOwnColours = true;
    if (!isCMYK && !isOfScreens(image.colorSpace())) {
        image.colorSpace(Magick::sRGBColorspace);
        hasOwnColours = false; // so a profile speaks of colours that are gone
    }
    const std::size_t colours = isCMYK ? 4 : 3;
    std::vector<char> profile =
        hasOwnColours ? profileOf(image, static_cast<int>(colours)) : std::vector<char>();
    const bool keepColours = !profile.empty();
    PackedImage result =
        image.depth() > narrowDepth
            ? packedPixels<std::uint16_t>(image, colours, Magick::ShortPixel, keepColours)
            : packedPixels<std::uint8_t>(image, colours, Magick::CharPixel, keepColours);
    result.iccProfile = std::move(profile);
    result.density = densityOf(image);
    return result;
}

} // namespace

Decoded decodeWithMagick(const Task& task, std::vector<char>& bytes) {
    const std::string name = magickName(task.format, bytes);
    if (name.empty()) {
        return refused(ReplyKind::notMine, "there is no other reader for this format");
    }
    Magick::InitializeMagick(nullptr);
    // Pixels that do not fit into memory shall not go to a file instead.
    MagickCore::SetMagickResourceLimit(MagickCore::DiskResource, 0);
    const Magick::Blob blob(bytes.data(), bytes.size());
    try {
        Magick::Image header;
        header.quiet(true);
        header.magick(name);
        header.subRange(1);
        header.ping(blob);
        if (!task.limits.allowSize(header.columns(), header.rows())) {
            return refused(ReplyKind::tooLarge, header.columns() == 0 || header.rows() == 0
                                                    ? "it has no pixels"
                                                    : "it has more pixels than an image may have");
        }
        Magick::Image image;
        image.quiet(true);
        image.magick(name);
        image.subRange(1);
        image.read(blob);
        if (!task.limits.allowSize(image.columns(), image.rows())) {
            return refused(ReplyKind::refused, "it has no pixels");
        }
        return packedImage(image);
    } catch (const Magick::ErrorResourceLimit& error) {
        return refused(ReplyKind::tooLarge, reasonOf(error));
    } catch (const Magick::Exception& error) {
        return refused(ReplyKind::notMine, reasonOf(error));
    }
}

} // namespace quillorn::worker
