#pragma once

#include "platform/ui/Controls.h"

#include <QAbstractButton>
#include <QAction>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QSlider>
#include <functional>
#include <string>
#include <vector>

namespace quillorn {

// The controls of a window over Qt's widgets. Widgets are not owned: their parents do. What is made
// late, like a dialog, is attached when it is there; until then its state waits here.

/// An entry of a menu.
class ActionMenuItem final : public MenuItem {
public:
    explicit ActionMenuItem(QAction& action) : m_action(&action) {}
    void setEnabled(bool enabled) override;
    [[nodiscard]] bool isEnabled() const override { return m_action && m_action->isEnabled(); }
    void setHidden(bool hidden) override;
    [[nodiscard]] bool isHidden() const override { return !m_action || !m_action->isVisible(); }
    void setTitle(const std::string& title) override;

private:
    QPointer<QAction> m_action;
};

/// A button whose title is its text.
class WidgetButton final : public Button {
public:
    explicit WidgetButton(QAbstractButton& button) : m_button(&button) {}
    void setEnabled(bool enabled) override;
    [[nodiscard]] bool isEnabled() const override;
    void setTitle(const std::string& title) override;
    [[nodiscard]] std::string title() const override;
    [[nodiscard]] QAbstractButton* widget() const { return m_button; }

private:
    QPointer<QAbstractButton> m_button;
};

/// A button that keeps its title itself and has it shown by somebody else, for example shortened.
class TitledButton final : public Button {
public:
    /// `changed` is called after each change.
    void setChanged(std::function<void()> changed) { m_changed = std::move(changed); }
    void setEnabled(bool enabled) override;
    [[nodiscard]] bool isEnabled() const override { return m_isEnabled; }
    void setTitle(const std::string& title) override;
    [[nodiscard]] std::string title() const override { return m_title; }

private:
    std::string m_title;
    bool m_isEnabled = true;
    std::function<void()> m_changed;
};

/// A slider from 0 to 1. It keeps the exact value that was set, which may lie beyond the bounds.
class WidgetSlider final : public Slider {
public:
    /// The slider gets its range here. `moved` is called when the user moves it.
    WidgetSlider(QSlider& slider, float value, std::function<void()> moved);
    [[nodiscard]] double minValue() const override { return 0; }
    [[nodiscard]] double maxValue() const override { return 1; }
    [[nodiscard]] float floatValue() const override { return m_value; }
    void setFloatValue(float value) override;

private:
    static constexpr int steps = 1000;

    QPointer<QSlider> m_slider;
    float m_value;
};

/// A text that one line edit shows, or several alike.
class WidgetTextField final : public TextField {
public:
    explicit WidgetTextField(std::string value = {}) : m_value(std::move(value)) {}
    void attach(QLineEdit& edit);
    [[nodiscard]] std::string stringValue() const override { return m_value; }
    void setStringValue(const std::string& value) override;

private:
    std::string m_value;
    std::vector<QPointer<QLineEdit>> m_edits;
};

/// A label that may be made after its text is known.
class WidgetLabel final : public Label {
public:
    void attach(QLabel& label);
    void setStringValue(const std::string& value) override;
    void setFontSize(double size, bool bold) override;

private:
    void show();

    std::string m_value;
    double m_fontSize = 0; ///< points; 0: as it is
    bool m_isBold = false;
    QPointer<QLabel> m_label;
};

} // namespace quillorn
