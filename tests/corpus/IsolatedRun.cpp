#include "tests/corpus/IsolatedRun.h"

#include "platform/files/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quillorn::corpus {

namespace {

using Clock = std::chrono::steady_clock;

#ifdef QUILLORN_SANITIZERS
constexpr bool limitsMemory = false;
#else
constexpr bool limitsMemory = true;
#endif

void limit(int resource, rlim_t soft, rlim_t hard) {
    const rlimit both{soft, hard};
    ::setrlimit(resource, &both);
}

[[noreturn]] void beTheChild(const FileDescriptor& to, const std::function<std::string()>& work,
                             const IsolationLimits& limits) {
    // The hard limit comes a second later, so that the signal tells which limit it was.
    limit(RLIMIT_CPU, limits.processorSeconds, limits.processorSeconds + 1);
    limit(RLIMIT_CORE, 0, 0);
    if (limitsMemory) {
        limit(RLIMIT_AS, limits.memoryBytes, limits.memoryBytes);
    }
    int status = 0;
    try {
        const std::string report = work();
        status = writeAll(to, "pipe", report) ? 0 : 1;
    } catch (const std::exception& error) {
        static_cast<void>(writeAll(to, "pipe", std::string("exception: ") + error.what()));
        status = 1;
    }
    ::_exit(status); // the parent's tests are not ours to finish
}

/// Reads until the child has nothing more to say; false when the deadline comes first.
bool readAll(const FileDescriptor& from, std::string& text, std::chrono::seconds deadline) {
    const auto end = Clock::now() + deadline;
    std::array<char, 4096> block{};
    for (;;) {
        pollfd wait{from.get(), POLLIN, 0};
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || ::poll(&wait, 1, static_cast<int>(left)) == 0) {
            return false;
        }
        const ssize_t got = ::read(from.get(), block.data(), block.size());
        if (got == 0) {
            return true;
        }
        if (got > 0) {
            text.append(block.data(), static_cast<std::size_t>(got));
        }
    }
}

std::string describe(int status) {
    if (!WIFSIGNALED(status)) {
        return "exit status " + std::to_string(WEXITSTATUS(status));
    }
    const int signal = WTERMSIG(status);
    if (signal == SIGXCPU) {
        return "the limit of processor time";
    }
    return std::string("signal ") + ::strsignal(signal);
}

} // namespace

IsolatedRun runIsolated(const std::function<std::string()>& work, const IsolationLimits& limits) {
    std::array<int, 2> ends{-1, -1};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        return {false, "no pipe: " + errnoText(errno)};
    }
    const FileDescriptor reading(ends[0]);
    FileDescriptor writing(ends[1]);
    std::fflush(nullptr);
    const pid_t child = ::fork();
    if (child < 0) {
        return {false, "no process: " + errnoText(errno)};
    }
    if (child == 0) {
        beTheChild(writing, work, limits);
    }
    writing.reset();
    IsolatedRun run;
    const bool inTime = readAll(reading, run.report, limits.deadline);
    if (!inTime) {
        ::kill(child, SIGKILL);
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    run.finished = inTime && WIFEXITED(status) && WEXITSTATUS(status) == 0;
    if (!run.finished) {
        run.report += inTime ? "\nended by " + describe(status) : "\nstill running at the deadline";
    }
    return run;
}

} // namespace quillorn::corpus
