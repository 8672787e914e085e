#pragma once

#include <QObject>
#include <QPointer>
#include <QWindow>
#include <vector>

class QEvent;
class QWidget;

namespace quillorn {

/// While it lives, the windows that were open when it was made take no input: keys, clicks and
/// drops on them are dropped, and they do not close. They go on painting, and windows that open
/// meanwhile, like an alert, work.
class InputGuard final : public QObject {
    Q_OBJECT

public:
    InputGuard();
    ~InputGuard() override;

    /// Marks a window that takes input in any case.
    static void letThrough(QWidget& window);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isBlocked(const QObject& object) const;

    std::vector<QPointer<QWidget>> m_windows;
};

} // namespace quillorn
