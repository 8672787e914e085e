#include "tests/app/journeys/Display.h"

#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <utility>

namespace quillorn::tests {

Display::Display(const std::string& homeFolder) {
    const std::filesystem::path number = m_folder / "display";
    m_server.emplace(Program("sh", {"-c",
                                    "exec Xvfb -displayfd 3 -screen 0 1400x1000x24 -nolisten tcp "
                                    "-noreset 3>\"$0\"",
                                    number.string()})
                         .start());
    const auto hasNumber = [&number]() {
        return std::filesystem::exists(number) && readFile(number).ends_with('\n');
    };
    if (!waitUntil(hasNumber)) {
        throw std::runtime_error("there is no X server");
    }
    m_name = ":" + readFile(number);
    m_name.pop_back();
    Program manager("openbox", {"--sm-disable"});
    m_windowManager.emplace(shown(manager).with("HOME", homeFolder).start());
    const auto isManaged = [this]() {
        Program question("xdotool", {"get_num_desktops"});
        return shown(question).run().status == 0;
    };
    if (!waitUntil(isManaged)) {
        throw std::runtime_error("there is no window manager");
    }
}

Display::~Display() {
    for (std::optional<RunningProgram>* const program : {&m_windowManager, &m_server}) {
        // In good order, so that the server takes its locks away.
        (*program)->signal(SIGTERM);
        try {
            static_cast<void>((*program)->wait());
        } catch (const std::exception&) {
            continue; // it was killed instead
        }
    }
}

Program& Display::shown(Program& program) const {
    for (const char* const variable :
         {"WAYLAND_DISPLAY", "XAUTHORITY", "QT_SCALE_FACTOR", "QT_STYLE_OVERRIDE",
          "QT_QPA_PLATFORMTHEME", "XDG_CURRENT_DESKTOP", "DBUS_SESSION_BUS_ADDRESS"}) {
        program.with(variable, std::nullopt);
    }
    return program.with("DISPLAY", m_name).with("QT_QPA_PLATFORM", "xcb");
}

void Display::user(std::vector<std::string> words) const {
    Program hand("xdotool", std::move(words));
    const ProgramResult result = shown(hand).run();
    if (result.status != 0) {
        throw std::runtime_error("xdotool: " + result.errors);
    }
}

void Display::movePointer(Place place) const {
    user({"mousemove", std::to_string(place.x), std::to_string(place.y)});
}

void Display::press(const std::string& modifier) const {
    if (!modifier.empty()) {
        user({"keydown", modifier});
    }
    user({"mousedown", "1"});
}

void Display::release(const std::string& modifier) const {
    user({"mouseup", "1"});
    if (!modifier.empty()) {
        user({"keyup", modifier});
    }
}

void Display::click(Place place, const std::string& modifier) const {
    movePointer(place);
    press(modifier);
    release(modifier);
}

void Display::turnWheel(Place place, int direction) const {
    movePointer(place);
    user({"click", direction < 0 ? "4" : "5"});
}

void Display::key(const std::string& keys) const {
    user({"key", keys});
}

void Display::type(const std::string& text) const {
    user({"type", "--delay", "5", text});
}

void Display::photograph(const std::string& file) const {
    Program camera("import", {"-window", "root", file});
    const ProgramResult result = shown(camera).run();
    if (result.status != 0) {
        throw std::runtime_error("import: " + result.errors);
    }
}

} // namespace quillorn::tests
