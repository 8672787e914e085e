#pragma once

#include <QLabel>
#include <QProgressBar>
#include <QTimer>
#include <QToolButton>
#include <QWidget>
#include <cstdint>
#include <map>
#include <stop_token>
#include <string>

namespace quillorn {

/// Tells in the window what goes on beside it, and lets the user cancel it. It appears when
/// something has taken a moment, so that short work does not make it flicker.
class ActivityPanel final : public QWidget {
    Q_OBJECT

public:
    explicit ActivityPanel(QWidget* parent = nullptr);

    /// Something began. Cancelling stops `stop`. Returns its number.
    std::uint64_t begin(const std::string& text, std::stop_source stop);
    /// It goes on with something else.
    void setText(std::uint64_t activity, const std::string& text);
    void end(std::uint64_t activity);
    [[nodiscard]] bool isIdle() const { return m_activities.empty(); }
    /// Stops everything that is under way.
    void cancelAll();

signals:
    void idleChanged();

private:
    struct Activity {
        std::string text;
        std::stop_source stop;
    };

    void refresh();

    std::map<std::uint64_t, Activity> m_activities; ///< the newest last
    std::uint64_t m_next = 1;
    QLabel* m_label;
    QProgressBar* m_bar;
    QToolButton* m_cancel;
    QTimer m_appear;
    QTimer m_vanish;
};

} // namespace quillorn
