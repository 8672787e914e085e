#pragma once

#include "platform/files/FileDescriptor.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QObject>
#include <QPoint>
#include <QSocketNotifier>
#include <memory>
#include <optional>
#include <string>

class QAccessibleInterface;

namespace quillorn::tests {

/// Sits in a running program and tells whoever connects to its socket what a screen reader would
/// find in the windows: roles, names, places, states. It changes nothing.
///
/// What it tells is one JSON object: "nodes" (see `describe`), and of a drag under way "pointer"
/// (whether it says that a drop is welcome) and "dragPosition" (where the program was told that
/// the drag is).
class Observer final : public QObject {
    Q_OBJECT

public:
    explicit Observer(std::string socketPath);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void listen();
    void answer();
    void describe(QAccessibleInterface& node, const QString& window, const QString& list,
                  QJsonArray& nodes) const;
    [[nodiscard]] QJsonObject everything() const;

    std::string m_socketPath;
    FileDescriptor m_socket;
    std::unique_ptr<QSocketNotifier> m_notifier;
    std::optional<QPoint> m_dragPosition; ///< of the screen
};

} // namespace quillorn::tests
