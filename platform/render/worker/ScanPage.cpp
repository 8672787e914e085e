#include "platform/render/worker/ScanPage.h"

#include "platform/render/RenderProtocol.h"
#include "platform/render/worker/JPEGReduction.h"
#include "platform/render/worker/ScanContent.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <poppler/Gfx.h>
#include <poppler/GfxState.h>
#include <poppler/Object.h>
#include <poppler/OutputDev.h>
#include <poppler/PDFDoc.h>
#include <poppler/Page.h>
#include <poppler/Stream.h>
#include <utility>
#include <vector>

namespace quillorn::render {

namespace {

constexpr double pointsAnInch = 72;
constexpr std::size_t mostData = std::size_t{256} << 20U; // bytes
constexpr double straight = 0.25; // pixels that an edge may lean and still count as upright

/// The data of a JPEG as it stands in the file.
std::optional<std::vector<unsigned char>> rawData(Stream& stream) {
    Stream* const raw = stream.getNextStream();
    if (raw == nullptr) {
        return std::nullopt;
    }
    std::vector<unsigned char> data;
    constexpr int block = 1 << 16;
    raw->reset();
    for (int got = block; got == block;) {
        const std::size_t before = data.size();
        if (before > mostData) {
            raw->close();
            return std::nullopt;
        }
        data.resize(before + block);
        got = raw->doGetChars(block, data.data() + before);
        data.resize(before + static_cast<std::size_t>(std::max(got, 0)));
    }
    raw->close();
    return data;
}

/// Whether the image is its JPEG and nothing besides: no mask, no layer, no decoding by the
/// dictionary's own wish.
bool isPlainJPEG(Dict& image) {
    for (const char* const key :
         {"SMask", "Mask", "OC", "SMaskInData", "DecodeParms", "Alternates"}) {
        if (!image.lookup(key).isNull()) {
            return false;
        }
    }
    const Object mask = image.lookup("ImageMask");
    const Object bits = image.lookup("BitsPerComponent");
    return image.lookup("Subtype").isName("Image") && (!mask.isBool() || !mask.getBool()) &&
           (bits.isNull() || (bits.isInt() && bits.getInt() == 8));
}

/// What the samples of the image mean; nothing when they are not as many a pixel as decoded.
std::unique_ptr<GfxImageColorMap> coloursOf(Dict& image, GfxResources& resources, OutputDev& device,
                                            std::size_t components) {
    Object stated = image.lookup("ColorSpace");
    if (stated.isName()) {
        Object named = resources.lookupColorSpace(stated.getName());
        if (!named.isNull()) {
            stated = std::move(named);
        }
    }
    // Spaces depend on nothing of a page, but the library asks a state for them.
    const PDFRectangle anyBox(0, 0, 1, 1);
    GfxState state(pointsAnInch, pointsAnInch, &anyBox, 0, false);
    std::unique_ptr<GfxColorSpace> space(
        GfxColorSpace::parse(&resources, &stated, &device, &state));
    if (space == nullptr || static_cast<std::size_t>(space->getNComps()) != components) {
        return nullptr;
    }
    Object decode = image.lookup("Decode");
    auto colours = std::make_unique<GfxImageColorMap>(8, &decode, space.release());
    return colours->isOk() ? std::move(colours) : nullptr;
}

/// Which source samples a row or column of the picture averages: from `first` up to `end`.
struct Share {
    std::size_t first = 0;
    std::size_t end = 0;
};

/// Spreads `samples` over the pixels from `from` to `to` (`to` < `from` turns the image round) and
/// returns the shares of those that lie in the picture, whose first is `start`.
std::vector<Share> sharesAlong(double from, double to, std::size_t samples, std::size_t pixels,
                               std::size_t& start) {
    const double low = std::round(std::min(from, to));
    const double high = std::max(std::round(std::max(from, to)), low + 1);
    std::vector<Share> shares;
    const auto inPicture = [pixels](double edge) {
        return static_cast<std::size_t>(std::clamp(edge, 0.0, static_cast<double>(pixels)));
    };
    start = inPicture(low);
    for (std::size_t place = start; place < inPicture(high); ++place) {
        const auto pixel = static_cast<double>(place);
        double begin = (pixel - low) / (high - low);
        double stop = (pixel + 1 - low) / (high - low);
        if (to < from) {
            begin = 1 - std::exchange(stop, 1 - begin);
        }
        const double count = static_cast<double>(samples);
        const auto left = std::min(static_cast<std::size_t>(begin * count), samples - 1);
        const auto right = static_cast<std::size_t>(std::ceil(stop * count));
        shares.push_back({left, std::clamp(right, left + 1, samples)});
    }
    return shares;
}

/// The average of a part of the image.
void average(const SampleRaster& raster, const Share& columns, const Share& rows,
             unsigned char* out) {
    std::array<unsigned, 4> sums{};
    for (std::size_t row = rows.first; row < rows.end; ++row) {
        const unsigned char* sample =
            raster.samples.data() + (row * raster.width + columns.first) * raster.components;
        for (std::size_t column = columns.first; column < columns.end; ++column) {
            for (std::size_t i = 0; i < raster.components; ++i) {
                sums[i] += *sample++;
            }
        }
    }
    const auto count =
        static_cast<unsigned>((rows.end - rows.first) * (columns.end - columns.first));
    for (std::size_t i = 0; i < raster.components; ++i) {
        out[i] = static_cast<unsigned char>((sums[i] + count / 2) / count);
    }
}

/// Where the image's columns and rows go, in pixels of the picture.
struct Placement {
    bool isTurned = false; ///< columns of the image run down the picture
    std::size_t left = 0;
    std::size_t top = 0;
    std::vector<Share> across;
    std::vector<Share> down;
};

Placement placed(const Matrix& matrix, const SampleRaster& raster, PictureSize size,
                 bool isTurned) {
    const auto [a, b, c, d, e, f] = matrix;
    Placement result;
    result.isTurned = isTurned;
    // The image's first row is at the top of its unit square, at y = 1.
    if (isTurned) {
        result.across = sharesAlong(c + e, e, raster.height, size.width, result.left);
        result.down = sharesAlong(f, b + f, raster.width, size.height, result.top);
    } else {
        result.across = sharesAlong(e, a + e, raster.width, size.width, result.left);
        result.down = sharesAlong(d + f, f, raster.height, size.height, result.top);
    }
    return result;
}

void paint(const SampleRaster& raster, const Placement& placement, GfxImageColorMap& colours,
           const PageDrawing& drawing, PictureSize size) {
    constexpr std::uint32_t opaque = 0xff000000U;
    std::memset(drawing.canvas.data(), 0xff, std::size_t{size.width} * size.height * 4);
    std::vector<unsigned char> samples(placement.across.size() * raster.components);
    std::vector<unsigned> pixels(placement.across.size());
    for (std::size_t y = 0; y < placement.down.size(); ++y) {
        unsigned char* out = samples.data();
        for (const Share& share : placement.across) {
            const Share& columns = placement.isTurned ? placement.down[y] : share;
            const Share& rows = placement.isTurned ? share : placement.down[y];
            average(raster, columns, rows, out);
            out += raster.components;
        }
        colours.getRGBLine(samples.data(), pixels.data(), static_cast<int>(pixels.size()));
        for (unsigned& pixel : pixels) {
            pixel |= opaque;
        }
        const std::size_t at = (placement.top + y) * size.width + placement.left;
        std::memcpy(drawing.canvas.data() + at * sizeof(unsigned), pixels.data(),
                    pixels.size() * sizeof(unsigned));
    }
}

} // namespace

bool drawScan(PDFDoc& document, Page& page, OutputDev& device, const PageDrawing& drawing,
              PictureSize size, bool useMediaBox) {
    const Object annotations = page.getAnnotsObject();
    if (annotations.isArray() && annotations.arrayGetLength() > 0) {
        return false;
    }
    Dict* const pageResources = page.getResourceDict();
    if (pageResources == nullptr) {
        return false;
    }
    const auto shown = onlyShownObject(document, page);
    if (!shown) {
        return false;
    }
    GfxResources resources(document.getXRef(), pageResources, nullptr);
    const Object object = resources.lookupXObject(shown->name.c_str());
    if (!object.isStream() || object.getStream()->getKind() != strDCT) {
        return false;
    }
    Dict& image = *object.streamGetDict();
    if (!isPlainJPEG(image)) {
        return false;
    }
    const double pageWidth = useMediaBox ? page.getMediaWidth() : page.getCropWidth();
    const double pageHeight = useMediaBox ? page.getMediaHeight() : page.getCropHeight();
    const bool isPageTurned = (page.getRotate() + drawing.rotation) % 180 != 0;
    const double width = isPageTurned ? pageHeight : pageWidth;
    const double height = isPageTurned ? pageWidth : pageHeight;
    Matrix toPicture{};
    page.getDefaultCTM(toPicture.data(), pointsAnInch * size.width / width,
                       pointsAnInch * size.height / height, drawing.rotation, useMediaBox,
                       device.upsideDown());
    const Matrix matrix = product(shown->place, toPicture);
    const bool isUpright = std::abs(matrix[1]) < straight && std::abs(matrix[2]) < straight;
    const bool isTurned = std::abs(matrix[0]) < straight && std::abs(matrix[3]) < straight;
    if (isUpright == isTurned) {
        return false;
    }
    const auto across = static_cast<std::size_t>(std::ceil(std::abs(matrix[isTurned ? 1U : 0U])));
    const auto down = static_cast<std::size_t>(std::ceil(std::abs(matrix[isTurned ? 2U : 3U])));
    const auto data = rawData(*object.getStream());
    if (!data || across > longestSide || down > longestSide) {
        return false;
    }
    const auto raster = decodeReduced(*data, across, down);
    if (!raster || raster->width < across || raster->height < down) {
        return false;
    }
    const auto colours = coloursOf(image, resources, device, raster->components);
    if (!colours) {
        return false;
    }
    paint(*raster, placed(matrix, *raster, size, isTurned), *colours, drawing, size);
    return true;
}

} // namespace quillorn::render
