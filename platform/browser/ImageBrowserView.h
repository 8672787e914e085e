#pragma once

#include "platform/browser/BrowserLayout.h"
#include "platform/browser/BrowserLook.h"
#include "platform/browser/BrowserSelection.h"
#include "platform/browser/DragPasteboard.h"
#include "platform/browser/ImageBrowser.h"
#include "platform/browser/PagePictures.h"

#include <QAbstractScrollArea>
#include <QBasicTimer>
#include <QPoint>
#include <QString>
#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <vector>

class QDrag;
class QDropEvent;
class QRegion;

namespace quillorn {

class PagePreview;

/// The thumbnail browser as a widget.
///
/// It keeps no item: what is shown is asked of the data source when it is painted, and only what
/// can be seen is. Where things are, BrowserLayout knows; how they look, BrowserLook; what they
/// look like, PagePictures. So a hundred thousand pages cost as much as what fits into the window.
///
/// Keys: arrows, Home, End, Page Up and Down select, with Shift they extend, with Ctrl they only
/// move; Ctrl+Space selects or unselects one more; Ctrl+A and Escape all and none; Space the large
/// preview, where it may; Return is a double click; Delete removes. + and - expand and collapse
/// the group, * and / all groups; Ctrl+Up and Ctrl+Down go from header to header, as Up and Down
/// do when all groups are collapsed, and Return toggles the header they are on.
class ImageBrowserView : public QAbstractScrollArea, public ImageBrowser {
    Q_OBJECT

public:
    /// `pictures` is not owned and must outlive the view.
    explicit ImageBrowserView(PagePictures& pictures, QWidget* parent = nullptr);
    ~ImageBrowserView() override;

    void setDataSource(ImageBrowserDataSource* dataSource) override;
    void setDelegate(ImageBrowserDelegate* delegate) override;
    void setDraggingDestinationDelegate(ImageBrowserDraggingDestination* destination) override;
    /// Whether scrolling to an item glides.
    void setAnimates(bool animates) override;
    void setAllowsReordering(bool allowsReordering) override;
    void setCanControlQuickLookPanel(bool canControl) override;
    void reloadData() override;
    void setNeedsDisplay() override;
    [[nodiscard]] IndexSet selectionIndexes() const override;
    void setSelectionIndexes(const IndexSet& indexes, bool byExtendingSelection) override;
    void scrollIndexToVisible(std::size_t index) override;
    void collapseGroupAtIndex(std::size_t group) override;
    void expandGroupAtIndex(std::size_t group) override;
    [[nodiscard]] bool isGroupExpandedAtIndex(std::size_t group) const override;
    void setZoomValue(float zoomValue) override;
    [[nodiscard]] float zoomValue() const override { return m_zoomValue; }
    [[nodiscard]] std::size_t indexAtLocationOfDroppedItem() const override;
    void setBackgroundLayer(std::shared_ptr<BrowserLayer> layer) override;
    void setForegroundLayer(std::shared_ptr<BrowserLayer> layer) override;
    [[nodiscard]] BrowserRect visibleRect() const override;
    [[nodiscard]] BrowserRect bounds() const final;

