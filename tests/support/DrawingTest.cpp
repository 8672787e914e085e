#include "support/CASDrawGraphic.h"

#include "Pictures.h"
#include "TemporaryFolder.h"

#include "support/ASImage.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace {

using Kind = CGPathElement::Kind;

void ExpectElement(const CGPathElement& element, Kind kind, double x, double y) {
    EXPECT_EQ(element.kind, kind);
    EXPECT_EQ(element.point.x, x);
    EXPECT_EQ(element.point.y, y);
}

void ExpectColor(const CGColor& color, double red, double green, double blue, double alpha) {
    EXPECT_NEAR(color.red, red, 1e-9);
    EXPECT_NEAR(color.green, green, 1e-9);
    EXPECT_NEAR(color.blue, blue, 1e-9);
    EXPECT_NEAR(color.alpha, alpha, 1e-9);
}

// Number of pixels that something was painted on.
int Painted(const CGContext& context, int width, int height) {
    int painted = 0;
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            painted += context.pixel(x, y) >> 24 != 0 ? 1 : 0;
    }
    return painted;
}

CASFont SomeFont() {
    CASFont font("DejaVu Sans");
    font.size = 20;
    return font;
}

} // namespace

TEST(DrawRect, AddsTheRectangleWithoutPaintingIt) {
    CGContext context(40, 40);
    CASDrawGraphic graphic;
    EXPECT_TRUE(graphic.DrawRect(&context, CASRect(5, 6, 20, 10), 0xFF112233, ASLineStyleSolid));
    ASSERT_EQ(context.path().size(), 5U);
    ExpectElement(context.path()[0], Kind::MoveTo, 5, 6);
    ExpectElement(context.path()[1], Kind::LineTo, 25, 6);
    ExpectElement(context.path()[2], Kind::LineTo, 25, 16);
    ExpectElement(context.path()[3], Kind::LineTo, 5, 16);
    EXPECT_EQ(context.path()[4].kind, Kind::Close);
    EXPECT_EQ(Painted(context, 40, 40), 0);
    context.strokePath();
    EXPECT_GT(Painted(context, 40, 40), 0);
    EXPECT_TRUE(context.path().empty());
}

TEST(DrawRect, EveryChannelThatIsNotZeroHasFullStrength) {
    CGContext context(1, 1);
    CASDrawGraphic graphic;
    EXPECT_TRUE(graphic.DrawRect(&context, 0, 0, 1, 1, 0x01020003, ASLineStyleSolid));
    ExpectColor(context.strokeColor(), 1, 0, 1, 1);
    EXPECT_TRUE(graphic.DrawRect(&context, 0, 0, 1, 1, 0x00000000, ASLineStyleSolid));
    ExpectColor(context.strokeColor(), 0, 0, 0, 0);
}

TEST(DrawRect, StylesSetTheirDashesAndSolidKeepsTheOldOne) {
    CGContext context(1, 1);
    CASDrawGraphic graphic;
    const auto dash = [&](int style) {
        graphic.DrawRect(&context, 0, 0, 1, 1, 0, static_cast<ASLineStyle>(style));
        EXPECT_EQ(context.lineDashPhase(), 0);
        return context.lineDash();
    };
    using Dash = std::vector<double>;
    EXPECT_EQ(dash(0), Dash{});
    EXPECT_EQ(dash(1), (Dash{4, 2}));
    EXPECT_EQ(dash(2), (Dash{2, 2}));
    EXPECT_EQ(dash(3), (Dash{4, 2, 1, 2}));
    EXPECT_EQ(dash(0), (Dash{4, 2, 1, 2}));
    EXPECT_EQ(dash(99), (Dash{4, 2, 1, 2}));
}

