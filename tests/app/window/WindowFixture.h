#pragma once

#include "app/WindowProgram.h"
#include "tests/fakes/Environment.h"
#include "tests/fakes/MemoryPreferences.h"
#include "tests/fakes/TemporaryFolder.h"

#include <QDialog>
#include <QPoint>
#include <QWidget>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace quillorn::tests {

/// The whole program behind a real window without a screen, in a home folder of its own. What
/// opens folders is a script that notes what it is asked for.
class WindowFixture : public testing::Test {
protected:
    using Texts = std::vector<std::string>;

    WindowFixture();
    ~WindowFixture() override;

    /// Starts the program, shows its window and waits until it is painted.
    void start();
    /// Ends it, as the end of the process would.
    void stop() { m_program.reset(); }
    /// What the program has remembered so far.
    [[nodiscard]] std::map<std::string, std::string, std::less<>> preferencesNow() const {
        return m_preferences->m_values;
    }
    [[nodiscard]] WindowProgram& program() { return *m_program; }
    [[nodiscard]] MainWindow& window() { return m_program->window(); }
    [[nodiscard]] WindowMenus& menus() { return m_program->window().menus(); }
    [[nodiscard]] PaneBrowser& sourceBrowser() { return window().sourcePane().browser(); }
    [[nodiscard]] PaneBrowser& outputBrowser() { return window().outputPane().browser(); }

    /// A PDF whose pages say "Page k of NAME".
    [[nodiscard]] std::string pdf(const std::string& name, std::size_t pages) const;
    /// A PDF that opens with "user" and can be used with "owner".
    [[nodiscard]] std::string lockedPDF(const std::string& name) const;
    /// A small picture.
    [[nodiscard]] std::string picture(const std::string& name) const;

    /// Runs the event loop until the condition is met. Fails the test when it takes too long.
    void waitFor(const char* what, const std::function<bool()>& condition);
    /// Takes files in and waits for them.
    void open(const Texts& paths);
    /// Makes output groups of whole files by the commands for keys.
    void addAllToOutput();

    /// What the user does to the next window of this name: done once it is shown. Several are
    /// done in the order of the calls.
    void whenShown(const std::string& name, std::function<void(QDialog&)> user);
    /// The text of the next message; it is answered with the button of this text.
    void answerAlert(const std::string& button, std::string* text = nullptr);
    /// Whether everything that was scripted has happened.
    [[nodiscard]] bool allShown() const { return m_scripts.empty(); }

    /// Drops files on a widget's browser, at its middle.
    bool dropFiles(PaneBrowser& browser, const Texts& paths);
    /// The middle of an item's cell, in pixels of the viewport.
    [[nodiscard]] static QPoint middleOf(PaneBrowser& browser, std::size_t item);

    [[nodiscard]] Texts sourceTitles();
    [[nodiscard]] Texts outputTitles();
    /// The titles of pages of one output group.
    [[nodiscard]] Texts pagesOf(std::size_t group);
    /// What the desktop was asked to open.
    [[nodiscard]] Texts openedByDesktop() const;

    const TemporaryFolder folders;
    const std::filesystem::path home = folders / "home";
    const std::filesystem::path files = folders / "files";
    const std::filesystem::path outputFolder = home / "Movies/Quillorn Folivane";
    const std::filesystem::path cache = home / "Library/Caches/Quillorn Folivane";
    std::map<std::string, std::string, std::less<>> preferencesAtStart;

private:
    struct Script {
        std::string name;
        std::function<void(QDialog&)> user;
    };

    void runScripts();
    void lookSoon();

    EnvironmentVariable m_path;
    std::vector<Script> m_scripts;
    QObject m_context; ///< of the timers
    std::unique_ptr<WindowProgram> m_program;
    MemoryPreferences* m_preferences = nullptr; ///< the program's
};

/// Types into a line of a dialog, replacing what is there.
void type(QDialog& dialog, const char* line, const std::string& text);
/// Clicks a button of a dialog by its text, or by the name "confirm".
void click(QDialog& dialog, const std::string& button);

} // namespace quillorn::tests