    void selectAll();
    void setAllGroupsExpanded(bool isExpanded);
    [[nodiscard]] const BrowserLayout& layoutOfItems() const { return m_layout; }
    [[nodiscard]] const BrowserSelection& selection() const { return m_selection; }
    /// The item that keys start from; none when there is none.
    [[nodiscard]] std::optional<std::size_t> currentIndex() const { return m_current; }
    /// The header that keys act on; none while they act on items.
    [[nodiscard]] std::optional<std::size_t> focusedHeader() const { return m_focusedHeader; }
    [[nodiscard]] QString groupTitle(std::size_t group) const;
    [[nodiscard]] ImageBrowserItem itemAtIndex(std::size_t index) const;
    /// "page 3 of 12, Output 2", for those who cannot see where an item is.
    [[nodiscard]] QString placeOfItem(std::size_t index) const;
    /// Where something of the contents is, in pixels of the viewport.
    [[nodiscard]] QRect viewportRect(const BrowserRect& rect) const;
    /// What may be seen of the contents, as `visibleRect`, in the layout's own places.
    [[nodiscard]] std::vector<BrowserRange> visibleItems() const;
    [[nodiscard]] bool isPreviewShown() const;
    /// Whether everything that may be seen has its picture, or the one of what cannot be drawn.
    [[nodiscard]] bool showsAllPictures() const;
    /// Whether it still glides to where it was told to scroll.
    [[nodiscard]] bool isGliding() const { return m_glideTimer.isActive(); }

signals:
    /// The menu of the selection, or of the browser where nothing is selected, is asked for at
    /// this place of the screen. The delegate was told before.
    void contextMenuRequested(QPoint globalPosition);
    /// The wheel was turned with Ctrl held: one step larger (1) or smaller (-1).
    void zoomStepRequested(int direction);
    /// Keys went to another item or header.
    void currentChanged();
    /// Other items are selected. The delegate was told before.
    void selectionChanged();

protected:
    bool viewportEvent(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void changeEvent(QEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void dragEnterEvent(QDragEnterEvent* event) override;
    void dragMoveEvent(QDragMoveEvent* event) override;
    void dragLeaveEvent(QDragLeaveEvent* event) override;
    void dropEvent(QDropEvent* event) override;
    void scrollContentsBy(int dx, int dy) override;
    /// Has the desktop carry out a drag, and returns when it is over.
    virtual void runDrag(QDrag& drag);

private:
    /// What the left button began.
    enum class Press { none, item, selectedItem, header, band };
    struct MousePress {
        Press kind = Press::none;
        BrowserPoint place;
        std::size_t index = 0; ///< of the item or header
    };
    /// A rubber band, and what was selected before it.
    struct Band {
        BrowserPoint from;
        BrowserPoint to;
        BrowserSelection before;
        bool isToggling = false;
    };
    /// A drag that is over this view.
    struct DragOver {
        DragPasteboard pasteboard;
        bool isReordering = false; ///< our own, and to be moved here
        bool startedHere = false;
        DragOperation operation = DragOperation::none;
        bool isDropping = false;
        bool wasEmpty = false; ///< there was no group when the pointer came to where it is
        QPoint position;       ///< in the viewport
    };

    // State (ImageBrowserView.cpp)
    [[nodiscard]] BrowserMetrics metrics() const;
    void measure();
    void updateScrollBar();
    void sampleBackground();
    void setSelection(BrowserSelection selection);
    void setCurrent(std::optional<std::size_t> item);
    void setFocusedHeader(std::optional<std::size_t> header);
    void setGroupExpanded(std::size_t group, bool isExpanded);
    void scrollToVisible(const BrowserRect& rect);
    void glide();
    [[nodiscard]] BrowserPoint contentsPoint(QPoint viewportPosition) const;
    [[nodiscard]] int scrollPosition() const;

    // Painting (ImageBrowserViewPaint.cpp)
    [[nodiscard]] BrowserLook look() const;
    void paintGroup(QPainter& painter, const BrowserLook& look, std::size_t group) const;
    [[nodiscard]] PagePicture pictureOf(const ImageBrowserItem& item, const BrowserLook& look,
                                        const QRect& cell) const;
    void updateArrived();
    void paintItems(QPainter& painter, const BrowserLook& look, const QRegion& region);
    void wishPictures();
    void pictureArrived();
    [[nodiscard]] std::vector<ImageBrowserItem> itemsBetween(int top, int bottom) const;

    // Keys (ImageBrowserViewKeys.cpp)
    [[nodiscard]] bool handleCommandKey(const QKeyEvent& event);
    [[nodiscard]] bool handleGroupKey(const QKeyEvent& event);
    [[nodiscard]] bool handleMoveKey(const QKeyEvent& event);
    [[nodiscard]] bool moveHeader(int key);
    void moveCurrent(BrowserLayout::Step step, Qt::KeyboardModifiers modifiers);
    void selectTo(std::size_t item);
    void togglePreview();
    void updatePreview();

    // Mouse (ImageBrowserViewMouse.cpp)
    [[nodiscard]] bool prepareMenuAt(QPoint viewportPosition, std::size_t& item);
    [[nodiscard]] QPoint menuPlaceOfKeys() const;
    void pressItem(std::size_t item, Qt::KeyboardModifiers modifiers);
    void beginBand(Qt::KeyboardModifiers modifiers);
    void moveBand(QPoint viewportPosition);
    void endBand(); ///< what it selected stays so
    void scrollAtEdge(QPoint viewportPosition);
    void stopScrolling();

    // Drags (ImageBrowserViewDrag.cpp)
    void startDrag();
    void updateDrag(QDropEvent& event, bool isEntering);
    void updateDrop();
    [[nodiscard]] BrowserDrop dropAt(BrowserPoint point) const;
    [[nodiscard]] BrowserDrop dropAtEndOf(std::size_t group) const;
    void endDrag();

    PagePictures& m_pictures;
    PagePictures::Viewer m_viewer;
    ImageBrowserDataSource* m_dataSource = nullptr;
    ImageBrowserDelegate* m_delegate = nullptr;
    ImageBrowserDraggingDestination* m_destination = nullptr;
    std::shared_ptr<BrowserLayer> m_backgroundLayer;
    std::shared_ptr<BrowserLayer> m_foregroundLayer;
    bool m_animates = false;
    bool m_allowsReordering = false;
    bool m_canControlQuickLook = false;
    bool m_isBackgroundDark = false;
    float m_zoomValue = 0.25F;

    BrowserLayout m_layout;
    std::vector<ImageBrowserGroup> m_groups;
    BrowserSelection m_selection;
    std::optional<std::size_t> m_current;
    std::size_t m_anchor = 0; ///< where extending with Shift starts
    std::optional<std::size_t> m_focusedHeader;

    MousePress m_press;
    std::optional<Band> m_band;
    IndexSet m_draggedIndexes; ///< of the drag that began here last
    std::optional<DragOver> m_dragOver;
    BrowserDrop m_drop;
    QBasicTimer m_edgeTimer;
    QPoint m_edgePosition; ///< where the pointer was last, in the viewport
    QBasicTimer m_glideTimer;
    int m_glideTarget = 0;
    QBasicTimer m_wishTimer;
    QBasicTimer m_arrivalTimer; ///< pictures came in and are to be painted
    /// What was painted of visible items whose pictures were not there.
    std::map<std::size_t, PagePicture> m_unfinished;
    std::unique_ptr<PagePreview> m_preview; ///< made when it is wanted first
};

} // namespace quillorn
