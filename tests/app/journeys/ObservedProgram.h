#pragma once

#include "tests/app/journeys/Display.h"
#include "tests/fakes/Program.h"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {

/// Something in a window, as a screen reader is told of it. Items and headers of a pane have the
/// pane's name as their list.
struct Seen {
    std::string window; ///< the object's name
    std::string list;
    std::string role; ///< "Button", "ListItem", ...
    std::string name;
    std::string value;
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    bool isEnabled = false;
    bool isSelected = false;
    bool isFocused = false;
    bool isActive = false;
    bool isExpanded = false;

    [[nodiscard]] Place middle() const { return {x + width / 2, y + height / 2}; }
    /// A little before or behind it, where what is dropped goes between it and its neighbour.
    [[nodiscard]] Place behind() const { return {x + width - 3, y + height / 2}; }
};

/// Everything that is seen at one moment.
struct Sight {
    std::vector<Seen> nodes;
    std::string pointer; ///< "usual"; during a drag "welcome" or "refused"
    std::optional<Place> dragPosition;

    /// All that meet a condition.
    [[nodiscard]] std::vector<Seen> all(const std::function<bool(const Seen&)>& condition) const;
    /// The names of headers ("Button") or items ("ListItem") of a pane, from top to bottom.
    [[nodiscard]] std::vector<std::string> namesIn(const std::string& list,
                                                   const std::string& role) const;
    /// The one whose name begins so, in a window, or in a pane where `list` is not empty.
    [[nodiscard]] std::optional<Seen> find(const std::string& window, const std::string& role,
                                           const std::string& name,
                                           const std::string& list = {}) const;
};

/// A program on a display that tells what its windows show.
class ObservedProgram {
public:
    /// `name` tells its sockets from others'; `folder` holds them.
    ObservedProgram(const Display& display, Program program, const std::filesystem::path& folder,
                    const std::string& name);

    /// What is seen now; nothing where it does not answer yet or has ended.
    [[nodiscard]] std::optional<Sight> look() const;
    RunningProgram& process() { return m_process; }

private:
    static RunningProgram start(const Display& display, Program& program,
                                const std::filesystem::path& socket);

    std::filesystem::path m_socket;
    RunningProgram m_process;
};

} // namespace quillorn::tests
