#pragma once

#include <QObject>
#include <QPointer>
#include <QWindow>
#include <utility>
#include <vector>

class QEvent;
class QWidget;

namespace quillorn {

/// While it lives, the windows that were open when it was made take no input: keys, clicks and
/// drops on them are dropped, and they do not close. They go on painting, and windows that open
/// meanwhile, like an alert, work.
///
/// Not everything that a user does comes as input: a screen reader, a voice or a menu bar that the
/// desktop shows calls actions and buttons themselves, where nothing can be dropped on the way. So
/// commands ask `takesInput` before they begin, most of them by `whileTakingInput`.
class InputGuard final : public QObject {
    Q_OBJECT

public:
    InputGuard();
    ~InputGuard() override;

    /// Marks a window that takes input in any case.
    static void letThrough(QWidget& window);
    /// Whether the window of a widget takes input now: no guard is on it, and no modal window
    /// stands before it.
    [[nodiscard]] static bool takesInput(const QWidget& widget);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    [[nodiscard]] bool isBlocked(const QObject& object) const;

    std::vector<QPointer<QWidget>> m_windows;
};

/// A command of a window as a slot: it does nothing while the window of `widget`, which outlives
/// it, takes no input.
template <typename Command>
[[nodiscard]] auto whileTakingInput(const QWidget& widget, Command command) {
    return [&widget, command = std::move(command)]() {
        if (InputGuard::takesInput(widget)) {
            command();
        }
    };
}

} // namespace quillorn
