#include "tests/app/journeys/ObservedProgram.h"

#include "platform/files/FileDescriptor.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <nlohmann/json.hpp>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <utility>

namespace quillorn::tests {

namespace {

std::optional<std::string> answerOf(const std::filesystem::path& socketPath) {
    const FileDescriptor socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(socketPath.native(), std::begin(address.sun_path));
    if (::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        return std::nullopt;
    }
    // A window that never answers again would keep the test waiting until it is ended.
    constexpr timeval patience{60, 0};
    ::setsockopt(socket.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    std::string text;
    std::array<char, 65536> chunk{};
    for (;;) {
        const ssize_t got = ::recv(socket.get(), chunk.data(), chunk.size(), 0);
        if (got < 0) {
            return std::nullopt;
        }
        if (got == 0) {
            return text;
        }
        text.append(chunk.data(), static_cast<std::size_t>(got));
    }
}

Seen seenIn(const nlohmann::json& node) {
    Seen seen;
    seen.window = node.at("window");
    seen.list = node.at("list");
    seen.role = node.at("role");
    seen.name = node.at("name");
    seen.value = node.at("value");
    seen.x = node.at("x");
    seen.y = node.at("y");
    seen.width = node.at("width");
    seen.height = node.at("height");
    seen.isEnabled = node.at("enabled");
    seen.isSelected = node.at("selected");
    seen.isFocused = node.at("focused");
    seen.isActive = node.at("active");
    seen.isExpanded = node.at("expanded");
    return seen;
}

} // namespace

std::vector<Seen> Sight::all(const std::function<bool(const Seen&)>& condition) const {
    std::vector<Seen> found;
    std::ranges::copy_if(nodes, std::back_inserter(found), condition);
    return found;
}

std::vector<std::string> Sight::namesIn(const std::string& list, const std::string& role) const {
    std::vector<std::string> names;
    for (const Seen& seen : nodes) {
        if (seen.list == list && seen.role == role) {
            names.push_back(seen.name);
        }
    }
    return names;
}

std::optional<Seen> Sight::find(const std::string& window, const std::string& role,
                                const std::string& name, const std::string& list) const {
    const auto found = std::ranges::find_if(nodes, [&](const Seen& seen) {
        return seen.window == window && seen.role == role && seen.list == list &&
               seen.name.starts_with(name);
    });
    return found == nodes.end() ? std::nullopt : std::optional(*found);
}

ObservedProgram::ObservedProgram(const Display& display, Program program,
                                 const std::filesystem::path& folder, const std::string& name)
    : m_socket(folder / (name + ".sight")), m_process(start(display, program, m_socket)) {}

RunningProgram ObservedProgram::start(const Display& display, Program& program,
                                      const std::filesystem::path& socket) {
    return display.shown(program)
        .with("QT_PLUGIN_PATH", QUILLORN_OBSERVER_FOLDER)
        .with("QT_QPA_GENERIC_PLUGINS", "quillornobserver:" + socket.string())
        .start();
}

std::optional<Sight> ObservedProgram::look() const {
    const auto text = answerOf(m_socket);
    if (!text) {
        return std::nullopt;
    }
    const auto json = nlohmann::json::parse(*text, nullptr, false);
    if (json.is_discarded()) {
        return std::nullopt; // it ended in the middle
    }
    Sight sight;
    for (const auto& node : json.at("nodes")) {
        sight.nodes.push_back(seenIn(node));
    }
    sight.pointer = json.at("pointer");
    if (json.contains("dragPosition")) {
        sight.dragPosition = Place{json["dragPosition"].at(0), json["dragPosition"].at(1)};
    }
    return sight;
}

} // namespace quillorn::tests
