#include "panes/BackgroundLayers.h"

#include "tests/fakes/FakeImageBrowser.h"
#include "tests/fakes/TemporaryFolder.h"

#include <QColor>
#include <QImage>
#include <QPainter>
#include <QString>
#include <gtest/gtest.h>
#include <optional>
#include <utility>

namespace quillorn {
namespace {

/// A black picture of any size instead of the program's.
class BlackPicture final : public PictureLayer {
public:
    BlackPicture(int width, int height) : m_image(width, height, QImage::Format_RGB32) {
        m_image.fill(Qt::black);
    }

protected:
    [[nodiscard]] QImage picture() const override { return m_image; }

private:
    QImage m_image;
};

/// Draws a layer on a white browser of this visible size.
QImage drawn(BrowserLayer& layer, int width, int height) {
    QImage canvas(width, height, QImage::Format_RGB32);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    layer.drawInContext(painter);
    return canvas;
}

/// The left and upper edge of what is black.
std::optional<std::pair<int, int>> blackCorner(const QImage& canvas) {
    for (int y = 0; y < canvas.height(); ++y) {
        for (int x = 0; x < canvas.width(); ++x) {
            if (canvas.pixelColor(x, y) == QColor(Qt::black)) {
                return std::pair(x, y);
            }
        }
    }
    return std::nullopt;
}

class BackgroundLayersTest : public testing::Test {
protected:
    QImage drawnPicture(int width, int height, BrowserRect visible) {
        BlackPicture layer(width, height);
        browser.m_visible = visible;
        browser.m_bounds = {0, 0, visible.width, 5000};
        layer.setOwner(&browser);
        return drawn(layer, visible.width, visible.height);
    }
    tests::FakeImageBrowser browser;
};

TEST_F(BackgroundLayersTest, ThePictureStandsInTheMiddleBelowTheTop) {
    const QImage canvas = drawnPicture(100, 80, {0, 0, 300, 400});
    EXPECT_EQ(blackCorner(canvas), std::pair(100, 125));
    EXPECT_EQ(canvas.pixelColor(199, 204), QColor(Qt::black));
    EXPECT_EQ(canvas.pixelColor(200, 204), QColor(Qt::white));
    EXPECT_EQ(canvas.pixelColor(199, 205), QColor(Qt::white)) << "it is drawn once, unscaled";
}

TEST_F(BackgroundLayersTest, ScrollingDoesNotMoveIt) {
    EXPECT_EQ(blackCorner(drawnPicture(100, 80, {0, 3000, 300, 400})), std::pair(100, 125));
}

TEST_F(BackgroundLayersTest, ANarrowPaneCutsBothSidesAlike) {
    const QImage canvas = drawnPicture(100, 80, {0, 0, 60, 400});
    EXPECT_EQ(blackCorner(canvas), std::pair(0, 125));
    EXPECT_EQ(canvas.pixelColor(59, 125), QColor(Qt::black));
}

TEST_F(BackgroundLayersTest, ALowPaneCutsItAtTheBottom) {
    EXPECT_EQ(blackCorner(drawnPicture(100, 80, {0, 0, 300, 130})), std::pair(100, 125));
    EXPECT_EQ(blackCorner(drawnPicture(100, 80, {0, 0, 300, 126})), std::pair(100, 125));
    EXPECT_EQ(blackCorner(drawnPicture(100, 80, {0, 0, 300, 125})), std::nullopt);
}

TEST_F(BackgroundLayersTest, WithoutAVisibleRightEdgeNothingIsDrawn) {
    BlackPicture layer(10, 10);
    layer.setOwner(&browser);
    browser.m_visible = {-300, 0, 300, 400};
    EXPECT_EQ(blackCorner(drawn(layer, 300, 400)), std::nullopt);
}

TEST_F(BackgroundLayersTest, WithoutAnOwnerNothingIsDrawn) {
    BlackPicture layer(10, 10);
    EXPECT_EQ(layer.owner(), nullptr);
    EXPECT_EQ(blackCorner(drawn(layer, 300, 400)), std::nullopt);
}

TEST_F(BackgroundLayersTest, TheBackgroundIsThePaleBlueAllOver) {
    browser.m_visible = {0, 700, 40, 30};
    ColorLayer layer(paneBackgroundColor, browser);
    const QImage canvas = drawn(layer, 40, 30);
    EXPECT_EQ(canvas.pixelColor(0, 0), QColor(231, 237, 246));
    EXPECT_EQ(canvas.pixelColor(39, 29), QColor(231, 237, 246));
}

TEST_F(BackgroundLayersTest, AMissingPictureIsNoPictureAndNoError) {
    const tests::TemporaryFolder folder;
    EXPECT_TRUE(createImageWithName("None.png", Resources({folder.path()})).isNull());
    tests::writeFile(folder / "Broken.png", "no picture");
    EXPECT_TRUE(createImageWithName("Broken.png", Resources({folder.path()})).isNull());
}

TEST_F(BackgroundLayersTest, APictureIsFoundByItsName) {
    const tests::TemporaryFolder folder;
    QImage image(3, 2, QImage::Format_RGB32);
    image.fill(Qt::red);
    ASSERT_TRUE(image.save(QString::fromStdString((folder / "Some.png").string())));
    const QImage found = createImageWithName("Some.png", Resources({folder.path()}));
    EXPECT_EQ(found.size(), image.size());
    EXPECT_EQ(found.pixelColor(0, 0), QColor(Qt::red));
}

TEST_F(BackgroundLayersTest, TheProgramBringsAPictureForEachPane) {
    const QImage source = backgroundImageFir();
    const QImage output = backgroundImageSec();
    ASSERT_FALSE(source.isNull());
    ASSERT_FALSE(output.isNull());
    EXPECT_NE(source, output);
    EXPECT_EQ(backgroundImageFir().cacheKey(), source.cacheKey()) << "it is loaded once";
    ImageBrowserBackgroundLayerFir layer;
    layer.setOwner(&browser);
    browser.m_visible = {0, 0, 500, 500};
    QImage plain(500, 500, QImage::Format_RGB32);
    plain.fill(Qt::white);
    EXPECT_NE(drawn(layer, 500, 500), plain);
}

} // namespace
} // namespace quillorn
