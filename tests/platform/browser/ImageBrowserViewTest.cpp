#include "tests/platform/browser/BrowserTesting.h"

#include <QPaintEvent>
#include <QPainter>
#include <QSignalSpy>
#include <memory>
#include <vector>

namespace quillorn {
namespace {

using ImageBrowserViewTest = BrowserTesting;

TEST_F(ImageBrowserViewTest, ShowsWhatTheDataSourceHas) {
    EXPECT_EQ(m_view->layoutOfItems().itemCount(), 20U);
    EXPECT_EQ(m_view->layoutOfItems().itemsOf(1), (BrowserRange{12, 20}));
    m_data.addGroup("More", 3);
    EXPECT_EQ(m_view->layoutOfItems().itemCount(), 20U) << "until it is told";
    m_view->reloadData();
    EXPECT_EQ(m_view->layoutOfItems().itemCount(), 23U);
    m_data.clear();
    m_view->reloadData();
    EXPECT_EQ(m_view->layoutOfItems().itemCount(), 0U);
    m_view->grab();
}

TEST_F(ImageBrowserViewTest, AGroupThatSaysMoreThanThereIsDoesNoHarm) {
    class Liar : public ScriptedBrowserData {
    public:
        [[nodiscard]] std::size_t numberOfItemsInImageBrowser(const ImageBrowser&) override {
            return 2;
        }
    };
    Liar liar;
    liar.addGroup("too long", 5);
    m_view->setDataSource(&liar);

    m_view->grab();

    EXPECT_EQ(m_view->layoutOfItems().itemCount(), 2U);
    m_view->setDataSource(&m_data);
}

TEST_F(ImageBrowserViewTest, GroupsKeepTheirStateByPositionAndNewOnesAreExpanded) {
    m_view->collapseGroupAtIndex(0);
    m_data.addGroup("New", 2);
    m_view->reloadData();

    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(0));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(1));
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(2));
    EXPECT_FALSE(m_view->isGroupExpandedAtIndex(3)) << "there is none";
    m_view->collapseGroupAtIndex(99);
    m_view->expandGroupAtIndex(0);
    EXPECT_TRUE(m_view->isGroupExpandedAtIndex(0));
}

TEST_F(ImageBrowserViewTest, SelectionIsSetAndExtended) {
    m_view->setSelectionIndexes({3, 4}, false);
    EXPECT_EQ(selected(), (IndexSet{3, 4}));
    m_view->setSelectionIndexes({1, 19}, true);
    EXPECT_EQ(selected(), (IndexSet{1, 3, 4, 19}));
    m_view->setSelectionIndexes({7, 500}, false);
    EXPECT_EQ(selected(), (IndexSet{7})) << "only what is there";
    m_view->setSelectionIndexes({}, false);
    EXPECT_EQ(selected(), IndexSet{});
}

TEST_F(ImageBrowserViewTest, TellsWhenTheSelectionBecomesAnother) {
    m_view->setSelectionIndexes({3}, false);
    EXPECT_EQ(m_delegate.selectionChanges, 1);
    m_view->setSelectionIndexes({3}, false);
    EXPECT_EQ(m_delegate.selectionChanges, 1);
    m_view->setSelectionIndexes({4}, true);
    EXPECT_EQ(m_delegate.selectionChanges, 2);
}

TEST_F(ImageBrowserViewTest, IndexesThatAreGoneLeaveTheSelection) {
    m_view->setSelectionIndexes({3, 15, 19}, false);
    m_data.clear();
    m_data.addGroup("Output 1", 16);

    m_view->reloadData();

    EXPECT_EQ(selected(), (IndexSet{3, 15}));
    EXPECT_EQ(m_delegate.selectionChanges, 2);
}

TEST_F(ImageBrowserViewTest, ZoomMakesCellsLargerAndKeepsWhatItWasGiven) {
    m_view->setZoomValue(0);
    const int small = m_view->layoutOfItems().itemRect(0).width;
    m_view->setZoomValue(1);
    const int large = m_view->layoutOfItems().itemRect(0).width;
    EXPECT_LT(small, large);
    m_view->setZoomValue(1.1F);
    EXPECT_EQ(m_view->zoomValue(), 1.1F);
    EXPECT_EQ(m_view->layoutOfItems().itemRect(0).width, large);
    m_view->setZoomValue(-0.1F);
    EXPECT_EQ(m_view->zoomValue(), -0.1F);
    EXPECT_EQ(m_view->layoutOfItems().itemRect(0).width, small);
}

