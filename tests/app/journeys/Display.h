#pragma once

#include "tests/fakes/Program.h"
#include "tests/fakes/TemporaryFolder.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {

/// A place on the screen, in its pixels.
struct Place {
    int x = 0;
    int y = 0;
    bool operator==(const Place&) const = default;
};

/// An X server of its own with a window manager, and the hands of a user on its mouse and keys:
/// events come to programs as those of real devices do. The home folder is the window manager's.
class Display {
public:
    /// Throws std::runtime_error where it does not come up.
    explicit Display(const std::string& homeFolder);
    ~Display();
    Display(const Display&) = delete;
    Display& operator=(const Display&) = delete;

    /// Gives a program what it needs to show itself here and nowhere else.
    Program& shown(Program& program) const;

    void movePointer(Place place) const;
    void press(const std::string& modifier = {}) const;
    void release(const std::string& modifier = {}) const;
    void click(Place place, const std::string& modifier = {}) const;
    /// By one step, down or (-1) up.
    void turnWheel(Place place, int direction) const;
    /// Keys by their X names, with modifiers: "ctrl+s", "Return".
    void key(const std::string& keys) const;
    void type(const std::string& text) const;
    /// Writes a picture of the whole screen.
    void photograph(const std::string& file) const;

private:
    void user(std::vector<std::string> words) const;

    const TemporaryFolder m_folder;
    std::string m_name; ///< ":7"
    std::optional<RunningProgram> m_server;
    std::optional<RunningProgram> m_windowManager;
};

} // namespace quillorn::tests
