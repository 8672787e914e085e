#include "tests/corpus/OutsideProgram.h"

#include "platform/files/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <string_view>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ; // NOLINT(readability-redundant-declaration): POSIX asks for it

namespace quillorn::corpus {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds deadline{100};

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;

    Pipe() {
        std::array<int, 2> ends{-1, -1};
        if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
            reading = FileDescriptor(ends[0]);
            writing = FileDescriptor(ends[1]);
        }
    }
};

/// As the system calls want it: ended by a null pointer.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// Appends what is there; false at the end.
bool drain(const FileDescriptor& from, std::string& text) {
    std::array<char, 1U << 16U> block{};
    const ssize_t got = ::read(from.get(), block.data(), block.size());
    if (got > 0) {
        text.append(block.data(), static_cast<std::size_t>(got));
    }
    return got > 0 || (got < 0 && errno == EINTR);
}

/// Collects both streams until both end or the deadline passes; false in that case.
bool collect(Pipe& output, Pipe& errors, ProgramRun& run) {
    const auto end = Clock::now() + deadline;
    while (output.reading.isOpen() || errors.reading.isOpen()) {
        std::array<pollfd, 2> waits{
            {{output.reading.get(), POLLIN, 0}, {errors.reading.get(), POLLIN, 0}}};
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now()).count();
        if (left <= 0 || ::poll(waits.data(), waits.size(), static_cast<int>(left)) == 0) {
            return false;
        }
        // Some say much in tiny pieces: waking up for each takes far longer than what they do.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (waits[0].revents != 0 && !drain(output.reading, run.output)) {
            output.reading.reset();
        }
        if (waits[1].revents != 0 && !drain(errors.reading, run.errors)) {
            errors.reading.reset();
        }
    }
    return true;
}

} // namespace

ProgramRun runProgram(const std::vector<std::string>& command) {
    std::vector<std::string> words = command;
    std::vector<std::string> settings{"LC_ALL=C.UTF-8"};
    for (char** setting = environ; *setting != nullptr; ++setting) {
        if (!std::string_view(*setting).starts_with("LC_ALL=")) {
            settings.emplace_back(*setting);
        }
    }
    std::vector<char*> arguments = pointersTo(words);
    std::vector<char*> environment = pointersTo(settings);

    Pipe output;
    Pipe errors;
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_adddup2(&actions, output.writing.get(), STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, errors.writing.get(), STDERR_FILENO);
    pid_t child = -1;
    const int failure = ::posix_spawnp(&child, arguments.front(), &actions, nullptr,
                                       arguments.data(), environment.data());
    ::posix_spawn_file_actions_destroy(&actions);

    ProgramRun run;
    if (failure != 0) {
        run.errors = command.front() + ": " + errnoText(failure);
        return run;
    }
    output.writing.reset();
    errors.writing.reset();
    run.startedAndEnded = collect(output, errors, run);
    if (!run.startedAndEnded) {
        ::kill(child, SIGKILL);
        run.errors += command.front() + ": still running at the deadline";
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (run.startedAndEnded && WIFEXITED(status)) {
        run.exitStatus = WEXITSTATUS(status);
    }
    return run;
}

} // namespace quillorn::corpus
