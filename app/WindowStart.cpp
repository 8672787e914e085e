#include "app/WindowStart.h"

#include "app/ExitStatus.h"
#include "app/ProgramModule.h"
#include "app/RunningInstance.h"
#include "platform/ui/HomeFolder.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string_view>
#include <system_error>
#include <utility>

namespace quillorn {

namespace {

using RunWindow = int (*)(int, char**, const std::vector<std::string>&, RunningInstance&);

bool isSet(const char* name) {
    const char* const value = std::getenv(name);
    return value != nullptr && *value != '\0';
}

/// Whether a word stands for a file rather than for a command: it is there, or written like one.
bool isFile(const std::string& word) {
    constexpr std::array<std::string_view, 3> commands = {"compose", "convert", "info"};
    if (word.empty() || word.front() == '-' ||
        std::ranges::find(commands, word) != commands.end()) {
        return false;
    }
    std::error_code error;
    return word.find('/') != std::string::npos || std::filesystem::exists(word, error) ||
           std::filesystem::path(word).has_extension();
}

/// An absolute path without "." and "..", which means the folder above what a link leads to. The
/// name itself stays, also when it is a link's.
std::filesystem::path withoutDots(const std::filesystem::path& path) {
    const bool goesUp = std::ranges::find(path, std::filesystem::path("..")) != path.end();
    if (goesUp && path.filename() != "..") {
        std::error_code error;
        const std::filesystem::path folder = std::filesystem::canonical(path.parent_path(), error);
        if (!error) {
            return folder / path.filename();
        }
    }
    return path.lexically_normal();
}

int fail(const std::string& what) {
    std::cerr << what << '\n';
    return exit_status::notWritten;
}

int runModule(int argc, char** argv, const std::vector<std::string>& files,
              RunningInstance& instance) {
    const auto function = functionInModule("quillorn-window.so", "quillornRunWindow");
    if (!function) {
        return fail("The window cannot be shown: " + function.error().file.string() + ": " +
                    function.error().reason);
    }
    return reinterpret_cast<RunWindow>(*function)(argc, argv, files, instance);
}

} // namespace

bool hasDisplay() {
    return isSet("DISPLAY") || isSet("WAYLAND_DISPLAY") || isSet("QT_QPA_PLATFORM");
}

std::optional<std::vector<std::string>> filesForWindow(const std::vector<std::string>& words,
                                                       bool hasDisplay) {
    if (!hasDisplay || (!words.empty() && !isFile(words.front()))) {
        return std::nullopt;
    }
    std::vector<std::string> files;
    for (const std::string& word : words) {
        std::error_code error;
        const std::filesystem::path path = std::filesystem::absolute(word, error);
        files.push_back(error ? word : withoutDots(path).string());
    }
    return files;
}

int runWindow(int argc, char** argv, const std::vector<std::string>& files) {
    const auto folder = RunningInstance::defaultFolder();
    if (!folder) {
        return fail(folder.error().file.string() + ": " + folder.error().reason);
    }
    const std::string home = homeFolder();
    // More than once: the one that ran may end while it is talked to.
    constexpr std::chrono::seconds patience{20};
    const auto deadline = std::chrono::steady_clock::now() + patience;
    for (;;) {
        auto claimed = RunningInstance::claim(*folder, home);
        if (!claimed) {
            return fail(claimed.error().file.string() + ": " + claimed.error().reason);
        }
        if (*claimed) {
            return runModule(argc, argv, files, **claimed);
        }
        const auto done = RunningInstance::handOver(*folder, home, {files});
        if (done) {
            return exit_status::done;
        }
        if (done.error().errnoValue == ETIMEDOUT || std::chrono::steady_clock::now() >= deadline) {
            return fail("Quillorn Folivane runs already, but " + done.error().reason + ".");
        }
    }
}

} // namespace quillorn
