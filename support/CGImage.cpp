#include "support/CGImage.h"

#include "support/detail/JpegDecoder.h"
#include "support/detail/OpenFile.h"
#include "support/detail/Pixel.h"

#include <cairo.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

CGImageRef MakeImage(cairo_surface_t* surface) {
    if (surface == nullptr)
        return nullptr;
    const cairo_format_t format = cairo_image_surface_get_format(surface);
    const bool usable = cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS &&
                        (format == CAIRO_FORMAT_ARGB32 || format == CAIRO_FORMAT_RGB24);
    if (!usable) {
        cairo_surface_destroy(surface);
        return nullptr;
    }
    return std::make_unique<CGImage>(surface).release();
}

} // namespace

uint32_t ASPixelOfSurface(_cairo_surface* surface, int32_t x, int32_t y) {
    if (x < 0 || y < 0 || x >= cairo_image_surface_get_width(surface) ||
        y >= cairo_image_surface_get_height(surface))
        return 0;
    const unsigned char* row = cairo_image_surface_get_data(surface) +
                               ptrdiff_t{y} * cairo_image_surface_get_stride(surface);
    uint32_t stored = 0;
    std::memcpy(&stored, row + ptrdiff_t{x} * 4, sizeof stored);
    if (cairo_image_surface_get_format(surface) == CAIRO_FORMAT_RGB24)
        return 0xFF000000U | stored;
    const uint32_t alpha = stored >> 24;
    if (alpha == 0)
        return 0;
    uint32_t result = alpha << 24;
    for (const unsigned shift : {16U, 8U, 0U}) {
        const uint32_t channel = ((stored >> shift & 0xFFU) * 255 + alpha / 2) / alpha;
        result |= std::min<uint32_t>(channel, 255) << shift;
    }
    return result;
}

CGImage::CGImage(_cairo_surface* surface) : m_surface(surface) {}

CGImage::~CGImage() {
    cairo_surface_destroy(m_surface);
}

int32_t CGImage::width() const {
    return cairo_image_surface_get_width(m_surface);
}

int32_t CGImage::height() const {
    return cairo_image_surface_get_height(m_surface);
}

uint32_t CGImage::pixel(int32_t x, int32_t y) const {
    return ASPixelOfSurface(m_surface, x, y);
}

CGImageRef CGImageCreateWithPNGFile(const char* path) {
    return path == nullptr ? nullptr : MakeImage(cairo_image_surface_create_from_png(path));
}

CGImageRef CGImageCreateWithJPEGFile(const char* path) {
    if (path == nullptr)
        return nullptr;
    const ASOpenFile file(std::fopen(path, "rb"));
    return file == nullptr ? nullptr : MakeImage(ASDecodeJpeg(file.get()));
}

CGImageRef CGImageCreateWithFile(const char* path) {
    if (path == nullptr)
        return nullptr;
    unsigned char first[2] = {};
    {
        const ASOpenFile file(std::fopen(path, "rb"));
        if (file == nullptr || std::fread(first, 1, sizeof first, file.get()) != sizeof first)
            return nullptr;
    }
    return first[0] == 0xFF && first[1] == 0xD8 ? CGImageCreateWithJPEGFile(path)
                                                : CGImageCreateWithPNGFile(path);
}

void CGImageRelease(CGImageRef image) {
    const std::unique_ptr<CGImage> owned(image);
}
