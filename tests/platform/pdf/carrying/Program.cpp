#include "tests/platform/pdf/carrying/Program.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace quillorn::tests {

namespace {

/// The file actions of posix_spawn: everything printed goes into a pipe.
class Redirections {
public:
    explicit Redirections(const std::array<int, 2>& pipe) {
        ::posix_spawn_file_actions_init(&m_actions);
        ::posix_spawn_file_actions_addopen(&m_actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&m_actions, pipe[1], STDOUT_FILENO);
        ::posix_spawn_file_actions_adddup2(&m_actions, pipe[1], STDERR_FILENO);
    }
    ~Redirections() { ::posix_spawn_file_actions_destroy(&m_actions); }
    Redirections(const Redirections&) = delete;
    Redirections& operator=(const Redirections&) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions{};
};

std::string readAll(int descriptor) {
    std::string text;
    std::array<char, 16384> block{};
    while (true) {
        const ssize_t got = ::read(descriptor, block.data(), block.size());
        if (got > 0) {
            text.append(block.data(), static_cast<std::size_t>(got));
        } else if (got == 0 || errno != EINTR) {
            return text;
        }
    }
}

} // namespace

ProgramRun runProgram(const std::vector<std::string>& words) {
    std::vector<std::string> copies = words;
    std::vector<char*> arguments;
    arguments.reserve(copies.size() + 1);
    for (std::string& word : copies) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    std::array<int, 2> pipe{};
    if (::pipe2(pipe.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    pid_t child = 0;
    const int failure = ::posix_spawnp(&child, arguments.front(), Redirections(pipe).get(), nullptr,
                                       arguments.data(), environ);
    ::close(pipe[1]);
    if (failure != 0) {
        ::close(pipe[0]);
        throw std::runtime_error("cannot run " + words.front());
    }
    ProgramRun run;
    run.output = readAll(pipe[0]);
    ::close(pipe[0]);
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("cannot wait for " + words.front());
        }
    }
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return run;
}

std::string outputOf(const std::vector<std::string>& words) {
    ProgramRun run = runProgram(words);
    if (run.status != 0) {
        throw std::runtime_error(words.front() + " ended with " + std::to_string(run.status) +
                                 ": " + run.output.substr(0, 2000));
    }
    return std::move(run.output);
}

} // namespace quillorn::tests
