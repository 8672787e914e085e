#pragma once

#include <string>

namespace quillorn {

// The states of the window's controls that its controllers read and set. Each is implemented by
// the shell over a widget or an action, and belongs to the thread of the window.

/// Something that can be used or not.
class Control {
public:
    virtual ~Control() = default;
    virtual void setEnabled(bool enabled) = 0;
    [[nodiscard]] virtual bool isEnabled() const = 0;
};

/// An entry of a menu.
class MenuItem : public Control {
public:
    virtual void setHidden(bool hidden) = 0;
    [[nodiscard]] virtual bool isHidden() const = 0;
    virtual void setTitle(const std::string& title) = 0;
};

class Button : public Control {
public:
    virtual void setTitle(const std::string& title) = 0;
    [[nodiscard]] virtual std::string title() const = 0;
};

/// A value between two bounds. A value beyond them is kept, and shown as the nearest bound.
class Slider {
public:
    virtual ~Slider() = default;
    [[nodiscard]] virtual double minValue() const = 0;
    [[nodiscard]] virtual double maxValue() const = 0;
    [[nodiscard]] virtual float floatValue() const = 0;
    virtual void setFloatValue(float value) = 0;
};

/// A line of text that the user edits, secret or not.
class TextField {
public:
    virtual ~TextField() = default;
    [[nodiscard]] virtual std::string stringValue() const = 0; ///< UTF-8
    virtual void setStringValue(const std::string& value) = 0;
};

/// A text that stands somewhere.
class Label {
public:
    virtual ~Label() = default;
    virtual void setStringValue(const std::string& value) = 0;
    /// The same face in another size, in points.
    virtual void setFontSize(double size, bool bold) = 0;
};

} // namespace quillorn
