#pragma once

#include <cstdint>

// Packed colours 0xAARRGGBB, and hue, lightness and saturation, each 0..1.

/// Splits a packed colour (alpha is ignored). Null results are skipped.
void ASRGBToHLS(uint32_t color, double* hue, double* lightness, double* saturation);
/// Joins a packed colour with alpha 0xFF. Deliberate: the low byte repeats red, the blue value is
/// not used. A null result is skipped.
void ASHLSToRGB(double hue, double lightness, double saturation, uint32_t* color);
