#include "platform/process/keeper/Family.h"

#include "platform/files/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <filesystem>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <vector>

namespace quillorn::keeper {

namespace {

namespace fs = std::filesystem;

/// The parent of a process, 0 when it is gone. In /proc/PID/stat it stands behind the name, which
/// is in parentheses and may hold any character, and the state.
pid_t parentOf(const fs::path& process) {
    const auto file = FileDescriptor::openRegularFile(process / "stat");
    std::array<char, 1024> bytes{};
    const auto length = file ? readAt(*file, process, bytes, 0) : 0;
    const std::string_view text(bytes.data(), length.value_or(0));
    const std::size_t nameEnd = text.rfind(')');
    constexpr std::size_t fromNameToParent = 4; // ") S "
    pid_t parent = 0;
    if (nameEnd != std::string_view::npos && nameEnd + fromNameToParent < text.size()) {
        std::from_chars(text.data() + nameEnd + fromNameToParent, text.data() + text.size(),
                        parent);
    }
    return parent;
}

std::vector<pid_t> children() {
    std::vector<pid_t> found;
    std::error_code error; // without /proc the process group is all that is known
    fs::directory_iterator entry("/proc", error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        pid_t process = 0;
        const auto [end, wrong] = std::from_chars(name.data(), name.data() + name.size(), process);
        if (wrong == std::errc() && end == name.data() + name.size() &&
            parentOf(entry->path()) == ::getpid()) {
            found.push_back(process);
        }
    }
    return found;
}

} // namespace

bool adoptOrphans() {
    return ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0) == 0;
}

void killFamily(pid_t group) {
    ::kill(-group, SIGKILL);
    while (true) {
        for (const pid_t child : children()) {
            ::kill(child, SIGKILL);
        }
        if (::waitpid(-1, nullptr, 0) < 0 && errno != EINTR) {
            return; // no child is left
        }
    }
}

} // namespace quillorn::keeper
