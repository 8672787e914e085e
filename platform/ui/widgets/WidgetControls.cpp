#include "platform/ui/widgets/WidgetControls.h"

#include "platform/ui/widgets/InputGuard.h"
#include "platform/ui/widgets/WidgetText.h"

#include <QFont>
#include <QObject>
#include <QSignalBlocker>
#include <algorithm>
#include <cmath>
#include <utility>

namespace quillorn {

void ActionMenuItem::setEnabled(bool enabled) {
    if (m_action) {
        m_action->setEnabled(enabled);
    }
}

void ActionMenuItem::setHidden(bool hidden) {
    if (m_action) {
        m_action->setVisible(!hidden);
    }
}

void ActionMenuItem::setTitle(const std::string& title) {
    if (m_action) {
        m_action->setText(toQStringWithoutMnemonic(title));
    }
}

void WidgetButton::setEnabled(bool enabled) {
    if (m_button) {
        m_button->setEnabled(enabled);
    }
}

bool WidgetButton::isEnabled() const {
    const QAbstractButton* const button = m_button.data();
    return button != nullptr && button->isEnabled();
}

void WidgetButton::setTitle(const std::string& title) {
    if (m_button) {
        m_button->setText(toQStringWithoutMnemonic(title));
    }
}

std::string WidgetButton::title() const {
    return m_button
               ? m_button->text().replace(QLatin1String("&&"), QLatin1String("&")).toStdString()
               : std::string();
}

void TitledButton::setEnabled(bool enabled) {
    m_isEnabled = enabled;
    if (m_changed) {
        m_changed();
    }
}

void TitledButton::setTitle(const std::string& title) {
    m_title = title;
    if (m_changed) {
        m_changed();
    }
}

WidgetSlider::WidgetSlider(QSlider& slider, float value, std::function<void()> moved)
    : m_slider(&slider), m_value(value) {
    slider.setRange(0, steps);
    slider.setSingleStep(steps / 20);
    slider.setPageStep(steps / 10);
    setFloatValue(value);
    QObject::connect(&slider, &QSlider::valueChanged, &slider,
                     [this, &slider, moved = std::move(moved)](int position) {
                         if (!InputGuard::takesInput(slider)) {
                             setFloatValue(m_value); // back to where it was
                             return;
                         }
                         m_value = static_cast<float>(position) / steps;
                         moved();
                     });
}

void WidgetSlider::setFloatValue(float value) {
    m_value = value;
    if (m_slider) {
        const QSignalBlocker blocker(*m_slider);
        const float shown = std::clamp(value, 0.0F, 1.0F);
        m_slider->setValue(static_cast<int>(std::lround(shown * steps)));
    }
}

void WidgetTextField::attach(QLineEdit& edit) {
    edit.setText(toQString(m_value));
    m_edits.emplace_back(&edit);
    QObject::connect(&edit, &QLineEdit::textChanged, &edit,
                     [this](const QString& text) { setStringValue(text.toStdString()); });
}

void WidgetTextField::setStringValue(const std::string& value) {
    m_value = value;
    const QString text = toQString(value);
    for (const QPointer<QLineEdit>& edit : m_edits) {
        if (edit && edit->text() != text) {
            edit->setText(text);
        }
    }
}

void WidgetLabel::attach(QLabel& label) {
    m_label = &label;
    label.setTextFormat(Qt::PlainText);
    show();
}

void WidgetLabel::setStringValue(const std::string& value) {
    m_value = value;
    show();
}

void WidgetLabel::setFontSize(double size, bool bold) {
    m_fontSize = size;
    m_isBold = bold;
    show();
}

void WidgetLabel::show() {
    if (!m_label) {
        return;
    }
    m_label->setText(toQString(m_value));
    if (m_fontSize > 0) {
        QFont font = m_label->font();
        font.setPointSizeF(m_fontSize);
        font.setBold(m_isBold);
        m_label->setFont(font);
    }
}

} // namespace quillorn
