#include "platform/browser/DragPasteboard.h"
#include "tests/platform/browser/BrowserTesting.h"

#include <QDragEnterEvent>
#include <QDragLeaveEvent>
#include <QDragMoveEvent>
#include <QDropEvent>
#include <QMimeData>
#include <QUrl>
#include <optional>

namespace quillorn {
namespace {

using Texts = std::vector<std::string>;

/// Answers as told, and notes what it was asked.
class ScriptedDestination : public ImageBrowserDraggingDestination {
public:
    [[nodiscard]] DragOperation draggingEntered(const DraggingInfo& info) override {
        ++entered;
        note(info);
        return answerToEntering;
    }
    [[nodiscard]] DragOperation draggingUpdated(const DraggingInfo& info) override {
        ++updated;
        note(info);
        return answer;
    }
    bool performDragOperation(const DraggingInfo& info) override {
        note(info);
        ++performed;
        if (whilePerforming) {
            whilePerforming();
        }
        return true;
    }

    DragOperation answerToEntering = DragOperation::copy;
    DragOperation answer = DragOperation::copy;
    std::function<void()> whilePerforming;
    int entered = 0;
    int updated = 0;
    int performed = 0;
    Texts types;
    Texts files;
    bool startedHere = false;

private:
    void note(const DraggingInfo& info) {
        types = info.draggingPasteboard().types();
        files = info.draggingPasteboard().propertyListForType(pasteboard_type::filenames);
        startedHere = info.startedHere();
    }
};

class BrowserDragTest : public BrowserTesting {
protected:
    BrowserDragTest() { m_view->setDraggingDestinationDelegate(&m_destination); }

    static bool enter(ImageBrowserView& view, const QMimeData& data, QPoint place) {
        QDragEnterEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        event.ignore();
        QApplication::sendEvent(view.viewport(), &event);
        return event.isAccepted();
    }
    static bool move(ImageBrowserView& view, const QMimeData& data, QPoint place) {
        QDragMoveEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        event.ignore();
        QApplication::sendEvent(view.viewport(), &event);
        return event.isAccepted();
    }
    static bool drop(ImageBrowserView& view, const QMimeData& data, QPoint place) {
        QDropEvent event(place, Qt::CopyAction, &data, Qt::LeftButton, {});
        event.ignore();
        QApplication::sendEvent(view.viewport(), &event);
        return event.isAccepted();
    }
    /// Enters, moves and drops.
    static bool dragTo(ImageBrowserView& view, const QMimeData& data, QPoint place) {
        return enter(view, data, place) && move(view, data, place) && drop(view, data, place);
    }
    /// Drags what is selected out of a browser by one of its pages.
    static void pull(DraggableBrowser& view, QPoint from,
                     const std::function<void(QDrag&)>& whileDragging) {
        view.whileDragging = whileDragging;
        QTest::mousePress(view.viewport(), Qt::LeftButton, {}, from);
        QTest::mouseMove(view.viewport(), from + QPoint(30, 30));
        QTest::mouseRelease(view.viewport(), Qt::LeftButton, {}, from + QPoint(30, 30));
    }
    /// Left or right of a page's middle.
    [[nodiscard]] QPoint beside(std::size_t item, int right) const {
        return middleOf(item) + QPoint(right, 0);
    }
    static std::unique_ptr<QMimeData> fileData(const QList<QUrl>& urls) {
        auto data = std::make_unique<QMimeData>();
        data->setUrls(urls);
        return data;
    }
    [[nodiscard]] bool showsDropMarkAt(QPoint place) const {
        return viewport()->grab().toImage().pixelColor(place) ==
               m_view->palette().color(QPalette::Highlight);
    }