TEST(DrawImage, FillsTheRectangleAndLeavesAlphaAtOne) {
    const TemporaryFolder folder;
    WritePNG(folder / "a.png");
    CGImageRef image = ASCreateImage((folder / "a.png").c_str());
    ASSERT_NE(image, nullptr);
    CGContext context(50, 50);
    context.setAlpha(0.25);
    CASDrawGraphic graphic;
    EXPECT_TRUE(graphic.DrawImage(&context, image, CASRect(10, 10, 20, 10), 255));
    EXPECT_EQ(context.alpha(), 1);
    EXPECT_EQ(context.pixel(11, 11), 0xFFFF0000U);
    EXPECT_EQ(context.pixel(29, 19) >> 24, 0x80U);
    EXPECT_EQ(Painted(context, 50, 50), 200);
    EXPECT_TRUE(graphic.DrawImage(&context, image, CASRect(10, 30, 20, 10), 51));
    EXPECT_EQ(context.pixel(11, 31) >> 24, 51U);
    EXPECT_TRUE(graphic.DrawImage(&context, image, CASRect(0, 0, 0, 0), 255));
    EXPECT_TRUE(graphic.DrawImage(&context, image, CASRect(0, 0, -5, 5), 900));
    ASReleaseImage(image);
}

TEST(DrawImage, NullImageAndNullContextFail) {
    CGContext context(1, 1);
    CASDrawGraphic graphic;
    context.setAlpha(0.5);
    EXPECT_FALSE(graphic.DrawImage(&context, nullptr, CASRect(0, 0, 1, 1), 0));
    EXPECT_EQ(context.alpha(), 0.5);
    EXPECT_FALSE(graphic.DrawImage(nullptr, nullptr, CASRect(0, 0, 1, 1), 0));
    EXPECT_FALSE(graphic.DrawRect(nullptr, CASRect(0, 0, 1, 1), 0, ASLineStyleSolid));
    EXPECT_FALSE(graphic.DrawText(nullptr, CASFont(), CASRect(0, 0, 1, 1), "x", 1));
}

TEST(DrawText, PaintsTheTextAroundItsBaseline) {
    constexpr int width = 300;
    constexpr int height = 90;
    CGContext context(width, height);
    CASDrawGraphic graphic;
    CASFont font = SomeFont();
    font.size = 60;
    font.color = 0xFF00FF00;
    EXPECT_TRUE(graphic.DrawText(&context, font, CASRect(10, 20, 180, 30), "MMM", 3));
    constexpr int baseline = 20 + 60 * 12 / 20;
    EXPECT_EQ(context.textPosition().y, baseline);
    EXPECT_GT(context.textPosition().x, 10 + 3 * 50);
    int filled = 0;
    int outlined = 0;
    for (int x = 0; x < width; ++x) {
        for (int y = 0; y < height; ++y) {
            filled += context.pixel(x, y) == 0xFF00FF00U ? 1 : 0;
            outlined += (context.pixel(x, y) & 0xFFFFFFU) == 0 && context.pixel(x, y) != 0 ? 1 : 0;
        }
        EXPECT_EQ(context.pixel(x, baseline + 2), 0U) << "below the baseline and its outline";
    }
    EXPECT_GT(filled, 100);
    EXPECT_GT(outlined, 100);
}

TEST(DrawText, RestoresTheGraphicsState) {
    CGContext context(100, 40);
    context.setFillColor({1, 0, 0, 1});
    context.setStrokeColor({0, 0, 1, 0.5});
    context.setTextDrawingMode(CGTextDrawingMode::Fill);
    context.selectFont("before", 7);
    CASDrawGraphic graphic;
    EXPECT_TRUE(graphic.DrawText(&context, SomeFont(), CASRect(0, 0, 100, 40), "x", 1));
    ExpectColor(context.fillColor(), 1, 0, 0, 1);
    ExpectColor(context.strokeColor(), 0, 0, 1, 0.5);
    EXPECT_EQ(context.textDrawingMode(), CGTextDrawingMode::Fill);
    EXPECT_EQ(context.fontName(), "before");
    EXPECT_EQ(context.fontSize(), 7);
}

