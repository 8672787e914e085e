#include "app/PaneView.h"

#include <QColor>
#include <QEvent>
#include <QFont>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QPainter>
#include <QPalette>
#include <QResizeEvent>
#include <QVBoxLayout>
#include <algorithm>

namespace quillorn {

namespace {

constexpr int sliderWidth = 110;     // logical pixels, where there is room
constexpr int leastSliderWidth = 40; // logical pixels
constexpr int headingMargin = 6;     // logical pixels
constexpr int keysLineHeight = 2;    // logical pixels

} // namespace

void PaneBrowser::reloadData() {
    ImageBrowserView::reloadData();
    // With contents its place is kept, so that cells stay where they are; without, it is noise.
    setVerticalScrollBarPolicy(layoutOfItems().groupCount() > 0 ? Qt::ScrollBarAlwaysOn
                                                                : Qt::ScrollBarAsNeeded);
    if (m_reloaded) {
        m_reloaded();
    }
}

std::size_t PaneBrowser::indexAtLocationOfDroppedItem() const {
    return m_dropIndex ? m_dropIndex() : ImageBrowserView::indexAtLocationOfDroppedItem();
}

void PaneBrowser::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && m_returnPressed && !focusedHeader() && !selection().isEmpty()) {
        m_returnPressed();
        return;
    }
    ImageBrowserView::keyPressEvent(event);
}

void PaneBrowser::runDrag(QDrag& drag) {
    if (m_dragRunner) {
        m_dragRunner(drag);
    } else {
        ImageBrowserView::runDrag(drag);
    }
}

PaneView::PaneView(const QString& title, PagePictures& pictures, QWidget* parent)
    : QWidget(parent),
      m_title(new QLabel(title, this)),
      m_summary(new QLabel(this)),
      m_slider(new QSlider(Qt::Horizontal, this)),
      m_browser(new PaneBrowser(pictures, this)) {
    QFont bold = m_title->font();
    bold.setBold(true);
    m_title->setFont(bold);
    softenSummary();
    m_summary->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_slider->setMinimumWidth(leastSliderWidth);
    m_slider->setMaximumWidth(sliderWidth);
    m_slider->setToolTip(tr("Size of the pages"));
    m_slider->setAccessibleName(tr("Zoom of the pane %1").arg(title));

    auto* const heading = new QHBoxLayout;
    heading->setContentsMargins(headingMargin + 2, headingMargin, headingMargin, headingMargin);
    heading->setSpacing(headingMargin); // no more, or a narrow pane's title is cut
    heading->addWidget(m_title);
    heading->addWidget(m_summary, 1);
    heading->addWidget(m_slider, 1);
    auto* const layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
    layout->addLayout(heading);
    layout->addSpacing(keysLineHeight);
    layout->addWidget(m_browser, 1);
    m_browser->installEventFilter(this);
    m_browser->setAccessibleName(title);
    m_browser->setMinimumSize(1, 1);
    m_browser->setVerticalScrollBarPolicy(Qt::ScrollBarAsNeeded);
    m_browser->setFrameShape(QFrame::NoFrame);
    setFocusProxy(m_browser);
}

void PaneView::changeEvent(QEvent* event) {
    QWidget::changeEvent(event);
    if (event->type() == QEvent::PaletteChange) {
        softenSummary();
    }
}

void PaneView::paintEvent(QPaintEvent* event) {
    QWidget::paintEvent(event);
    if (m_browser->hasFocus()) {
        QPainter(this).fillRect(keysLine(), palette().color(QPalette::Highlight));
    }
}

QRect PaneView::keysLine() const {
    return {0, m_browser->y() - keysLineHeight, width(), keysLineHeight};
}

bool PaneView::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::FocusIn || event->type() == QEvent::FocusOut) {
        update(keysLine());
    }
    return QWidget::eventFilter(watched, event);
}

void PaneView::softenSummary() {
    // Made of the text's own colour: some dark themes leave the role for such texts black.
    constexpr float strength = 0.65F;
    QPalette soft = palette();
    QColor color = soft.color(QPalette::WindowText);
    color.setAlphaF(strength);
    soft.setColor(QPalette::WindowText, color);
    m_summary->setPalette(soft);
}

void PaneView::setSummary(const QString& summary) {
    m_summaryText = summary;
    m_title->setToolTip(summary);
    showSummary();
}

void PaneView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    showSummary();
}

void PaneView::showSummary() {
    // Whole, or not at all: half a number says something else.
    const int text = m_summary->fontMetrics().horizontalAdvance(m_summaryText);
    const int rest = width() - m_title->sizeHint().width() - text - 7 * headingMargin;
    const bool hasRoom = rest >= leastSliderWidth;
    m_summary->setText(hasRoom ? m_summaryText : QString());
    m_summary->setVisible(hasRoom && !m_summaryText.isEmpty()); // or it would take some room empty
    // What is left goes to the slider, which otherwise would take its share of the text's room.
    m_slider->setMaximumWidth(hasRoom ? std::min(rest, sliderWidth) : sliderWidth);
}

} // namespace quillorn