    ScriptedDestination m_destination;
};

TEST_F(BrowserDragTest, PagesAreDraggedWithTheDataSourcesListAndAPicture) {
    m_view->setSelectionIndexes({1, 2, 5}, false);
    std::optional<QSize> picture;
    QStringList formats;

    pull(*m_view, middleOf(2), [&](QDrag& drag) {
        picture = drag.pixmap().size();
        formats = drag.mimeData()->formats();
    });

    EXPECT_EQ(m_data.written, (IndexSet{1, 2, 5}));
    ASSERT_TRUE(picture.has_value());
    EXPECT_GT(picture->width(), 50);
    EXPECT_EQ(formats, QStringList{"application/x-quillorn-folivane-pages"})
        << "nothing that other programs would take for files";
    EXPECT_EQ(selected(), (IndexSet{1, 2, 5}));
}

TEST_F(BrowserDragTest, NothingIsDraggedThatTheDataSourceDoesNotWrite) {
    m_data.mayDrag = false;
    bool wasDragged = false;
    pull(*m_view, middleOf(2), [&](QDrag&) { wasDragged = true; });
    EXPECT_FALSE(wasDragged);
}

TEST_F(BrowserDragTest, AShakyClickIsNoDrag) {
    bool wasDragged = false;
    m_view->whileDragging = [&](QDrag&) { wasDragged = true; };
    QTest::mousePress(viewport(), Qt::LeftButton, {}, middleOf(2));
    QTest::mouseMove(viewport(), middleOf(2) + QPoint(1, 1));
    QTest::mouseRelease(viewport(), Qt::LeftButton, {}, middleOf(2) + QPoint(1, 1));
    EXPECT_FALSE(wasDragged);
}

TEST_F(BrowserDragTest, PagesFromTheOtherBrowserAreOfferedToTheDestination) {
    DraggableBrowser other(*m_pictures);
    ScriptedBrowserData otherData;
    otherData.addGroup("source", 5);
    other.resize(400, 400);
    other.setDataSource(&otherData);
    other.show();
    const QPoint from = other.viewportRect(other.layoutOfItems().itemRect(0)).center();
    const QPoint gap = beside(5, 20);

    pull(other, from, [&](QDrag& drag) { EXPECT_TRUE(dragTo(*m_view, *drag.mimeData(), gap)); });

    EXPECT_EQ(m_destination.performed, 1);
    EXPECT_FALSE(m_destination.startedHere);
    EXPECT_EQ(m_destination.types, (Texts{std::string(pasteboard_type::pages),
                                          std::string(pasteboard_type::filenames)}));
    EXPECT_EQ(m_destination.files, Texts{"pdf"});
    EXPECT_EQ(m_view->indexAtLocationOfDroppedItem(), 6U);
}

TEST_F(BrowserDragTest, PagesOfAnotherInstanceAreRefused) {
    const auto data = mimeDataOfPages();
    EXPECT_FALSE(enter(*m_view, *data, middleOf(5)));
    EXPECT_EQ(m_destination.entered, 0);
}

TEST_F(BrowserDragTest, FilesComeWithTheirAbsolutePaths) {
    const auto data =
        fileData({QUrl::fromLocalFile("/tmp/größe 100%.pdf"),
                  QUrl("https://example.org/remote.pdf"), QUrl::fromLocalFile("/tmp/b.png")});

    EXPECT_TRUE(dragTo(*m_view, *data, middleOf(3)));

    EXPECT_EQ(m_destination.performed, 1);
    EXPECT_EQ(m_destination.types, Texts{std::string(pasteboard_type::filenames)});
    EXPECT_EQ(m_destination.files, (Texts{"/tmp/größe 100%.pdf", "/tmp/b.png"}));
}

TEST_F(BrowserDragTest, TextAndRemoteFilesAreRefused) {
    QMimeData text;
    text.setText("words");
    EXPECT_FALSE(enter(*m_view, text, middleOf(3)));
    const auto remote = fileData({QUrl("https://example.org/remote.pdf")});
    EXPECT_FALSE(enter(*m_view, *remote, middleOf(3)));
    EXPECT_FALSE(drop(*m_view, text, middleOf(3)));
    EXPECT_EQ(m_destination.performed, 0);
}

TEST_F(BrowserDragTest, ADestinationMayRefuseFirstAndAgreeLater) {
    const auto data = fileData({QUrl::fromLocalFile("/tmp/a.pdf")});
    m_destination.answerToEntering = DragOperation::none;
    m_destination.answer = DragOperation::none;
    EXPECT_TRUE(enter(*m_view, *data, middleOf(3))) << "or it would not be asked again";
    EXPECT_FALSE(move(*m_view, *data, middleOf(3)));
    m_destination.answer = DragOperation::copy;
    EXPECT_TRUE(move(*m_view, *data, middleOf(3)));
    EXPECT_EQ(m_destination.entered, 1);
    EXPECT_EQ(m_destination.updated, 2);
}

TEST_F(BrowserDragTest, PagesAreMovedWithinTheBrowserWhereThatIsAllowed) {
    m_view->setAllowsReordering(true);
    m_view->setSelectionIndexes({1, 2}, false);

    pull(*m_view, middleOf(1),
         [this](QDrag& drag) { EXPECT_TRUE(dragTo(*m_view, *drag.mimeData(), beside(5, 20))); });

    EXPECT_EQ(m_data.moved, (IndexSet{1, 2}));
    EXPECT_EQ(m_data.movedTo, 6U);
    EXPECT_EQ(m_data.dropIndexDuringMove, 6U);
    EXPECT_EQ(m_destination.entered + m_destination.updated + m_destination.performed, 0);
}

TEST_F(BrowserDragTest, WithoutReorderingTheDestinationDecides) {
    m_view->setAllowsReordering(false);
    pull(*m_view, middleOf(1),
         [this](QDrag& drag) { dragTo(*m_view, *drag.mimeData(), beside(5, 20)); });
    EXPECT_EQ(m_data.moved, IndexSet{});
    EXPECT_EQ(m_destination.performed, 1);
    EXPECT_TRUE(m_destination.startedHere);
}

TEST_F(BrowserDragTest, PagesMayBeMovedBeforeTheFirst) {
    m_view->setAllowsReordering(true);
    pull(*m_view, middleOf(3),
         [this](QDrag& drag) { dragTo(*m_view, *drag.mimeData(), beside(0, -20)); });
    EXPECT_EQ(m_data.movedTo, 0U);
}

TEST_F(BrowserDragTest, TheMarkStandsWherePagesWillLand) {
    m_view->setAllowsReordering(true);
    const QPoint gap((middleOf(5).x() + middleOf(6).x()) / 2, middleOf(5).y());
    EXPECT_FALSE(showsDropMarkAt(gap));

    pull(*m_view, middleOf(3), [&](QDrag& drag) {
        enter(*m_view, *drag.mimeData(), beside(5, 20));
        EXPECT_TRUE(showsDropMarkAt(gap));
        QDragLeaveEvent leave;
        QApplication::sendEvent(viewport(), &leave);
        EXPECT_FALSE(showsDropMarkAt(gap));
    });
}

TEST_F(BrowserDragTest, BeforeTheFirstPageOfAGroupIsBehindTheOneAbove) {
    m_data.clear();
    m_data.addGroup("above", 2);
    m_data.addGroup("below", 3);
    m_view->reloadData();
    m_view->setAllowsReordering(true);
    const QPoint behind = beside(1, m_view->layoutOfItems().itemRect(1).width / 2 + 4);

    pull(*m_view, middleOf(0), [&](QDrag& drag) {
        enter(*m_view, *drag.mimeData(), beside(2, -20));
        EXPECT_EQ(m_view->indexAtLocationOfDroppedItem(), 2U);
        EXPECT_TRUE(showsDropMarkAt(behind)) << "because they become pages of that group";
    });
}

TEST_F(BrowserDragTest, PagesHeldOverTheOnlyPageOfAGroupGoBehindIt) {
    m_data.clear();
    m_data.addGroup("above", 2);
    m_data.addGroup("empty", 1);
    m_view->reloadData();
    m_view->setAllowsReordering(true);

    pull(*m_view, middleOf(0), [&](QDrag& drag) {
        enter(*m_view, *drag.mimeData(), beside(2, -20));
        EXPECT_EQ(m_view->indexAtLocationOfDroppedItem(), 3U);
    });
}

TEST_F(BrowserDragTest, OnACollapsedGroupPagesGoToItsEnd) {
    m_view->setAllowsReordering(true);
    m_view->collapseGroupAtIndex(1);
    m_view->scrollIndexToVisible(12);
    pull(*m_view, middleOf(11), [&](QDrag& drag) {
        enter(*m_view, *drag.mimeData(), headerOf(1));
        EXPECT_EQ(m_view->indexAtLocationOfDroppedItem(), 20U);
    });
}

TEST_F(BrowserDragTest, TheFirstDropIntoAnEmptyBrowserGoesIntoTheGroupThatItMakes) {
    m_data.clear();
    m_view->reloadData();
    const auto data = fileData({QUrl::fromLocalFile("/tmp/a.pdf")});
    std::size_t index = 99;
    m_destination.whilePerforming = [&] {
        EXPECT_EQ(m_view->indexAtLocationOfDroppedItem(), 0U);
        m_data.addGroup("Untitled.pdf", 1);
        m_view->reloadData();
        index = m_view->indexAtLocationOfDroppedItem();
    };

    EXPECT_TRUE(dragTo(*m_view, *data, QPoint(20, 60)));

    EXPECT_EQ(index, 1U);
}

TEST_F(BrowserDragTest, ADropIsNotMovedByWhatItChanges) {
    const auto data = fileData({QUrl::fromLocalFile("/tmp/a.pdf")});
    std::size_t index = 99;
    m_destination.whilePerforming = [&] {
        m_data.clear();
        m_view->reloadData();
        index = m_view->indexAtLocationOfDroppedItem();
    };
    EXPECT_TRUE(dragTo(*m_view, *data, beside(5, 20)));
    EXPECT_EQ(index, 6U);
}

TEST_F(BrowserDragTest, HeldAtTheEdgeTheBrowserScrolls) {
    const auto data = fileData({QUrl::fromLocalFile("/tmp/a.pdf")});
    const QPoint lowerEdge(300, viewport()->height() - 3);
    enter(*m_view, *data, lowerEdge);
    move(*m_view, *data, lowerEdge);
    const std::size_t before = m_view->indexAtLocationOfDroppedItem();

    EXPECT_TRUE(QTest::qWaitFor([this] { return isShown(19); }, 20'000));

    EXPECT_GT(m_view->indexAtLocationOfDroppedItem(), before) << "it is over other pages now";
    QDragLeaveEvent leave;
    QApplication::sendEvent(viewport(), &leave);
    const int stopped = scrolled();
    QTest::qWait(50);
    EXPECT_EQ(scrolled(), stopped);
}

} // namespace
} // namespace quillorn
