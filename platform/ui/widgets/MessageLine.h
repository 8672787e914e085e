#pragma once

#include "platform/ui/StatusLine.h"

#include <QLabel>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QToolButton>
#include <QWidget>
#include <string>

namespace quillorn {

/// The line at the foot of the window: what was told last, shortened where it is too long, and a
/// button that shows everything that was told before.
class MessageLine final : public QWidget, public StatusLine {
    Q_OBJECT

public:
    explicit MessageLine(QWidget* parent = nullptr);
    void showMessage(const std::string& text) override;
    /// Everything that was told, oldest first; a bounded number.
    [[nodiscard]] const QStringList& messages() const { return m_messages; }
    /// Opens the list of all messages.
    void showMessages();

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void refresh();

    QLabel* m_label;
    QToolButton* m_button;
    QStringList m_messages;
    int m_dropped = 0; ///< messages that are no longer kept
};

} // namespace quillorn
