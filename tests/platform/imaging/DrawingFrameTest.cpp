#include "platform/imaging/worker/DrawingFrame.h"

#include <gtest/gtest.h>
#include <string>

namespace quillorn::worker {
namespace {

DrawingFrame frameOf(const std::string& attributes) {
    return readDrawingFrame("\n<svg " + attributes + "><rect width='7' height='8'/></svg>");
}

void expectSize(const std::string& attributes, double width, double height) {
    const DrawingFrame frame = frameOf(attributes);
    EXPECT_NEAR(frame.width, width, 1e-9) << attributes;
    EXPECT_NEAR(frame.height, height, 1e-9) << attributes;
}

TEST(DrawingFrame, APixelIsAPoint) {
    expectSize("width='120' height=\"60px\"", 120, 60);
    expectSize("xmlns='a>b' width = ' +1.2e2 ' height='6em'", 120, 96);
}

TEST(DrawingFrame, UnitsOfTheWorldAreWhatTheyAre) {
    expectSize("width='1in' height='25.4mm'", 72, 72);
    expectSize("width='210mm' height='29.7cm'", 210 * 72 / 25.4, 297 * 72 / 25.4);
    expectSize("width='100pt' height='2pc'", 100, 24);
    expectSize("width='101.6Q' height='96px'", 72, 72); // so a pixel is 1/96 inch as well
}

TEST(DrawingFrame, WhatIsMissingFollowsFromTheViewBox) {
    expectSize("viewBox='0 0 200 100'", 200, 100);
    expectSize("viewBox='0,0,200,100' width='50'", 50, 25);
    expectSize("viewBox='0 0 200 100' height='1in'", 144, 72);
    expectSize("viewBox='0 0 200 100' width='100%' height='100%'", 200, 100);
    expectSize("viewBox='0 0 200 100' width='100%' height='50'", 100, 50);
}

TEST(DrawingFrame, SaysNothingWhereTheFileDoesNot) {
    for (const char* const attributes :
         {"", "width='100%' height='100%'", "width='10'", "width='0' height='10'",
          "width='-5' height='10'", "width='auto' height='10'", "width='nan' height='10'",
          "width='1e300' height='10'", "width='inf' height='10'", "width='1parsec' height='10'",
          "width='10' height='10", "width=10 height=10", "viewBox='0 0 0 10'", "viewBox='0 0 10'",
          "viewBox='0 0 10 1e99'", "viewBox='a b c d'"}) {
        expectSize(attributes, 0, 0);
    }
    EXPECT_EQ(readDrawingFrame("").width, 0);
    EXPECT_EQ(readDrawingFrame("<svg").width, 0);
}

TEST(DrawingFrame, TheViewBoxIsTheFileOwnOrTheWholeInPixels) {
    EXPECT_EQ(frameOf("viewBox='-10 -20 30 40' width='5' height='5'").viewBox,
              (DrawingBox{-10, -20, 30, 40}));
    EXPECT_EQ(frameOf("width='1in' height='48pt'").viewBox, (DrawingBox{0, 0, 96, 64}));
    EXPECT_FALSE(frameOf("width='100%'").viewBox);
}

TEST(DrawingFrame, TheViewBoxLiesInTheFrameAsItSays) {
    const auto place = [](const std::string& value) {
        const DrawingFrame frame =
            frameOf("viewBox='0 0 10 20' preserveAspectRatio='" + value + "'");
        return placeInFrame(*frame.viewBox, frame.fit, 100, 100);
    };
    EXPECT_EQ(place(""), (DrawingBox{25, 0, 50, 100}));
    EXPECT_EQ(place("xMidYMid meet"), (DrawingBox{25, 0, 50, 100}));
    EXPECT_EQ(place("xMinYMax"), (DrawingBox{0, 0, 50, 100}));
    EXPECT_EQ(place("xMaxYMin"), (DrawingBox{50, 0, 50, 100}));
    EXPECT_EQ(place("xMidYMin slice"), (DrawingBox{0, 0, 100, 200}));
    EXPECT_EQ(place("xMidYMax slice"), (DrawingBox{0, -100, 100, 200}));
    EXPECT_EQ(place("none"), (DrawingBox{0, 0, 100, 100}));
}

} // namespace
} // namespace quillorn::worker
