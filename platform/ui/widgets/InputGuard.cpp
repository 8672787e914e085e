#include "platform/ui/widgets/InputGuard.h"

#include <QApplication>
#include <QEvent>
#include <QVariant>
#include <QWidget>
#include <algorithm>

namespace quillorn {

namespace {

constexpr const char* letThroughProperty = "quillornTakesInput";

/// Those that live, innermost last. Belongs to the thread of the windows.
std::vector<const InputGuard*>& guards() {
    static std::vector<const InputGuard*> all;
    return all;
}

bool isIn(const QWidget& window, const QWidget& other) {
    const QWidget* widget = &window;
    while (widget != nullptr && widget != &other) {
        widget = widget->parentWidget();
    }
    return widget != nullptr;
}

bool isInput(QEvent::Type type) {
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::MouseMove:
    case QEvent::Wheel:
    case QEvent::ContextMenu:
    case QEvent::TouchBegin:
    case QEvent::TouchUpdate:
    case QEvent::TouchEnd:
    case QEvent::TabletPress:
    case QEvent::TabletRelease:
    case QEvent::Shortcut:
    case QEvent::ShortcutOverride:
    case QEvent::InputMethod:
    case QEvent::DragEnter:
    case QEvent::DragMove:
    case QEvent::Drop:
    case QEvent::Close:
        return true;
    default:
        return false;
    }
}

} // namespace

InputGuard::InputGuard() {
    for (QWidget* const window : QApplication::topLevelWidgets()) {
        if (window->isVisible() && !window->property(letThroughProperty).toBool()) {
            m_windows.emplace_back(window);
        }
    }
    qApp->installEventFilter(this);
    guards().push_back(this);
}

InputGuard::~InputGuard() {
    std::erase(guards(), this);
    qApp->removeEventFilter(this);
}

void InputGuard::letThrough(QWidget& window) {
    window.setProperty(letThroughProperty, true);
}

bool InputGuard::takesInput(const QWidget& widget) {
    const QWidget* const modal = QApplication::activeModalWidget();
    return (modal == nullptr || isIn(widget, *modal)) &&
           std::ranges::none_of(
               guards(), [&widget](const InputGuard* guard) { return guard->isBlocked(widget); });
}

bool InputGuard::isBlocked(const QObject& object) const {
    const auto* const widget = qobject_cast<const QWidget*>(&object);
    const auto* const native = qobject_cast<const QWindow*>(&object);
    return std::ranges::any_of(m_windows, [widget, native](const QPointer<QWidget>& window) {
        return window && ((widget != nullptr && widget->window() == window) ||
                          (native != nullptr && native == window->windowHandle()));
    });
}

bool InputGuard::eventFilter(QObject* watched, QEvent* event) {
    if (!isInput(event->type()) || watched == nullptr) {
        return QObject::eventFilter(watched, event);
    }
    // A shortcut's event goes to its action, which belongs to no window: these are the commands of
    // those that were open. The marked letter of a button belongs to the button and its window.
    const bool isCommand = event->type() == QEvent::Shortcut && !watched->isWidgetType();
    if (isCommand || isBlocked(*watched)) {
        event->ignore();
        return true;
    }
    return QObject::eventFilter(watched, event);
}

} // namespace quillorn
