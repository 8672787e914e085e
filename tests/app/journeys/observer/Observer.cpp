#include "tests/app/journeys/observer/Observer.h"

#include <QAccessible>
#include <QApplication>
#include <QCursor>
#include <QDragMoveEvent>
#include <QEvent>
#include <QGenericPlugin>
#include <QJsonDocument>
#include <QMetaEnum>
#include <QWidget>
#include <algorithm>
#include <cerrno>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace quillorn::tests {

namespace {

QString pointerShape() {
    const QCursor* const cursor = QGuiApplication::overrideCursor();
    if (cursor == nullptr) {
        return QStringLiteral("usual");
    }
    switch (cursor->shape()) {
    case Qt::DragCopyCursor:
        return QStringLiteral("welcome");
    case Qt::ForbiddenCursor:
        return QStringLiteral("refused");
    default:
        return QStringLiteral("other");
    }
}

void sendAll(int descriptor, std::string_view data) {
    while (!data.empty()) {
        const ssize_t sent = ::send(descriptor, data.data(), data.size(), MSG_NOSIGNAL);
        if (sent < 0 && errno != EINTR) {
            return; // whoever asked is gone
        }
        data.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
    }
}

} // namespace

Observer::Observer(std::string socketPath) : m_socketPath(std::move(socketPath)) {
    // Plugins are made before the application is ready for anything.
    QMetaObject::invokeMethod(this, &Observer::listen, Qt::QueuedConnection);
}

void Observer::listen() {
    qApp->installEventFilter(this);
    m_socket = FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (!m_socket.isOpen() || m_socketPath.size() >= sizeof address.sun_path) {
        qFatal("the observer has no socket");
    }
    std::ranges::copy(m_socketPath, std::begin(address.sun_path));
    ::unlink(m_socketPath.c_str());
    constexpr int waiting = 8;
    if (::bind(m_socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(m_socket.get(), waiting) != 0) {
        qFatal("the observer cannot use %s", m_socketPath.c_str());
    }
    m_notifier = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &Observer::answer);
}

bool Observer::eventFilter(QObject* watched, QEvent* event) {
    if (auto* const widget = qobject_cast<QWidget*>(watched)) {
        if (event->type() == QEvent::DragEnter || event->type() == QEvent::DragMove) {
            const auto& drag = *static_cast<QDragMoveEvent*>(event);
            m_dragPosition = widget->mapToGlobal(drag.position().toPoint());
        } else if (event->type() == QEvent::DragLeave || event->type() == QEvent::Drop) {
            m_dragPosition.reset();
        }
    }
    return QObject::eventFilter(watched, event);
}

void Observer::answer() {
    const FileDescriptor peer(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (peer.isOpen()) {
        const QByteArray text = QJsonDocument(everything()).toJson(QJsonDocument::Compact);
        sendAll(peer.get(), {text.data(), static_cast<std::size_t>(text.size())});
    }
}

void Observer::describe(QAccessibleInterface& node, const QString& window, const QString& list,
                        QJsonArray& nodes) const {
    const QAccessible::State state = node.state();
    if (!node.isValid() || state.invisible) {
        return;
    }
    const QRect place = node.rect();
    const QAccessible::Role role = node.role();
    nodes.append(
        QJsonObject{{QStringLiteral("window"), window},
                    {QStringLiteral("list"), list},
                    {QStringLiteral("role"),
                     QLatin1String(QMetaEnum::fromType<QAccessible::Role>().valueToKey(role))},
                    {QStringLiteral("name"), node.text(QAccessible::Name)},
                    {QStringLiteral("value"), node.text(QAccessible::Value)},
                    {QStringLiteral("x"), place.x()},
                    {QStringLiteral("y"), place.y()},
                    {QStringLiteral("width"), place.width()},
                    {QStringLiteral("height"), place.height()},
                    {QStringLiteral("enabled"), !state.disabled},
                    {QStringLiteral("selected"), static_cast<bool>(state.selected)},
                    {QStringLiteral("focused"), static_cast<bool>(state.focused)},
                    {QStringLiteral("active"), static_cast<bool>(state.active)},
                    {QStringLiteral("expanded"), static_cast<bool>(state.expanded)}});
    const QString inside = role == QAccessible::List ? node.text(QAccessible::Name) : list;
    for (int i = 0; i < node.childCount(); ++i) {
        QAccessibleInterface* const child = node.child(i);
        // Windows of their own are told as such.
        const auto* const widget =
            child != nullptr ? qobject_cast<QWidget*>(child->object()) : nullptr;
        if (child != nullptr && (widget == nullptr || !widget->isWindow())) {
            describe(*child, window, inside, nodes);
        }
    }
}

QJsonObject Observer::everything() const {
    QJsonArray nodes;
    for (QWidget* const widget : QApplication::topLevelWidgets()) {
        QAccessibleInterface* const window =
            widget->isVisible() ? QAccessible::queryAccessibleInterface(widget) : nullptr;
        if (window != nullptr) {
            describe(*window, widget->objectName(), {}, nodes);
        }
    }
    QJsonObject all{{QStringLiteral("nodes"), nodes}, {QStringLiteral("pointer"), pointerShape()}};
    if (m_dragPosition) {
        all.insert(QStringLiteral("dragPosition"),
                   QJsonArray{m_dragPosition->x(), m_dragPosition->y()});
    }
    return all;
}

/// What Qt loads: "quillornobserver:PATH-OF-THE-SOCKET".
class ObserverPlugin final : public QGenericPlugin {
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "observer.json")

public:
    QObject* create(const QString& /*name*/, const QString& settings) override {
        // The application object deletes it.
        return std::make_unique<Observer>(settings.toStdString()).release();
    }
};

} // namespace quillorn::tests

#include "Observer.moc"
