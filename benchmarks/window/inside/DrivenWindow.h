#pragma once

#include "app/WindowProgram.h"

#include <QObject>
#include <QTimer>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace bench {

using Clock = std::chrono::steady_clock;

inline double milliseconds(Clock::duration duration) {
    return std::chrono::duration<double, std::milli>(duration).count();
}

/// The whole program behind its real window, which a benchmark drives as a user would, in a home
/// folder of its own. What takes too long ends the benchmark with std::runtime_error, and an alert
/// ends the process: none belongs to what is measured, and nobody is there to answer it.
class DrivenWindow : public QObject {
public:
    /// Shows the window and waits until it is painted. The environment's HOME is `home`.
    explicit DrivenWindow(const std::filesystem::path& home);
    ~DrivenWindow() override;

    [[nodiscard]] quillorn::WindowProgram& program() { return *m_program; }
    [[nodiscard]] quillorn::MainWindow& window() { return m_program->window(); }
    [[nodiscard]] quillorn::WindowMenus& menus() { return window().menus(); }
    [[nodiscard]] quillorn::PaneBrowser& source() { return window().sourcePane().browser(); }
    [[nodiscard]] quillorn::PaneBrowser& output() { return window().outputPane().browser(); }

    /// Runs the event loop until the condition is met, which is looked at after every event.
    static void waitFor(const std::string& what, const std::function<bool()>& condition);
    /// Takes files in and waits until they stand in the source pane.
    void open(const std::vector<std::string>& paths);
    /// Waits until everything that can be seen of a browser has its picture, on the display.
    static void waitForPictures(quillorn::PaneBrowser& browser);

    /// The milliseconds that a change takes, from its begin until the browser's new picture is on
    /// the display.
    double timeToPainted(quillorn::PaneBrowser& browser, const std::function<void()>& change);
    /// What is on its way to the display gets there.
    static void flush();
    /// Selects items from `first` up to, but without, `end`.
    static void select(quillorn::PaneBrowser& browser, std::size_t first, std::size_t end);

protected:
    bool eventFilter(QObject* object, QEvent* event) override;

private:
    static void endOnAlert();

    std::unique_ptr<quillorn::WindowProgram> m_program;
    QTimer m_alertTimer;
    QObject* m_watched = nullptr; ///< whose paint events are counted
    std::size_t m_painted = 0;
};

} // namespace bench
