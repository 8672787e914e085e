#include "platform/ui/widgets/WidgetWindow.h"

#include "platform/ui/widgets/WidgetControls.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QAction>
#include <QApplication>
#include <QRect>
#include <QScreen>
#include <QStyle>
#include <QToolButton>
#include <QWindow>
#include <algorithm>
#include <cmath>
#include <limits>

namespace quillorn {

namespace {

constexpr int thinHandle = 1;  // logical pixels
constexpr int spaceWidth = 12; // logical pixels

QRect toRect(const WindowFrame& frame) {
    const auto whole = [](double value) { return static_cast<int>(std::lround(value)); };
    return {whole(frame.x), whole(frame.y), whole(frame.width), whole(frame.height)};
}

bool fillsTheScreen(const QWidget& window) {
    return window.windowState().testAnyFlags(Qt::WindowFullScreen | Qt::WindowMaximized);
}

QWidget* spacer(QToolBar& bar, QSizePolicy::Policy policy) {
    auto* const space = new QWidget(&bar);
    space->setSizePolicy(policy, QSizePolicy::Preferred);
    if (policy == QSizePolicy::Fixed) {
        space->setFixedWidth(spaceWidth);
    }
    return space;
}

} // namespace

QRect placedOnScreen(const WindowFrame& frame, const QRect& screen, const QRect& room) {
    QRect rect = toRect(frame).translated(screen.topLeft());
    rect.setSize(rect.size().boundedTo(room.size()));
    rect.moveLeft(std::clamp(rect.left(), room.left(), room.right() + 1 - rect.width()));
    rect.moveTop(std::clamp(rect.top(), room.top(), room.bottom() + 1 - rect.height()));
    return rect;
}

WindowFrame WidgetWindow::frame() const {
    const QRect rect = m_window.geometry().translated(-m_window.screen()->geometry().topLeft());
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()),
            static_cast<double>(rect.width()), static_cast<double>(rect.height())};
}

void WidgetWindow::setFrameLater(const WindowFrame& frame) {
    m_window.winId(); // it has a handle from now on, even before it is shown
    m_whileItFillsTheScreen = std::make_unique<QObject>();
    QObject::connect(
        m_window.windowHandle(), &QWindow::windowStateChanged, m_whileItFillsTheScreen.get(),
        [this, frame]() {
            if (!fillsTheScreen(m_window)) {
                m_whileItFillsTheScreen.release()->deleteLater(); // this is its slot
                setFrame(frame, false);
            }
        },
        Qt::QueuedConnection); // the widget comes to know its state after the signal
}

void WidgetWindow::setFrame(const WindowFrame& frame, bool /*animate*/) {
    m_whileItFillsTheScreen.reset();
    if (fillsTheScreen(m_window)) {
        setFrameLater(frame);
        return;
    }
    const QScreen* const screen = m_window.screen();
    const QRect room = screen->availableGeometry();
    // Its decoration needs room as well; before it is shown, that of a title bar is guessed.
    const QMargins decoration =
        m_window.isVisible() && m_window.frameGeometry() != m_window.geometry()
            ? QMargins(m_window.geometry().left() - m_window.frameGeometry().left(),
                       m_window.geometry().top() - m_window.frameGeometry().top(),
                       m_window.frameGeometry().right() - m_window.geometry().right(),
                       m_window.frameGeometry().bottom() - m_window.geometry().bottom())
            : QMargins();
    m_window.setGeometry(
        placedOnScreen(frame, screen->geometry(), room.marginsRemoved(decoration)));
}

void WidgetWindow::setMinSize(const WindowSize& size) {
    m_window.setMinimumSize(toRect({0, 0, size.width, size.height}).size());
}

void WidgetWindow::setToolbar(const Toolbar& toolbar, ToolbarDelegate& delegate) {
    if (m_toolbar) {
        delete m_toolbar;
    }
    QToolBar* const bar = m_window.addToolBar(QObject::tr("Toolbar"));
    m_toolbar = bar;
    bar->setObjectName(toQString(toolbar.identifier));
    bar->setMovable(toolbar.allowsUserCustomization);
    bar->setFloatable(false);
    bar->setAllowedAreas(Qt::TopToolBarArea | Qt::BottomToolBarArea);
    bar->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    for (const std::string& identifier : delegate.toolbarDefaultItemIdentifiers()) {
        if (identifier == toolbar_identifier::separator) {
            bar->addSeparator();
        } else if (identifier == toolbar_identifier::flexibleSpace) {
            bar->addWidget(spacer(*bar, QSizePolicy::Expanding));
        } else if (identifier == toolbar_identifier::space) {
            bar->addWidget(spacer(*bar, QSizePolicy::Fixed));
        } else if (const auto item = delegate.toolbarItemForItemIdentifier(identifier)) {
            auto* const button = dynamic_cast<WidgetButton*>(item->view);
            if (button == nullptr || button->widget() == nullptr) {
                continue;
            }
            QAbstractButton* const widget = button->widget();
            widget->setText(toQStringWithoutMnemonic(item->label));
            widget->setToolTip(toQString(item->toolTip));
            widget->setAccessibleName(toQString(item->label));
            if (auto* const tool = qobject_cast<QToolButton*>(widget)) {
                tool->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
                tool->setIconSize(bar->iconSize());
                tool->setAutoRaise(true);
            }
            const bool isEnabled = widget->isEnabled();
            QAction* const action = bar->addWidget(widget);
            action->setText(toQString(item->paletteLabel));
            action->setVisible(true);
            action->setEnabled(isEnabled); // it enables what it takes in
            widget->setEnabled(isEnabled);
            widget->show();
        }
    }
    if (m_toolbarInstalled) {
        m_toolbarInstalled(*bar);
    }
}

void WidgetSplitView::setPositionOfDivider(double position, std::size_t /*divider*/) {
    const int width = std::max(m_splitter.width() - m_splitter.handleWidth(), 1);
    const int left = static_cast<int>(std::clamp(position, 0.0, static_cast<double>(width)));
    // A pane without width is collapsed; it comes back by its handle.
    m_splitter.setSizes({left, width - left});
}

void WidgetSplitView::setDividerStyle(DividerStyle style) {
    m_splitter.setHandleWidth(style == DividerStyle::thin
                                  ? thinHandle
                                  : m_splitter.style()->pixelMetric(QStyle::PM_SplitterWidth));
}

void WidgetSplitView::setFrame(const WindowFrame& /*frame*/) {}

WindowFrame WidgetScreen::frame() const {
    const QRect rect = m_window.screen()->geometry();
    return {static_cast<double>(rect.x()), static_cast<double>(rect.y()),
            static_cast<double>(rect.width()), static_cast<double>(rect.height())};
}

} // namespace quillorn
