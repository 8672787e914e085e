#include "support/ASColor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

namespace {

void ExpectHLS(uint32_t color, double hue, double lightness, double saturation) {
    double h = -1;
    double l = -1;
    double s = -1;
    ASRGBToHLS(color, &h, &l, &s);
    EXPECT_NEAR(h, hue, 1e-6);
    EXPECT_NEAR(l, lightness, 1e-6);
    EXPECT_NEAR(s, saturation, 1e-6);
}

uint32_t Packed(double hue, double lightness, double saturation) {
    uint32_t color = 0;
    ASHLSToRGB(hue, lightness, saturation, &color);
    return color;
}

} // namespace

TEST(Color, GreyHasNoHueAndNoSaturation) {
    ExpectHLS(0x808080, 0, 128.0 / 255, 0);
    ExpectHLS(0xFFFFFFFF, 0, 1, 0);
    ExpectHLS(0, 0, 0, 0);
}

TEST(Color, PrimariesStandAThirdApart) {
    ExpectHLS(0xFF0000, 0, 0.5, 1);
    ExpectHLS(0x00FF00, 1.0 / 3, 0.5, 1);
    ExpectHLS(0x0000FF, 2.0 / 3, 0.5, 1);
    ExpectHLS(0xFF00FF, 5.0 / 6, 0.5, 1); // negative before it is wrapped
    ExpectHLS(0x12FF0000, 0, 0.5, 1);     // alpha does not count
}

TEST(Color, SaturationDependsOnLightness) {
    ExpectHLS(0x400000, 0, 32.0 / 255, 1);
    ExpectHLS(0xFF8080, 0, (255.0 + 128.0) / 2 / 255, 1);
    ExpectHLS(0x604020, 1.0 / 12, 64.0 / 255, 0.5);
}

TEST(Color, LowByteRepeatsRed) {
    EXPECT_EQ(Packed(0, 0.5, 1), 0xFFFF00FFU);
    EXPECT_EQ(Packed(1.0 / 3, 0.5, 1) & 0xFFFF00FFU, 0xFF000000U);
    EXPECT_EQ(Packed(2.0 / 3, 0.5, 1), 0xFF000000U); // pure blue comes out black
}

TEST(Color, ChannelsAreTruncated) {
    for (const double hue : {0.0, 0.3, 0.9, -5.0, 42.0})
        EXPECT_EQ(Packed(hue, 0.5, 0), 0xFF7F7F7FU);
}

TEST(Color, ChannelsAreClampedToBytes) {
    EXPECT_EQ(Packed(0, 2, 0), 0xFFFFFFFFU);
    EXPECT_EQ(Packed(0, -1, 0), 0xFF000000U);
    EXPECT_EQ(Packed(0, std::numeric_limits<double>::infinity(), 0), 0xFFFFFFFFU);
    EXPECT_EQ(Packed(std::nan(""), std::nan(""), std::nan("")), 0xFF000000U);
}

TEST(Color, NullResultsAreSkipped) {
    ASHLSToRGB(0, 0, 0, nullptr);
    ASRGBToHLS(0xFF0000, nullptr, nullptr, nullptr);
    double lightness = 0;
    ASRGBToHLS(0xFF0000, nullptr, &lightness, nullptr);
    EXPECT_NEAR(lightness, 0.5, 1e-6);
}
