#include "tests/app/journeys/JourneyFixture.h"

#include "tests/fakes/TestPDF.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>
#include <utility>

namespace quillorn::tests {

namespace {

constexpr int steps = 6; // of the pointer on its way

bool contains(const Seen& seen, Place place) {
    return place.x >= seen.x && place.x < seen.x + seen.width && place.y >= seen.y &&
           place.y < seen.y + seen.height;
}

std::string allOf(const Sight& sight) {
    std::string text;
    for (const Seen& seen : sight.nodes) {
        text += "\n  " + seen.window + " | " + seen.list + " | " + seen.role + " | " + seen.name +
                (seen.isSelected ? " (selected)" : "") + (seen.isFocused ? " (focused)" : "") +
                (seen.isActive ? " (active)" : "");
    }
    return text;
}

/// Whether a window has the keys, which only it says of itself.
bool isActive(const Sight& sight, const std::string& window) {
    return !sight.all([&](const Seen& seen) { return seen.window == window && seen.isActive; })
                .empty();
}

} // namespace

JourneyFixture::JourneyFixture() {
    for (const auto& folder : {home, files, folders / "bin", folders / "run"}) {
        std::filesystem::create_directory(folder);
    }
    std::filesystem::permissions(folders / "run", std::filesystem::perms::owner_all);
    // What would show the output folder notes what it is asked for.
    const std::filesystem::path opener = folders / "bin" / "xdg-open";
    writeFile(opener,
              "#!/bin/sh\nprintf '%s\\n' \"$1\" >>'" + (folders / "opened").string() + "'\n");
    std::filesystem::permissions(opener, std::filesystem::perms::owner_all);
    display.emplace(home.string());
}

JourneyFixture::~JourneyFixture() {
    if (HasFailure()) {
        picture("failed");
    }
    m_program.reset();
}

Program JourneyFixture::program(Texts words) const {
    Program program(QUILLORN_PROGRAM, std::move(words));
    program.inFolder(files)
        .with("HOME", home.string())
        .with("XDG_RUNTIME_DIR", (folders / "run").string())
        .with("XDG_CONFIG_HOME", std::nullopt)
        .with("PATH", (folders / "bin").string() + ":" + std::getenv("PATH"));
    display->shown(program);
    return program;
}

void JourneyFixture::start(Texts words) {
    m_program.emplace(*display, program(std::move(words)), folders.path(), "program");
    waitForKeys("mainWindow");
    picture("started");
}

int JourneyFixture::end() {
    const ProgramResult result = m_program->process().wait();
    if (!result.errors.empty()) {
        ADD_FAILURE() << "it said: " << result.errors;
    }
    m_program.reset();
    return result.status;
}

std::string JourneyFixture::pdf(const std::string& name, std::size_t pages) const {
    return TestPDF(name, pages).writeTo(files / name).string();
}

Sight JourneyFixture::waitFor(const std::string& what,
                              const std::function<bool(const Sight&)>& condition) {
    std::optional<Sight> sight;
    const bool isMet = waitUntil([&]() {
        sight = m_program->look();
        return sight && condition(*sight);
    });
    if (!isMet) {
        throw std::runtime_error("in vain: " + what + "; there is" +
                                 (sight ? allOf(*sight) : std::string(" no answer")));
    }
    return *sight;
}

Seen JourneyFixture::waitForNode(const std::string& window, const std::string& role,
                                 const std::string& name, const std::string& list) {
    const auto find = [&](const Sight& sight) { return sight.find(window, role, name, list); };
    const std::string what = role + " " + name + " in " + window + " " + list;
    if (list.empty()) {
        // A window that has the keys is on the screen, and what rests has its place there.
        std::optional<Seen> before;
        return *find(waitFor(what, [&](const Sight& sight) {
            const auto earlier = std::exchange(before, find(sight));
            return before && earlier && before->middle() == earlier->middle() &&
                   isActive(sight, window);
        }));
    }
    // What belongs to a pane may have to be scrolled to, and rest before it can be clicked.
    std::optional<Seen> before;
    int turns = 0;
    return *find(waitFor(what, [&](const Sight& sight) {
        const auto pane = sight.find(window, "List", list);
        const auto now = find(sight);
        if (pane && now && contains(*pane, now->middle())) {
            const bool rests = before && before->middle() == now->middle();
            before = now;
            return rests;
        }
        before.reset();
        if (pane && pane->width > 0) {
            constexpr int far = 40; // turns of the wheel, until it is tried the other way
            const bool isAbove = now ? now->middle().y < pane->y : turns++ % (2 * far) >= far;
            display->turnWheel(pane->middle(), isAbove ? -1 : 1);
        }
        return false;
    }));
}

JourneyFixture::Texts JourneyFixture::headersOf(const std::string& list, std::size_t count) {
    const auto is = [&](const Sight& sight) {
        return sight.namesIn(list, "Button").size() == count;
    };
    return waitFor(std::to_string(count) + " groups in " + list, is).namesIn(list, "Button");
}

JourneyFixture::Texts JourneyFixture::pagesOf(const std::string& list, std::size_t count) {
    const auto is = [&](const Sight& sight) {
        return sight.namesIn(list, "ListItem").size() == count;
    };
    return waitFor(std::to_string(count) + " pages in " + list, is).namesIn(list, "ListItem");
}

void JourneyFixture::waitForKeys(const std::string& window) {
    waitFor("keys go to " + window, [&](const Sight& sight) {
        return !sight.all([&](const Seen& seen) { return seen.window == window && seen.isFocused; })
                    .empty();
    });
}

void JourneyFixture::waitForNo(const std::string& window) {
    waitFor("no " + window, [&](const Sight& sight) {
        return sight.all([&](const Seen& seen) { return seen.window == window; }).empty();
    });
}

void JourneyFixture::click(const std::string& window, const std::string& role,
                           const std::string& name, const std::string& list,
                           const std::string& modifier) {
    display->click(waitForNode(window, role, name, list).middle(), modifier);
    picture("clicked " + name);
}

void JourneyFixture::key(const std::string& window, const std::string& keys) {
    waitForKeys(window);
    display->key(keys);
    picture("pressed " + keys);
}

void JourneyFixture::type(const std::string& window, const std::string& text) {
    waitForKeys(window);
    display->key("ctrl+a");
    display->type(text);
    waitFor("the text " + text, [&](const Sight& sight) {
        return !sight
                    .all([&](const Seen& seen) {
                        return seen.window == window && seen.isFocused && seen.value == text;
                    })
                    .empty();
    });
    picture("typed " + text);
}

void JourneyFixture::expand(const std::string& list, const std::string& title) {
    const Seen header = waitForNode("mainWindow", "Button", title, list);
    if (!header.isExpanded) {
        display->click(header.middle());
    }
    waitFor(title + " is expanded", [&](const Sight& sight) {
        const auto now = sight.find("mainWindow", "Button", title, list);
        return now && now->isExpanded;
    });
}

void JourneyFixture::pull(const ObservedProgram& origin, Place from, const Whereabouts& to) {
    display->movePointer(from);
    display->press();
    const auto isDragging = [&origin]() {
        const auto sight = origin.look();
        return sight && sight->pointer != "usual";
    };
    // A drag begins with a movement; the program may not have seen the first ones.
    int wiggle = 0;
    if (!waitUntil([&]() {
            wiggle = wiggle < 60 ? wiggle + 4 : 20;
            display->movePointer({from.x + wiggle, from.y + wiggle / 2});
            return isDragging();
        })) {
        throw std::runtime_error("nothing is dragged");
    }
    picture("dragging");
    // Where the drag has to go may change while it is on its way, since groups open under it.
    Place at{from.x + wiggle, from.y + wiggle / 2};
    const auto isThere = [&](Place there) {
        const auto target = m_program->look();
        const auto pointer = origin.look();
        return target && pointer && target->dragPosition == there && to(*target) == there &&
               pointer->pointer == "welcome";
    };
    if (!waitUntil([&]() {
            const auto sight = m_program->look();
            const auto there = sight ? to(*sight) : std::nullopt;
            if (!there) {
                return false;
            }
            for (int step = 1; step <= steps; ++step) {
                display->movePointer({at.x + (there->x - at.x) * step / steps,
                                      at.y + (there->y - at.y) * step / steps});
            }
            at = *there;
            if (isThere(at)) {
                return true;
            }
            at = {there->x + 1, there->y + 1}; // the program is told of movements only
            display->movePointer(at);
            return false;
        })) {
        throw std::runtime_error("no drop is welcome there");
    }
    picture("before the drop");
    display->release();
    picture("dropped");
}

void JourneyFixture::drag(Place from, const Whereabouts& to) {
    pull(*m_program, from, to);
    waitFor("the end of the drag", [](const Sight& sight) { return sight.pointer == "usual"; });
}

void JourneyFixture::dragItem(const std::string& list, const std::string& name,
                              const Whereabouts& to) {
    drag(waitForItem(list, name).middle(), to);
}

std::string JourneyFixture::dropFiles(const Texts& paths, const std::string& list) {
    const ObservedProgram source(*display, Program(QUILLORN_DRAG_SOURCE, paths), folders.path(),
                                 "source" + std::to_string(m_sources++));
    const auto label = [&source]() {
        const auto sight = source.look();
        return sight && !sight->nodes.empty() ? std::optional(sight->nodes.front()) : std::nullopt;
    };
    std::optional<Seen> shown;
    // A window that has the keys is on the screen, and one that rests has its place.
    if (!waitUntil([&]() {
            const auto before = std::exchange(shown, label());
            return shown && before && shown->isActive && shown->middle() == before->middle();
        })) {
        throw std::runtime_error("there is nothing to drag from");
    }
    pull(source, shown->middle(), middleOfPane(list));
    if (!waitUntil([&]() {
            shown = label();
            return shown && shown->name != "files";
        })) {
        throw std::runtime_error("the drop has no end");
    }
    return shown->name;
}

JourneyFixture::Whereabouts JourneyFixture::middleOfPane(const std::string& list) {
    return [list](const Sight& sight) -> std::optional<Place> {
        const auto pane = sight.find("mainWindow", "List", list);
        return pane && pane->width > 0 ? std::optional(pane->middle()) : std::nullopt;
    };
}

JourneyFixture::Whereabouts JourneyFixture::behindItem(const std::string& list,
                                                       const std::string& name) {
    return [list, name](const Sight& sight) -> std::optional<Place> {
        const auto item = sight.find("mainWindow", "ListItem", name, list);
        return item ? std::optional(item->behind()) : std::nullopt;
    };
}

void JourneyFixture::picture(const std::string& what) {
    const char* const folder = std::getenv("QUILLORN_JOURNEY_PICTURES");
    if (folder == nullptr || *folder == '\0') {
        return;
    }
    std::string name = testing::UnitTest::GetInstance()->current_test_info()->name();
    const std::string number = std::to_string(++m_pictures);
    name += "-" + std::string(number.size() < 2 ? 1 : 0, '0') + number + " " + what + ".png";
    std::ranges::replace(name, '/', '_');
    display->photograph((std::filesystem::path(folder) / name).string());
}

} // namespace quillorn::tests
