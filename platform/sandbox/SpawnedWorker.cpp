#include "platform/sandbox/SpawnedWorker.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <iterator>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace {

constexpr int firstPassed = 3; // behind the standard streams

/// A descriptor above those that the worker gets, so that putting them in their places cannot
/// overwrite one that is still needed.
FileDescriptor outOfTheWay(int descriptor) {
    constexpr int firstFree = 16;
    return FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, firstFree));
}

std::vector<char*> workerEnvironment() {
    std::vector<char*> kept;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        const std::string_view text(*variable);
        if (!text.starts_with("MAGICK_") && !text.starts_with("QT_")) {
            kept.push_back(*variable);
        }
    }
    kept.push_back(nullptr);
    return kept;
}

/// Owns the actions that posix_spawn performs between fork and exec.
class SpawnActions {
public:
    SpawnActions() {
        ::posix_spawn_file_actions_init(&m_actions);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
            ::posix_spawn_file_actions_addopen(&m_actions, standard, "/dev/null", O_RDWR, 0);
        }
    }
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void place(const FileDescriptor& from, int to) {
        ::posix_spawn_file_actions_adddup2(&m_actions, from.get(), to);
    }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

/// A program that ignores or blocks a signal would hand that on; a worker dies of all of them.
class SpawnAttributes {
public:
    SpawnAttributes() {
        ::posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&m_attributes, &signals);
        for (const int signal : {SIGPIPE, SIGXFSZ, SIGXCPU, SIGTERM, SIGINT, SIGHUP}) {
            sigaddset(&signals, signal);
        }
        ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
        ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    [[nodiscard]] const posix_spawnattr_t* get() const { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes{};
};

} // namespace

SpawnedWorker::SpawnedWorker(SpawnedWorker&& other) noexcept
    : m_process(std::exchange(other.m_process, -1)) {}

SpawnedWorker& SpawnedWorker::operator=(SpawnedWorker&& other) noexcept {
    if (this != &other) {
        end();
        m_process = std::exchange(other.m_process, -1);
    }
    return *this;
}

SpawnedWorker::~SpawnedWorker() {
    end();
}

int SpawnedWorker::start(const WorkerStart& how) {
    end();
    SpawnActions actions;
    std::vector<FileDescriptor> passed;
    int place = firstPassed;
    for (const FileDescriptor* const descriptor : how.descriptors) {
        passed.push_back(outOfTheWay(descriptor->get()));
        if (!passed.back().isOpen()) {
            return errno;
        }
        actions.place(passed.back(), place++);
    }
    std::vector<std::string> words = {how.program.string()};
    words.insert(words.end(), how.arguments.begin(), how.arguments.end());
    words.push_back(std::to_string(::getpid()));
    std::vector<char*> arguments;
    std::ranges::transform(words, std::back_inserter(arguments),
                           [](std::string& word) { return word.data(); });
    arguments.push_back(nullptr);
    std::vector<char*> environment = workerEnvironment();
    const SpawnAttributes attributes;
    const int error = ::posix_spawn(&m_process, how.program.c_str(), actions.get(),
                                    attributes.get(), arguments.data(), environment.data());
    if (error != 0) {
        m_process = -1;
    }
    return error;
}

int SpawnedWorker::wait() {
    int status = 0;
    while (::waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    m_process = -1;
    return status;
}

std::optional<int> SpawnedWorker::waitShortly(std::chrono::milliseconds time) {
    constexpr std::chrono::milliseconds interval{1};
    const auto deadline = std::chrono::steady_clock::now() + time;
    while (true) {
        int status = 0;
        const pid_t ended = ::waitpid(m_process, &status, WNOHANG);
        if (ended == m_process) {
            m_process = -1;
            return status;
        }
        if ((ended < 0 && errno != EINTR) || std::chrono::steady_clock::now() >= deadline) {
            return std::nullopt;
        }
        std::this_thread::sleep_for(interval);
    }
}

void SpawnedWorker::end() {
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        static_cast<void>(wait());
    }
}

} // namespace quillorn
