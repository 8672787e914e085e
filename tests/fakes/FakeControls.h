#pragma once

#include "platform/ui/Controls.h"
#include "platform/ui/Sheet.h"
#include "platform/ui/StatusLine.h"
#include "platform/ui/Toolbar.h"
#include "platform/ui/Window.h"
#include "platform/ui/Workspace.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quillorn::tests {

// Controls that only remember. Public members are what a test sets or looks at.

class FakeMenuItem final : public MenuItem {
public:
    void setEnabled(bool enabled) override { m_enabled = enabled; }
    [[nodiscard]] bool isEnabled() const override { return m_enabled; }
    void setHidden(bool hidden) override { m_hidden = hidden; }
    [[nodiscard]] bool isHidden() const override { return m_hidden; }
    void setTitle(const std::string& title) override { m_title = title; }

    std::string m_title;

private:
    bool m_enabled = true;
    bool m_hidden = false;
};

class FakeButton final : public Button {
public:
    void setEnabled(bool enabled) override { m_enabled = enabled; }
    [[nodiscard]] bool isEnabled() const override { return m_enabled; }
    void setTitle(const std::string& title) override { m_titles.push_back(title); }
    [[nodiscard]] std::string title() const override {
        return m_titles.empty() ? std::string() : m_titles.back();
    }

    std::vector<std::string> m_titles; ///< all that it ever had

private:
    bool m_enabled = true;
};

class FakeSlider final : public Slider {
public:
    [[nodiscard]] double minValue() const override { return m_min; }
    [[nodiscard]] double maxValue() const override { return m_max; }
    [[nodiscard]] float floatValue() const override { return m_value; }
    void setFloatValue(float value) override { m_value = value; }

    double m_min = 0;
    double m_max = 1;
    float m_value = 0.5F;
};

class FakeTextField final : public TextField {
public:
    [[nodiscard]] std::string stringValue() const override { return m_value; }
    void setStringValue(const std::string& value) override { m_value = value; }

    std::string m_value;
};

class FakeLabel final : public Label {
public:
    void setStringValue(const std::string& value) override { m_value = value; }
    void setFontSize(double size, bool bold) override { m_font = {size, bold}; }

    std::string m_value;
    std::optional<std::pair<double, bool>> m_font;
};

/// A sheet whose user is a function of the test: it runs while the sheet is modal, and may press
/// the buttons by calling the controller.
class FakeSheet final : public Sheet {
public:
    void runModal() override;
    void stopModal() override;
    void orderOut() override { m_isShown = false; }

    std::function<void()> m_user;
    bool m_isShown = false;
    bool m_isModal = false;
    int m_runs = 0;
    int m_stops = 0;
    int m_idleStops = 0; ///< stops without a modal run
};

class FakeProgressSheet final : public ProgressSheet {
public:
    void begin(std::size_t maximum) override {
        m_log.push_back("begin " + std::to_string(maximum));
        if (m_user) {
            m_user();
        }
    }
    void setValue(std::size_t value) override { m_log.push_back(std::to_string(value)); }
    void end() override { m_log.emplace_back("end"); }

    std::vector<std::string> m_log;
    std::function<void()> m_user; ///< what the user does when it appears, if anything
};

class FakeStatusLine final : public StatusLine {
public:
    void showMessage(const std::string& text) override { m_messages.push_back(text); }

    std::vector<std::string> m_messages;
};

class FakeWorkspace final : public Workspace {
public:
    bool openFile(const std::string& path) override { return note("file " + path); }
    bool openFolder(const std::string& path) override { return note("folder " + path); }
    bool openURL(const std::string& url) override { return note("url " + url); }

    std::vector<std::string> m_opened;
    bool m_works = true;

private:
    bool note(const std::string& what) {
        m_opened.push_back(what);
        return m_works;
    }
};

class FakeWindow final : public Window {
public:
    [[nodiscard]] WindowFrame frame() const override { return m_frame; }
    void setFrame(const WindowFrame& frame, bool animate) override {
        m_frame = frame;
        m_animated = animate;
    }
    void setMinSize(const WindowSize& size) override { m_minSize = size; }
    void allowFullScreen() override { m_allowsFullScreen = true; }
    void setToolbar(const Toolbar& toolbar, ToolbarDelegate& delegate) override {
        m_toolbars.push_back(toolbar);
        m_toolbarDelegate = &delegate;
    }

    WindowFrame m_frame;
    bool m_animated = false;
    std::optional<WindowSize> m_minSize;
    bool m_allowsFullScreen = false;
    std::vector<Toolbar> m_toolbars;
    ToolbarDelegate* m_toolbarDelegate = nullptr;
};

class FakeSplitView final : public SplitView {
public:
    void setPositionOfDivider(double position, std::size_t divider) override {
        m_position = {position, divider};
    }
    void setDividerStyle(DividerStyle style) override { m_style = style; }
    void setFrame(const WindowFrame& frame) override { m_frame = frame; }

    std::optional<std::pair<double, std::size_t>> m_position;
    std::optional<DividerStyle> m_style;
    std::optional<WindowFrame> m_frame;
};

class FakeScreen final : public Screen {
public:
    [[nodiscard]] WindowFrame frame() const override { return m_frame; }
    WindowFrame m_frame{0, 0, 1440, 900};
};

} // namespace quillorn::tests
