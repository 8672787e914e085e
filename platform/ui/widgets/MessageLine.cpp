#include "platform/ui/widgets/MessageLine.h"

#include "platform/ui/widgets/InputGuard.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QAccessible>
#include <QDialog>
#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QResizeEvent>
#include <QScrollBar>
#include <QVBoxLayout>

namespace quillorn {

namespace {

constexpr qsizetype keptMessages = 500;
constexpr int labelMargin = 6;      // logical pixels, as the headings of the panes
constexpr QSize listSize(520, 260); // logical pixels

} // namespace

MessageLine::MessageLine(QWidget* parent)
    : QWidget(parent), m_label(new QLabel(this)), m_button(new QToolButton(this)) {
    setObjectName(QStringLiteral("messageLine"));
    auto* const layout = new QHBoxLayout(this);
    layout->setContentsMargins(labelMargin, 0, 0, 0);
    layout->addWidget(m_label, 1);
    layout->addWidget(m_button);
    m_label->setTextFormat(Qt::PlainText);
    m_label->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    m_label->setAccessibleName(tr("Latest message"));
    m_button->setAutoRaise(true);
    m_button->setFocusPolicy(Qt::TabFocus);
    m_button->setToolTip(tr("Show all messages"));
    connect(m_button, &QToolButton::clicked, this,
            whileTakingInput(*this, [this]() { showMessages(); }));
    m_button->hide();
}

void MessageLine::showMessage(const std::string& text) {
    m_messages.append(shownText(text));
    if (m_messages.size() > keptMessages) {
        m_messages.removeFirst();
        ++m_dropped;
    }
    const auto count = static_cast<int>(m_messages.size()) + m_dropped;
    m_button->setText(tr("Messages (%1)").arg(count));
    m_button->show();
    refresh();
    QAccessibleEvent event(m_label, QAccessible::NameChanged);
    QAccessible::updateAccessibility(&event);
}

void MessageLine::showMessages() {
    auto* const dialog = new QDialog(window()); // its parent's, until it is closed
    dialog->setObjectName(QStringLiteral("messages"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setWindowTitle(tr("Messages"));
    dialog->resize(listSize);
    auto* const list = new QPlainTextEdit(m_messages.join(QLatin1Char('\n')), dialog);
    list->setReadOnly(true);
    list->setAccessibleName(tr("All messages, oldest first"));
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close, dialog);
    auto* const layout = new QVBoxLayout(dialog);
    layout->addWidget(list);
    layout->addWidget(buttons);
    connect(buttons, &QDialogButtonBox::rejected, dialog, &QDialog::reject);
    dialog->show();
    list->verticalScrollBar()->setValue(list->verticalScrollBar()->maximum());
}

void MessageLine::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    refresh();
}

void MessageLine::refresh() {
    const QString text = m_messages.isEmpty() ? QString() : m_messages.last();
    m_label->setText(m_label->fontMetrics().elidedText(text, Qt::ElideRight, m_label->width()));
    m_label->setToolTip(text);
    m_label->setAccessibleDescription(text);
}

} // namespace quillorn
