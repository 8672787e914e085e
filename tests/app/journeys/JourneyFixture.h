#pragma once

#include "tests/app/journeys/Display.h"
#include "tests/app/journeys/ObservedProgram.h"
#include "tests/fakes/TemporaryFolder.h"

#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quillorn::tests {

/// The program on an X server of its own, led by mouse and keys alone. What goes on inside is
/// known only from what its windows show and what it writes.
///
/// Each step waits for what it needs, however long that takes; nothing waits for a time. With
/// QUILLORN_JOURNEY_PICTURES=FOLDER each step leaves a picture of the screen there.
class JourneyFixture : public testing::Test {
public:
    ~JourneyFixture() override;

protected:
    using Texts = std::vector<std::string>;
    /// A place that may not be there yet.
    using Whereabouts = std::function<std::optional<Place>(const Sight&)>;

    JourneyFixture();

    /// Starts the program and waits until its window can be used.
    void start(Texts words = {});
    /// The program with these words, to be run beside it.
    [[nodiscard]] Program program(Texts words) const;
    /// Waits for its end and returns its exit status.
    [[nodiscard]] int end();

    /// A PDF whose pages say "Page k of NAME".
    [[nodiscard]] std::string pdf(const std::string& name, std::size_t pages) const;

    /// Waits until the program shows something, and returns what is seen then.
    Sight waitFor(const std::string& what, const std::function<bool(const Sight&)>& condition);
    /// Waits for one thing; see Sight::find.
    Seen waitForNode(const std::string& window, const std::string& role, const std::string& name,
                     const std::string& list = {});
    Seen waitForItem(const std::string& list, const std::string& name) {
        return waitForNode("mainWindow", "ListItem", name, list);
    }
    /// The headers of a pane, or its pages, once there are so many.
    Texts headersOf(const std::string& list, std::size_t count);
    Texts pagesOf(const std::string& list, std::size_t count);
    /// Waits until a window has the keys.
    void waitForKeys(const std::string& window);
    /// Waits until a window has gone.
    void waitForNo(const std::string& window);

    void click(const std::string& window, const std::string& role, const std::string& name,
               const std::string& list = {}, const std::string& modifier = {});
    void key(const std::string& window, const std::string& keys);
    /// Replaces the text of the line that has the keys.
    void type(const std::string& window, const std::string& text);
    /// Opens a group whose pages are hidden.
    void expand(const std::string& list, const std::string& title);
    /// Drags with the mouse until the program says that a drop is welcome there, and lets go.
    void drag(Place from, const Whereabouts& to);
    void dragItem(const std::string& list, const std::string& name, const Whereabouts& to);
    /// Drags files from another program into the middle of a pane. Returns what that program
    /// says then.
    std::string dropFiles(const Texts& paths, const std::string& list);

    [[nodiscard]] static Whereabouts middleOfPane(const std::string& list);
    [[nodiscard]] static Whereabouts behindItem(const std::string& list, const std::string& name);

    /// Leaves a picture of the screen where one is wanted.
    void picture(const std::string& what);

    const TemporaryFolder folders;
    const std::filesystem::path home = folders / "home";
    const std::filesystem::path files = folders / "files";
    const std::filesystem::path outputFolder = home / "Movies/Quillorn Folivane";
    const std::filesystem::path cache = home / "Library/Caches/Quillorn Folivane";
    std::optional<Display> display;

private:
    void pull(const ObservedProgram& origin, Place from, const Whereabouts& to);

    std::optional<ObservedProgram> m_program;
    int m_pictures = 0;
    int m_sources = 0;
};

} // namespace quillorn::tests
