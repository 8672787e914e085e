#pragma once

#include <cstdint>
#include <memory>

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): cairo's own name
struct _cairo_surface;

/// A decoded picture over a cairo surface; its pixels do not change. May be read by any thread.
class CGImage {
public:
    /// Takes over a 32-bit cairo image surface (ARGB32 or RGB24).
    explicit CGImage(_cairo_surface* surface);
    ~CGImage();
    CGImage(const CGImage&) = delete;
    CGImage& operator=(const CGImage&) = delete;

    /// Device pixels.
    int32_t width() const;
    int32_t height() const;
    /// The pixel as 0xAARRGGBB, colour not multiplied by alpha; 0 outside the picture. The origin
    /// is the upper left corner.
    uint32_t pixel(int32_t x, int32_t y) const;
    /// Stays the image's own.
    _cairo_surface* surface() const { return m_surface; }

private:
    _cairo_surface* m_surface;
};

using CGImageRef = CGImage*;

/// Read a picture file; null when it cannot be read or decoded. The caller owns the image and gives
/// it back with CGImageRelease.
CGImageRef CGImageCreateWithPNGFile(const char* path);
CGImageRef CGImageCreateWithJPEGFile(const char* path);
/// Either kind, told by the file's first bytes.
CGImageRef CGImageCreateWithFile(const char* path);
/// Frees an image; null is accepted.
void CGImageRelease(CGImageRef image);
