#include "platform/imaging/WorkerProcess.h"

#include "platform/imaging/WorkerProtocol.h"
#include "platform/imaging/WorkerReply.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quillorn {

namespace {

using Clock = std::chrono::steady_clock;
using Kind = ImageError::Kind;

/// How long a stop request may go unnoticed: nothing wakes a wait when a token is asked to stop,
/// because the program's own token is asked from within a signal handler.
constexpr std::chrono::milliseconds stopInterval{50};

WorkerAnswer failed(const WorkerJob& job, Kind kind, std::string reason, bool mayOthers = false) {
    return {tl::unexpected(ImageError{kind, job.file, std::move(reason)}), mayOthers};
}

/// A descriptor above those that the worker gets, so that putting them in their places cannot
/// overwrite one that is still needed.
FileDescriptor outOfTheWay(int descriptor) {
    constexpr int firstFree = 16;
    return FileDescriptor(::fcntl(descriptor, F_DUPFD_CLOEXEC, firstFree));
}

/// Our environment without what would change how the libraries in the worker behave.
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
    SpawnActions() { ::posix_spawn_file_actions_init(&m_actions); }
    ~SpawnActions() { ::posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void place(const FileDescriptor& from, int to) {
        ::posix_spawn_file_actions_adddup2(&m_actions, from.get(), to);
    }
    void silence(int descriptor) {
        ::posix_spawn_file_actions_addopen(&m_actions, descriptor, "/dev/null", O_RDWR, 0);
    }
    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

/// Owns a child: at the end of its scope the child is dead and forgotten.
class Child {
public:
    Child() = default;
    ~Child() {
        if (m_process > 0) {
            ::kill(m_process, SIGKILL);
            static_cast<void>(wait());
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// 0, or an errno value.
    int start(const WorkerJob& job, const SpawnActions& actions) {
        const auto number = [](auto value) { return std::to_string(value); };
        std::vector<std::string> words = {job.program.string(),
                                          std::string(imageFormatName(job.format)),
                                          number(job.limits.pixels),
                                          number(job.limits.side),
                                          number(job.limits.workerMemory),
                                          number(job.limits.workerOutput),
                                          number(job.limits.workerProcessorTime.count()),
                                          number(::getpid())};
        std::vector<char*> arguments;
        arguments.reserve(words.size() + 1);
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        std::vector<char*> environment = workerEnvironment();
        // A program that ignores a signal would hand that on; a worker dies of all of them.
        posix_spawnattr_t attributes;
        ::posix_spawnattr_init(&attributes);
        sigset_t signals;
        sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes, &signals);
        for (const int signal : {SIGPIPE, SIGXFSZ, SIGXCPU, SIGTERM, SIGINT, SIGHUP}) {
            sigaddset(&signals, signal);
        }
        ::posix_spawnattr_setsigdefault(&attributes, &signals);
        ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        const int error = ::posix_spawn(&m_process, job.program.c_str(), actions.get(), &attributes,
                                        arguments.data(), environment.data());
        ::posix_spawnattr_destroy(&attributes);
        if (error != 0) {
            m_process = -1;
        }
        return error;
    }

    /// Waits for the end of the child, and returns its status as waitpid gives it.
    int wait() {
        int status = 0;
        while (::waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
        }
        m_process = -1;
        return status;
    }

private:
    pid_t m_process = -1;
};

enum class Waited { ended, deadline, stopped };

/// Waits until the other end of `life` is closed.
Waited waitForEnd(const FileDescriptor& life, const WorkerJob& job) {
    const auto deadline = Clock::now() + job.limits.workerDeadline;
    while (true) {
        if (job.stop.stop_requested()) {
            return Waited::stopped;
        }
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0) {
            return Waited::deadline;
        }
        pollfd waiting{life.get(), POLLIN, 0};
        const int ready =
            ::poll(&waiting, 1, static_cast<int>(std::min(left, stopInterval).count()));
        if (ready > 0 || (ready < 0 && errno != EINTR)) {
            return Waited::ended;
        }
    }
}

std::string howItEnded(int status) {
    if (!WIFSIGNALED(status)) {
        return "the reader of images failed";
    }
    switch (WTERMSIG(status)) {
    case SIGXCPU:
    case SIGKILL:
        return "reading it takes too long or needs too much memory";
    case SIGXFSZ:
        return "it becomes larger than an image may be";
    default:
        return "the reader of images failed over it";
    }
}

WorkerAnswer answerIn(const FileDescriptor& output, const WorkerJob& job) {
    auto reply = readWorkerReply(output, job.limits);
    if (!reply) {
        return failed(job, Kind::notImage, "the reader of images failed: " + reply.error());
    }
    if (!reply->image) {
        const bool isTooLarge = reply->kind == worker::ReplyKind::tooLarge;
        return failed(job, isTooLarge ? Kind::tooLarge : Kind::notImage, reply->text,
                      reply->kind == worker::ReplyKind::notMine);
    }
    return {std::move(*reply->image), false};
}

} // namespace

WorkerAnswer runImageWorker(const FileDescriptor& input, const WorkerJob& job) {
    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        return failed(job, Kind::noReader, errnoText(errno));
    }
    const FileDescriptor life(pipe[0]);
    FileDescriptor lifeEnd(pipe[1]);
    const FileDescriptor output(::memfd_create("quillorn-image", MFD_CLOEXEC));
    FileDescriptor workerLife = outOfTheWay(lifeEnd.get());
    lifeEnd.reset();
    FileDescriptor workerInput = outOfTheWay(input.get());
    FileDescriptor workerOutput = outOfTheWay(output.get());
    if (!output.isOpen() || !workerLife.isOpen() || !workerInput.isOpen() ||
        !workerOutput.isOpen()) {
        return failed(job, Kind::noReader, errnoText(errno));
    }
    SpawnActions actions;
    for (const int standard : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        actions.silence(standard);
    }
    actions.place(workerInput, worker::inputDescriptor);
    actions.place(workerOutput, worker::outputDescriptor);
    actions.place(workerLife, worker::lifeDescriptor);
    Child child;
    if (const int error = child.start(job, actions); error != 0) {
        return failed(job, Kind::noReader,
                      job.program.string() + " cannot be started: " + errnoText(error));
    }
    workerLife.reset(); // from now on only the worker holds that end
    workerInput.reset();
    workerOutput.reset();
    switch (waitForEnd(life, job)) {
    case Waited::stopped:
        return failed(job, Kind::cancelled, "cancelled");
    case Waited::deadline:
        return failed(job, Kind::tooLarge, "reading it takes too long");
    case Waited::ended:
        break;
    }
    const int status = child.wait();
    if (job.stop.stop_requested()) { // the terminal's interrupt reaches the worker as well
        return failed(job, Kind::cancelled, "cancelled");
    }
    if (status != 0) {
        const bool isTooMuch =
            WIFSIGNALED(status) && (WTERMSIG(status) == SIGXCPU || WTERMSIG(status) == SIGKILL ||
                                    WTERMSIG(status) == SIGXFSZ);
        return failed(job, isTooMuch ? Kind::tooLarge : Kind::notImage, howItEnded(status),
                      !isTooMuch);
    }
    return answerIn(output, job);
}

} // namespace quillorn
