#include "support/ASColor.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr double tolerance = 1e-6;

double Channel(uint32_t color, unsigned shift) {
    // Single precision first, deliberately: the results are those of the packed formats' readers.
    return static_cast<double>(static_cast<float>((color >> shift) & 0xFFU) / 255.0F);
}

bool Same(double left, double right) {
    return std::fabs(left - right) < tolerance;
}

double ChannelValue(double m1, double m2, double hue) {
    if (hue < 0)
        hue += 1;
    if (hue > 1)
        hue -= 1;
    if (6 * hue < 1)
        return m1 + (m2 - m1) * 6 * hue;
    if (2 * hue < 1)
        return m2;
    if (3 * hue < 2)
        return m1 + (m2 - m1) * (2.0 / 3.0 - hue) * 6;
    return m1;
}

uint32_t Byte(double channel) {
    const double scaled = channel * 255;
    if (!(scaled > 0)) // not a number, too
        return 0;
    return scaled > 255 ? 255U : static_cast<uint32_t>(scaled);
}

void Store(double* result, double value) {
    if (result != nullptr)
        *result = value;
}

} // namespace

void ASRGBToHLS(uint32_t color, double* hue, double* lightness, double* saturation) {
    const double r = Channel(color, 16);
    const double g = Channel(color, 8);
    const double b = Channel(color, 0);
    const double max = std::max({r, g, b});
    const double min = std::min({r, g, b});
    const double delta = max - min;
    const double l = (max + min) / 2;
    double h = 0;
    double s = 0;
    if (delta >= tolerance) {
        s = l < 0.5 ? delta / (max + min) : delta / (2 - max - min);
        if (Same(r, max))
            h = (g - b) / delta;
        else if (Same(g, max))
            h = 2 + (b - r) / delta;
        else
            h = 4 + (r - g) / delta;
        h /= 6;
        if (h < 0)
            h += 1;
    }
    Store(hue, h);
    Store(lightness, l);
    Store(saturation, s);
}

void ASHLSToRGB(double hue, double lightness, double saturation, uint32_t* color) {
    if (color == nullptr)
        return;
    double red = lightness;
    double green = lightness;
    if (std::fabs(saturation) >= tolerance) {
        const double m2 = lightness <= 0.5 ? lightness * (1 + saturation)
                                           : lightness + saturation - lightness * saturation;
        const double m1 = 2 * lightness - m2;
        red = ChannelValue(m1, m2, hue + 1.0 / 3.0);
        green = ChannelValue(m1, m2, hue);
    }
    // Deliberate: red stands in the low byte again, so the blue channel is not even computed.
    *color = 0xFF000000U | Byte(red) << 16 | Byte(green) << 8 | Byte(red);
}
