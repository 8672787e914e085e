#include "platform/browser/PagePreview.h"

#include "platform/browser/BrowserLook.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QPainter>
#include <QScreen>
#include <algorithm>
#include <utility>

namespace quillorn {

namespace {

constexpr int margin = 24;

} // namespace

PagePreview::PagePreview(PagePictures& pictures, QWidget& browser)
    : QWidget(&browser, Qt::Window),
      m_pictures(pictures),
      m_viewer(pictures.addViewer([this] { update(); })),
      m_browser(browser) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setFocusPolicy(Qt::StrongFocus);
    setAccessibleName(tr("Preview"));
}

PagePreview::~PagePreview() {
    m_pictures.removeViewer(m_viewer);
}

void PagePreview::appear() {
    constexpr double share = 0.8;      // of the screen's height
    constexpr double proportion = 0.8; // width by height
    const QRect available = m_browser.screen()->availableGeometry();
    const int height = static_cast<int>(available.height() * share);
    const int width = std::min(static_cast<int>(height * proportion), available.width());
    const QPoint middle = m_browser.window()->frameGeometry().center();
    QRect place(0, 0, width, height);
    place.moveCenter(middle);
    place.moveLeft(std::clamp(place.left(), available.left(),
                              std::max(available.right() - width, available.left())));
    place.moveTop(std::clamp(place.top(), available.top(),
                             std::max(available.bottom() - height, available.top())));
    setGeometry(place);
    QWidget::show();
    raise();
    activateWindow();
}

void PagePreview::show(std::shared_ptr<PDFPage> page, const QString& title, const QString& place) {
    m_page = std::move(page);
    m_title = title;
    m_place = place;
    setWindowTitle(title);
    setAccessibleDescription(title + QStringLiteral(", ") + place);
    wish();
    update();
}

bool PagePreview::showsPicture() const {
    return m_page == nullptr ||
           m_pictures.find(*m_page, frame()).state != PagePicture::State::waiting;
}

QRect PagePreview::pageArea() const {
    const int label = fontMetrics().height();
    return rect().adjusted(margin, margin, -margin, -margin - 2 * label);
}

QSize PagePreview::frame() const {
    const QSizeF size = QSizeF(pageArea().size()) * devicePixelRatioF();
    return {std::max(static_cast<int>(size.width()), 1),
            std::max(static_cast<int>(size.height()), 1)};
}

void PagePreview::wish() {
    std::vector<const PDFPage*> wanted;
    if (m_page != nullptr && isVisible()) {
        wanted.push_back(m_page.get());
    }
    m_pictures.setWishes(m_viewer, wanted, {}, frame());
}

void PagePreview::paintEvent(QPaintEvent* /*event*/) {
    QPainter painter(this);
    const QColor background = palette().color(QPalette::Window);
    painter.fillRect(rect(), background);
    constexpr double middle = 0.5;
    const BrowserLook look(palette(), font(), devicePixelRatioF(),
                           background.lightnessF() < middle);
    const QRect area = pageArea();
    if (m_page != nullptr) {
        const PagePicture picture = m_pictures.find(*m_page, frame());
        QRectF place(QPointF(0, 0), picture.size / devicePixelRatioF());
        place.moveCenter(QRectF(area).center());
        look.drawPage(painter, place, picture);
    }
    const int height = fontMetrics().height();
    QRect line(area.left(), area.bottom() + margin / 2, area.width(), height);
    painter.setPen(look.textColor());
    painter.drawText(line, Qt::AlignCenter,
                     fontMetrics().elidedText(m_title, Qt::ElideMiddle, line.width()));
    line.translate(0, height);
    QColor soft = look.textColor(); // some dark themes leave the role for such texts black
    soft.setAlphaF(0.65F);
    painter.setPen(soft);
    painter.drawText(line, Qt::AlignCenter,
                     fontMetrics().elidedText(m_place, Qt::ElideMiddle, line.width()));
}

void PagePreview::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    wish();
}

void PagePreview::keyPressEvent(QKeyEvent* event) {
    if (event->key() == Qt::Key_Escape || event->key() == Qt::Key_Space) {
        close();
        return;
    }
    QCoreApplication::sendEvent(&m_browser, event);
}

void PagePreview::mousePressEvent(QMouseEvent* /*event*/) {
    close();
}

void PagePreview::hideEvent(QHideEvent* event) {
    QWidget::hideEvent(event);
    m_page.reset();
    wish();
}

} // namespace quillorn
