#pragma once

#include "app/WindowProgram.h"
#include "tests/fakes/TemporaryFolder.h"

#include <QDialog>
#include <QPoint>
#include <QPointer>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quillorn::tests {

/// Leads the window through its states and takes a picture of each. What does not come about is
/// told on standard error and counted.
class Photographer {
public:
    /// `files` are at least two documents that open without a question.
    Photographer(std::filesystem::path folder, std::vector<std::string> files);

    /// Returns how many pictures could not be taken.
    [[nodiscard]] int run();

private:
    /// A window that a command opens: its object's name, the picture's, and what the user does
    /// then. Without an act it is closed.
    struct Scene {
        std::string window;
        std::string picture;
        std::function<void(QDialog&)> act = {};
    };

    MainWindow& window() { return m_program->window(); }
    WindowMenus& menus() { return m_program->window().menus(); }
    PaneBrowser& source() { return window().sourcePane().browser(); }
    PaneBrowser& output() { return window().outputPane().browser(); }

    void fail(const std::string& what);
    void waitFor(const std::string& what, const std::function<bool()>& condition);
    /// Until the window has done what was put off until later, such as its title or a layout.
    void catchUp();
    /// Until everything was read and shows its pictures, and nothing moves any more.
    void settle();
    void take(const std::string& name, QWidget* widget = nullptr);
    void save(const std::string& name, const QPixmap& picture);
    /// Runs a command that opens windows, one after the other or one from the other.
    void play(std::vector<Scene> scenes, const std::function<void()>& command);
    void enact();
    [[nodiscard]] QDialog* findScene();
    /// A file that this program makes.
    [[nodiscard]] std::string made(const std::string& name) const { return m_made / name; }
    [[nodiscard]] QPoint middleOf(PaneBrowser& browser, std::size_t item);

    void start();
    void fill();
    void compose();
    void selectWithBand();
    void dragFiles();
    void dragPages(const std::string& picture, PaneBrowser& from, std::size_t item,
                   const std::function<QPoint()>& place);
    void drags();
    void openMenus();
    void preview();
    void naming();
    void saving();
    void passwords();
    void importing();
    void plainDialogs();
    void sizes();
    void fullOutputs();

    std::filesystem::path m_folder;
    std::vector<std::string> m_files;
    const TemporaryFolder m_home;
    const TemporaryFolder m_made;
    std::unique_ptr<WindowProgram> m_program;
    std::vector<Scene> m_scenes; ///< that are to come
    QPointer<QDialog> m_seen;    ///< at the last look
    int m_failures = 0;
};

} // namespace quillorn::tests
