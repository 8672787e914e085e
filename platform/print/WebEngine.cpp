#include "platform/print/WebEngine.h"

#include "platform/print/JSONAccess.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <string_view>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

/// A browser that has not answered by then never will; a first start from a cold disk takes
/// seconds.
constexpr std::chrono::seconds startPatience{30};

constexpr std::chrono::seconds endPatience{1};

/// No page needs to write files of this size; a browser gone wild might.
constexpr std::uint64_t largestFile = std::uint64_t{1} << 30U;

constexpr const char* disabledFeatures =
    "--disable-features=Translate,MediaRouter,OptimizationHints,DialMediaRouteProvider,"
    "HttpsUpgrades,HttpsFirstBalancedModeAutoEnable,HttpsFirstModeV2,"
    "IsolateOrigins,site-per-process,BackForwardCache";

std::vector<std::string> argumentsFor(const fs::path& program, const fs::path& profile,
                                      bool network, bool ownSandbox) {
    std::vector<std::string> arguments = {
        program.string(), "--headless=new", "--remote-debugging-pipe",
        "--user-data-dir=" + profile.string(), "--no-first-run", "--no-default-browser-check",
        "--disable-gpu", "--hide-scrollbars", "--mute-audio",
        // Nothing of its own business.
        "--disable-extensions", "--disable-component-update", "--disable-background-networking",
        "--disable-sync", "--disable-default-apps", "--disable-breakpad", "--disable-dev-shm-usage",
        "--password-store=basic", "--use-mock-keychain", "--no-pings",
        // Pages stay alone, and addresses as they are written.
        "--block-new-web-contents", "--disable-site-isolation-trials", disabledFeatures,
        // On paper nobody scrolls down to a picture, and glyphs are not fitted to a screen.
        "--blink-settings=lazyLoadEnabled=false", "--font-render-hinting=none"};
    if (!network) {
        arguments.emplace_back("--host-resolver-rules=MAP * ~NOTFOUND");
        arguments.emplace_back("--force-webrtc-ip-handling-policy=disable_non_proxied_udp");
    }
    if (!ownSandbox) {
        arguments.emplace_back("--no-sandbox");
    }
    arguments.emplace_back("about:blank");
    return arguments;
}

/// The user's own fonts are found there.
std::string dataHome() {
    if (const char* const stated = std::getenv("XDG_DATA_HOME"); stated != nullptr) {
        return stated;
    }
    const char* const home = std::getenv("HOME");
    return home != nullptr ? std::string(home) + "/.local/share" : std::string();
}

} // namespace