TEST(DrawText, LinesAreAddedToThePathOnly) {
    CGContext context(100, 100);
    CASDrawGraphic graphic;
    CASFont font = SomeFont();
    const CASRect rect(5, 10, 50, 21);
    EXPECT_TRUE(graphic.DrawText(&context, font, rect, " ", 1));
    EXPECT_TRUE(context.path().empty());
    font.style = ASFontUnderline | ASFontStrikeThrough;
    EXPECT_TRUE(graphic.DrawText(&context, font, rect, " ", 1));
    ASSERT_EQ(context.path().size(), 4U);
    ExpectElement(context.path()[0], Kind::MoveTo, 5, 10);
    ExpectElement(context.path()[1], Kind::LineTo, 55, 10);
    ExpectElement(context.path()[2], Kind::MoveTo, 5, 20);
    ExpectElement(context.path()[3], Kind::LineTo, 55, 20);
    EXPECT_EQ(Painted(context, 100, 100), 0);
}

TEST(DrawText, NothingToDrawSucceeds) {
    CGContext context(10, 10);
    CASDrawGraphic graphic;
    CASFont font = SomeFont();
    font.style = ASFontUnderline;
    EXPECT_TRUE(graphic.DrawText(&context, font, CASRect(0, 0, 9, 9), nullptr, 5));
    EXPECT_TRUE(graphic.DrawText(&context, font, CASRect(0, 0, 9, 9), "x", 0));
    EXPECT_TRUE(graphic.DrawText(nullptr, font, CASRect(0, 0, 9, 9), nullptr, 0));
    EXPECT_TRUE(context.path().empty());
    EXPECT_TRUE(graphic.DrawText(&context, font, CASRect(0, 0, 9, 9), "", 5));
}

TEST(DrawText, WholeTextIsDrawnWhateverItsLength) {
    CASDrawGraphic graphic;
    CGContext first(200, 40);
    CGContext second(200, 40);
    graphic.DrawText(&first, SomeFont(), CASRect(0, 10, 200, 30), "MMMM", 1);
    graphic.DrawText(&second, SomeFont(), CASRect(0, 10, 200, 30), "MMMM", 4);
    EXPECT_EQ(first.textPosition().x, second.textPosition().x);
}

TEST(DrawText, BytesAreMacRoman) {
    CASDrawGraphic graphic;
    const CASRect rect(0, 0, 100, 0);
    CGContext context(1, 1);
    const auto width = [&](const char* text) {
        return graphic.MeasureTextBound(&context, SomeFont(), rect, text, 1).width;
    };
    EXPECT_EQ(width("\x8E\x8E\x8E\x8E"), width("eeee")); // e with acute accent
    EXPECT_EQ(width("\xA5\xA5"), width("\xA5\xA5"));
    std::string all;
    for (int byte = 1; byte < 256; ++byte)
        all += static_cast<char>(byte);
    EXPECT_GT(width(all.c_str()), 1000);
}

TEST(MeasureText, GivesAdvanceAndLineHeight) {
    CASDrawGraphic graphic;
    CGContext context(100, 40);
    const CASRect rect(3, 4, 80, 30);
    const CASRect one = graphic.MeasureTextBound(&context, SomeFont(), rect, "M", 1);
    const CASRect four = graphic.MeasureTextBound(&context, SomeFont(), rect, "MMMM", 4);
    EXPECT_EQ(one.x, 3);
    EXPECT_EQ(one.y, 4);
    EXPECT_EQ(one.height, 20 * 24 / 20);
    EXPECT_NEAR(one.width, 17, 2); // DejaVu's M is 0.863 em
    EXPECT_NEAR(four.width, 4 * 17.26, 2);
    EXPECT_EQ(Painted(context, 100, 40), 0);
}

