#pragma once

#include <cstdint>

// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier): cairo's own name
struct _cairo_surface;

/// A pixel of a 32-bit cairo image surface as 0xAARRGGBB, colour not multiplied by alpha; 0 outside
/// the surface. The surface must be flushed.
uint32_t ASPixelOfSurface(_cairo_surface* surface, int32_t x, int32_t y);