std::vector<fs::path> WebEngine::installedPrograms() {
    std::vector<fs::path> programs;
    const auto addIfThere = [&programs](const fs::path& program) {
        if (program.is_absolute() && ::access(program.c_str(), X_OK) == 0 &&
            std::ranges::find(programs, program) == programs.end()) {
            programs.push_back(program);
        }
    };
    // Behind the names in the search path stand scripts on some systems, with options of their own.
    addIfThere("/usr/lib/chromium/chromium-headless-shell");
    addIfThere("/usr/lib/chromium/chromium");
    const char* const searchPath = std::getenv("PATH");
    for (const std::string_view name : {"chromium-headless-shell", "chromium"}) {
        std::string_view rest = searchPath != nullptr ? searchPath : "";
        while (!rest.empty()) {
            const std::size_t end = std::min(rest.find(':'), rest.size());
            addIfThere(fs::path(rest.substr(0, end)) / name);
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    }
    return programs;
}

WebEngine::~WebEngine() {
    end();
}

void WebEngine::end() {
    // Killed rather than asked to leave: its profile is thrown away with it.
    m_run.reset();
}

void WebEngine::prepareSpare(const WebPlace::Size& size) {
    if (m_run && !m_run->spare) {
        m_run->spare.emplace(m_run->devTools, size);
    }
}

void WebEngine::dealWithSpare(const DevTools::JSON& message) {
    if (m_run && m_run->spare) {
        m_run->spare->deal(message);
    }
    if (m_run && m_run->quiet) {
        m_run->quiet->deal(message);
    }
}

void WebEngine::keepQuiet(WebPlace place) {
    if (m_run) {
        m_run->quiet = std::move(place);
    }
}

std::optional<WebPlace> WebEngine::takeQuiet() {
    auto kept = m_run ? std::exchange(m_run->quiet, std::nullopt) : std::nullopt;
    return kept ? std::move(kept) : takeSpare();
}

std::optional<WebPlace> WebEngine::takeSpare() {
    return m_run ? std::exchange(m_run->spare, std::nullopt) : std::nullopt;
}

FileResult<DevTools*> WebEngine::connect(const std::stop_token& stop) {
    if (m_run && !m_run->child.hasEnded()) {
        return &m_run->devTools;
    }
    m_run.reset();
    FileError error{{}, "no web engine is installed (such as chromium-headless-shell)", ENOENT};
    for (const fs::path& program : m_options.programs) {
        auto run = start(program, true, stop);
        if (!run && run.error().errnoValue == EPERM && !stop.stop_requested()) {
            run = start(program, false, stop);
        }
        if (run) {
            m_run = std::move(*run);
            return &m_run->devTools;
        }
        error = std::move(run.error());
        if (stop.stop_requested()) {
            break;
        }
    }
    return tl::unexpected(std::move(error));
}

FileResult<std::unique_ptr<WebEngine::Run>>
WebEngine::start(const fs::path& program, bool ownSandbox, const std::stop_token& stop) const {
    auto folder = ChildFolder::create();
    if (!folder) {
        return tl::unexpected(std::move(folder.error()));
    }
    const auto temporary = folder->makeFolder("tmp");
    const auto profile = folder->makeFolder("profile");
    if (!temporary || !profile) {
        return tl::unexpected((temporary ? profile : temporary).error());
    }
    ChildCommand command;
    command.arguments = argumentsFor(program, *profile, m_options.network, ownSandbox);
    command.workingFolder = folder->path();
    command.environment = {{"HOME", folder->path().string()},
                           {"TMPDIR", temporary->string()},
                           {"XDG_CONFIG_HOME", profile->string()},
                           {"XDG_CACHE_HOME", profile->string()},
                           {"XDG_DATA_HOME", dataHome()}};
    command.limits.dataBytes = m_options.dataBytes;
    command.limits.fileBytes = largestFile;
    command.network = m_options.network;
    command.pipes = {{DevTools::requestPipe, ChildPipe::Direction::toChild},
                     {DevTools::answerPipe, ChildPipe::Direction::fromChild}};
    auto child = ChildProcess::start(command);
    if (!child) {
        return tl::unexpected(std::move(child.error()));
    }
    auto run = std::make_unique<Run>(std::move(*folder), std::move(*child));
    const auto number = run->devTools.send("Browser.getVersion", DevTools::JSON::object());
    const auto deadline = DevTools::Clock::now() + startPatience;
    WebWait wait = number ? WebWait::done : WebWait::engineGone;
    for (DevTools::JSON message; wait == WebWait::done;) {
        wait = run->devTools.receive(message, deadline, stop);
        if (wait == WebWait::done && json::number(message, "id") == *number) {
            return run;
        }
    }
    if (wait == WebWait::engineGone) {
        // Its pipes are closed a moment before it is gone. How it ended is worth that moment.
        static_cast<void>(run->child.waitUntil(DevTools::Clock::now() + endPatience));
    }
    const ChildEnd ended = run->child.stop();
    const bool lacksSandbox = ended.errors.find("No usable sandbox") != std::string::npos;
    return tl::unexpected(FileError{program,
                                    wait == WebWait::timeOver    ? "it does not answer"
                                    : wait == WebWait::cancelled ? "its start was cancelled"
                                                                 : ended.text(),
                                    lacksSandbox ? EPERM : 0});
}

} // namespace quillorn