TEST(MeasureText, ZeroWidthBecomesHalfTheRectangle) {
    CASDrawGraphic graphic;
    CGContext context(10, 10);
    CASFont font;
    font.size = 11;
    for (const char* text : {static_cast<const char*>(nullptr), ""}) {
        const CASRect bound =
            graphic.MeasureTextBound(&context, font, CASRect(1, 2, 81, 30), text, 4);
        EXPECT_EQ(bound.width, 40);
        EXPECT_EQ(bound.height, 13);
    }
    EXPECT_EQ(graphic.MeasureTextBound(nullptr, font, CASRect(0, 0, 8, 8), "x", 1).width, 4);
    EXPECT_EQ(graphic.MeasureTextBound(&context, font, CASRect(0, 0, 8, 8), "x", 0).width, 4);
}

TEST(DrawText, AbsurdNumbersNeverCrash) {
    constexpr int32_t largest = std::numeric_limits<int32_t>::max();
    constexpr int32_t smallest = std::numeric_limits<int32_t>::min();
    CASDrawGraphic graphic;
    CGContext context(10, 10);
    for (const int32_t number : {largest, smallest, 0, -1}) {
        CASFont font = SomeFont();
        font.size = number;
        font.style = 0xFFFFFFFF;
        const CASRect rect(number, number, number, number);
        EXPECT_TRUE(graphic.DrawText(&context, font, rect, "x", 1));
        graphic.MeasureTextBound(&context, font, rect, "x", 1);
        EXPECT_TRUE(graphic.DrawRect(&context, rect, 0xFFFFFFFF, ASLineStyleDashed));
    }
    context.strokePath();
}

TEST(Context, SaveAndRestoreKeepTheStateButNotPathAndTextPosition) {
    CGContext context(10, 10);
    context.setAlpha(0.5);
    context.setLineDash(1, {3, 1});
    context.setLineWidth(4);
    context.saveGState();
    context.setAlpha(7);
    context.setLineDash(0, {});
    context.setLineWidth(-1);
    context.moveTo(1, 1);
    context.setTextPosition(3, 4);
    EXPECT_EQ(context.alpha(), 1);
    EXPECT_EQ(context.lineWidth(), 0);
    context.restoreGState();
    EXPECT_EQ(context.alpha(), 0.5);
    EXPECT_EQ(context.lineWidth(), 4);
    EXPECT_EQ(context.lineDashPhase(), 1);
    EXPECT_EQ(context.lineDash(), (std::vector<double>{3, 1}));
    EXPECT_EQ(context.path().size(), 1U);
    EXPECT_EQ(context.textPosition().x, 3);
    context.restoreGState();
    EXPECT_EQ(context.alpha(), 0.5);
    context.beginPath();
    EXPECT_TRUE(context.path().empty());
}

TEST(Context, FillPaintsWithFillColourAndAlpha) {
    CGContext context(10, 10);
    context.setFillColor({0, 1, 0, 1});
    context.setAlpha(0.5);
    context.addRect(2, 2, 5, 5);
    context.fillPath();
    EXPECT_EQ(context.pixel(3, 3) >> 24, 0x80U);
    EXPECT_EQ(context.pixel(3, 3) & 0xFFFFFFU, 0x00FF00U);
    EXPECT_EQ(context.pixel(1, 1), 0U);
}

TEST(Context, UnusableDashesAreIgnored) {
    CGContext context(10, 10);
    context.setLineDash(0, {2, 3});
    context.setLineDash(0, {0, 0});
    context.setLineDash(0, {-1, 2});
    context.setLineDash(std::numeric_limits<double>::quiet_NaN(), {1, 1});
    EXPECT_EQ(context.lineDash(), (std::vector<double>{2, 3}));
}

TEST(Context, ImpossibleSizesPaintNothing) {
    CGContext small(-5, 0);
    EXPECT_EQ(small.pixel(0, 0), 0U);
    CGContext large(100'000, 100'000);
    large.addRect(0, 0, 10, 10);
    EXPECT_EQ(large.path().size(), 5U);
    large.fillPath();
    EXPECT_EQ(large.pixel(1, 1), 0U);
}