TEST_F(ImageBrowserViewTest, ACellIsNoWiderThanANarrowPane) {
    constexpr int widest = 1000; // pixels
    m_view->resize(widest, m_view->height());
    m_view->setZoomValue(1);
    const int whole = m_view->layoutOfItems().itemRect(0).width;
    for (const int width : {300, 125}) {
        m_view->resize(width, m_view->height());
        const BrowserRect cell = m_view->layoutOfItems().itemRect(0);
        EXPECT_GT(cell.x, 0);
        EXPECT_LT(cell.right(), m_view->viewport()->width());
        EXPECT_LT(cell.width, whole);
        EXPECT_LT(cell.height, 2 * cell.width) << "a smaller page, not a cut one";
    }
    m_view->resize(40, m_view->height());
    EXPECT_GT(m_view->layoutOfItems().itemRect(0).width, 40) << "too small to be seen otherwise";
    m_view->resize(widest, m_view->height());
    EXPECT_EQ(m_view->layoutOfItems().itemRect(0).width, whole);
}

TEST_F(ImageBrowserViewTest, ZoomLeavesWhatIsInTheMiddleInSight) {
    m_data.clear();
    m_data.addGroup("Long", 3000);
    m_view->reloadData();
    m_view->scrollIndexToVisible(1500);
    ASSERT_TRUE(isShown(1500));

    m_view->setZoomValue(0.8F);
    m_view->setZoomValue(0);

    const auto shown = m_view->visibleItems();
    ASSERT_FALSE(shown.empty());
    EXPECT_NEAR(static_cast<double>(shown.front().first), 1500, 60);
}

TEST_F(ImageBrowserViewTest, ScrollsToAnItemAndToTheHeaderOfAHiddenOne) {
    EXPECT_FALSE(isShown(19));
    m_view->scrollIndexToVisible(19);
    EXPECT_TRUE(isShown(19));
    m_view->scrollIndexToVisible(0);
    EXPECT_TRUE(isShown(0));
    m_view->collapseGroupAtIndex(1);
    m_view->scrollIndexToVisible(19);
    const BrowserRect header = m_view->layoutOfItems().headerRect(1);
    EXPECT_GE(header.y, m_view->visibleRect().y);
    EXPECT_LE(header.bottom(), m_view->visibleRect().bottom());
    m_view->scrollIndexToVisible(1000);
}

