#pragma once

#include <cstdio>

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): cairo's own name
struct _cairo_surface;

/// Decodes a JPEG stream (grey, YCbCr, RGB, CMYK) into a new RGB24 cairo surface that the caller
/// owns; null when the stream is damaged beyond use. Truncated data gives what was read.
_cairo_surface* ASDecodeJpeg(FILE* file);
