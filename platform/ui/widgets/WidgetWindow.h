#pragma once

#include "platform/ui/Window.h"

#include <QMainWindow>
#include <QObject>
#include <QPointer>
#include <QRect>
#include <QSplitter>
#include <QToolBar>
#include <functional>
#include <memory>

namespace quillorn {

/// Where a window goes that is to have `frame` on a screen with this geometry: all of it into
/// `room`, which is what the desktop leaves of the screen, smaller where it must be.
[[nodiscard]] QRect placedOnScreen(const WindowFrame& frame, const QRect& screen,
                                   const QRect& room);

/// A main window as its controllers see it.
class WidgetWindow final : public Window {
public:
    /// `fullScreenAllowed` is called when the window may fill the screen.
    WidgetWindow(QMainWindow& window, std::function<void()> fullScreenAllowed)
        : m_window(window), m_fullScreenAllowed(std::move(fullScreenAllowed)) {}
    /// `installed` is called for each toolbar, once it has its items.
    void setToolbarInstalled(std::function<void(QToolBar&)> installed) {
        m_toolbarInstalled = std::move(installed);
    }

    /// From the corner of the screen that the window is on.
    [[nodiscard]] WindowFrame frame() const override;
    /// Without animation, and no larger than the screen has room for. A window that fills the
    /// screen has the frame once it no longer does.
    void setFrame(const WindowFrame& frame, bool animate) override;
    void setMinSize(const WindowSize& size) override;
    void allowFullScreen() override { m_fullScreenAllowed(); }
    void setToolbar(const Toolbar& toolbar, ToolbarDelegate& delegate) override;
    /// Null until there is one.
    [[nodiscard]] QToolBar* toolbar() const { return m_toolbar; }

private:
    void setFrameLater(const WindowFrame& frame);

    QMainWindow& m_window;
    std::unique_ptr<QObject> m_whileItFillsTheScreen; ///< waits for the end of that; else null
    std::function<void()> m_fullScreenAllowed;
    std::function<void(QToolBar&)> m_toolbarInstalled;
    QPointer<QToolBar> m_toolbar;
};

/// Two panes with a handle between. Layouts give it its place, so frames are not followed.
class WidgetSplitView final : public SplitView {
public:
    explicit WidgetSplitView(QSplitter& splitter) : m_splitter(splitter) {}
    void setPositionOfDivider(double position, std::size_t divider) override;
    void setDividerStyle(DividerStyle style) override;
    void setFrame(const WindowFrame& frame) override;

private:
    QSplitter& m_splitter;
};

/// The screen that a window is on; the first one before it is shown.
class WidgetScreen final : public Screen {
public:
    explicit WidgetScreen(QWidget& window) : m_window(window) {}
    [[nodiscard]] WindowFrame frame() const override;

private:
    QWidget& m_window;
};

} // namespace quillorn