TEST_F(ImageBrowserViewTest, GlidesWhenItMay) {
    m_view->setAnimates(true);
    m_view->scrollIndexToVisible(19);
    EXPECT_FALSE(isShown(19));
    EXPECT_TRUE(QTest::qWaitFor([this] { return isShown(19); }, 20'000));
}

TEST_F(ImageBrowserViewTest, VisibleAndWholeAreaAreWhatCanBeSeenAndScrolled) {
    EXPECT_EQ(m_view->visibleRect(), (BrowserRect{0, 0, viewport()->width(), 560}));
    EXPECT_GT(m_view->bounds().height, 560);
    m_data.clear();
    m_view->reloadData();
    EXPECT_EQ(m_view->bounds(), m_view->visibleRect());
}

TEST_F(ImageBrowserViewTest, OnlyWhatCanBeSeenIsAskedFor) {
    m_data.clear();
    m_data.addGroup("Huge", 100'000);
    m_view->reloadData();
    m_data.askedItems = 0;

    m_view->grab();
    m_view->selectAll();
    m_view->scrollIndexToVisible(99'999);
    m_view->grab();

    EXPECT_GT(m_data.askedItems, 0U);
    EXPECT_LT(m_data.askedItems, 200U);
    EXPECT_EQ(m_view->selection().ranges().size(), 1U);
    EXPECT_EQ(selected().size(), 100'000U);
}

/// Fills everything with a colour, or one corner of it.
class Colour : public BrowserLayer {
public:
    Colour(QColor colour, QRect area) : m_colour(colour), m_area(area) {}
    void drawInContext(QPainter& painter) override {
        painter.fillRect(m_area, m_colour);
        painter.translate(1000, 1000); // is not to move what comes after
    }

private:
    QColor m_colour;
    QRect m_area;
};

TEST_F(ImageBrowserViewTest, LayersAreBelowAndAboveTheCells) {
    const QPoint page = middleOf(0);
    const QPoint beside = emptyPlace();
    m_view->setBackgroundLayer(std::make_shared<Colour>(Qt::green, QRect(0, 0, 2000, 2000)));
    QImage image = viewport()->grab().toImage();
    EXPECT_EQ(image.pixelColor(beside), QColor(Qt::green));
    EXPECT_EQ(image.pixelColor(page), QColor(Qt::white));

    m_view->setForegroundLayer(std::make_shared<Colour>(Qt::red, QRect(0, 0, 2000, 2000)));
    image = viewport()->grab().toImage();
    EXPECT_EQ(image.pixelColor(page), QColor(Qt::red));

    m_view->setForegroundLayer(nullptr);
    m_view->setBackgroundLayer(nullptr);
    image = viewport()->grab().toImage();
    EXPECT_EQ(image.pixelColor(beside), m_view->palette().color(QPalette::Base));
    EXPECT_EQ(image.pixelColor(page), QColor(Qt::white));
}

/// The darkest and the lightest place of a part of a picture.
std::pair<int, int> darkestAndLightest(const QImage& image, const QRect& area) {
    int darkest = 255;
    int lightest = 0;
    for (int y = area.top(); y <= area.bottom(); ++y) {
        for (int x = area.left(); x <= area.right(); ++x) {
            const int level = qGray(image.pixel(x, y));
            darkest = std::min(darkest, level);
            lightest = std::max(lightest, level);
        }
    }
    return {darkest, lightest};
}

TEST_F(ImageBrowserViewTest, TextIsReadableOnLightAndDark) {
    QRect label = m_view->viewportRect(m_view->layoutOfItems().itemRect(5));
    label.setTop(label.bottom() - 18);
    for (const bool isDark : {true, false}) {
        m_view->setBackgroundLayer(std::make_shared<Colour>(
            isDark ? QColor(20, 20, 30) : QColor(240, 240, 250), QRect(0, 0, 2000, 2000)));
        const auto [darkest, lightest] = darkestAndLightest(viewport()->grab().toImage(), label);
        EXPECT_GT(lightest - darkest, 120) << "on " << (isDark ? "dark" : "light");
    }
}

TEST_F(ImageBrowserViewTest, PagesComeInAndAreDrawn) {
    const auto source = PDFSource::open(QUILLORN_SAMPLE_PDF);
    ASSERT_TRUE(source.has_value());
    m_data.clear();
    m_data.addGroup("Sample", 2, *source);
    m_view->reloadData();
    const QRect cell = m_view->viewportRect(m_view->layoutOfItems().itemRect(0));
    const auto darkest = [this, cell] {
        return darkestAndLightest(viewport()->grab().toImage(), cell.adjusted(20, 20, -20, -60))
            .first;
    };

    EXPECT_TRUE(QTest::qWaitFor([&] { return darkest() < 150; }, 60'000));
}

TEST_F(ImageBrowserViewTest, PicturesThatComeInPaintTheirCellsAndNothingElse) {
    class PaintedAreas : public QObject {
    public:
        bool eventFilter(QObject* /*object*/, QEvent* event) override {
            if (event->type() == QEvent::Paint) {
                areas.push_back(dynamic_cast<QPaintEvent&>(*event).rect());
            }
            return false;
        }
        std::vector<QRect> areas;
    };
    const auto source = PDFSource::open(QUILLORN_SAMPLE_PDF);
    ASSERT_TRUE(source.has_value());
    m_data.clear();
    m_data.addGroup("Sample", 1, *source);
    m_view->reloadData();
    EXPECT_FALSE(m_view->showsAllPictures());
    viewport()->repaint(); // from now on nothing but the picture is left to be painted
    PaintedAreas painted;
    viewport()->installEventFilter(&painted);

    ASSERT_TRUE(QTest::qWaitFor([&] { return !painted.areas.empty(); }, 60'000));

    const QRect cell = m_view->viewportRect(m_view->layoutOfItems().itemRect(0));
    for (const QRect& area : painted.areas) {
        EXPECT_TRUE(cell.contains(area)) << area.width() << " by " << area.height();
    }
    EXPECT_TRUE(QTest::qWaitFor([&] { return m_view->showsAllPictures(); }, 60'000));
}

TEST_F(ImageBrowserViewTest, WhatMayBeShownNextDoesNotDriveOutWhatIsShown) {
    const auto source = PDFSource::open(QUILLORN_SAMPLE_PDF);
    ASSERT_TRUE(source.has_value());
    constexpr QSize frame(100, 100);
    ThumbnailLimits limits;
    limits.cacheBytes = std::size_t{6} * 100 * 100 * 4;
    PagePictures pictures(QUILLORN_RENDER_WORKER, limits);
    std::vector<std::unique_ptr<PDFPage>> pages;
    std::vector<const PDFPage*> visible;
    std::vector<const PDFPage*> near;
    for (std::size_t i = 0; i < 12; ++i) { // each page in four turns
        pages.push_back(std::make_unique<PDFPage>(PDFPageReference{
            *source, i / 4 % (*source)->pageCount(), static_cast<int>(i % 4) * 90, {}}));
        (i < 3 ? visible : near).push_back(pages.back().get());
    }
    const auto viewer = pictures.addViewer([] {});

    pictures.setWishes(viewer, visible, near, frame);

    ASSERT_TRUE(QTest::qWaitFor([&] { return pictures.renderer().isIdle(); }, 60'000));
    for (const PDFPage* const page : visible) {
        EXPECT_EQ(pictures.find(*page, frame).state, PagePicture::State::drawn);
    }
    pictures.removeViewer(viewer);
}

TEST_F(ImageBrowserViewTest, ATurnedPageIsDrawnAnew) {
    const auto source = PDFSource::open(QUILLORN_SAMPLE_PDF);
    ASSERT_TRUE(source.has_value());
    m_data.clear();
    m_data.addGroup("Sample", 1, *source);
    m_view->reloadData();
    const QSize frame(100, 136);
    const auto isDrawn = [&] {
        return m_pictures->find(m_data.page(0), frame).state == PagePicture::State::drawn;
    };
    const auto viewer = m_pictures->addViewer([] {});
    m_pictures->setWishes(viewer, {&m_data.page(0)}, {}, frame);
    ASSERT_TRUE(QTest::qWaitFor(isDrawn, 60'000));
    const QSizeF upright = m_pictures->find(m_data.page(0), frame).size;

    m_data.page(0).addRotation(90);

    EXPECT_FALSE(isDrawn());
    const QSizeF guessed = m_pictures->find(m_data.page(0), frame).size;
    EXPECT_GT(guessed.width(), guessed.height()) << "its outline is turned at once";
    EXPECT_LT(upright.width(), upright.height());
    m_pictures->setWishes(viewer, {&m_data.page(0)}, {}, frame);
    EXPECT_TRUE(QTest::qWaitFor(isDrawn, 60'000));
    m_pictures->removeViewer(viewer);
}

TEST_F(ImageBrowserViewTest, TheWheelWithCtrlAsksForZoom) {
    const QSignalSpy spy(m_view.get(), &ImageBrowserView::zoomStepRequested);
    const QPointF place(100, 100);
    for (const int turned : {120, -120}) {
        QWheelEvent wheel(place, viewport()->mapToGlobal(place), {}, {0, turned}, Qt::NoButton,
                          Qt::ControlModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(viewport(), &wheel);
    }
    ASSERT_EQ(spy.count(), 2);
    EXPECT_EQ(spy.at(0).at(0).toInt(), 1);
    EXPECT_EQ(spy.at(1).at(0).toInt(), -1);
    EXPECT_EQ(scrolled(), 0);
    QWheelEvent plain(place, viewport()->mapToGlobal(place), {}, {0, -120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(viewport(), &plain);
    EXPECT_GT(scrolled(), 0);
}

} // namespace
} // namespace quillorn
