#include "tests/fakes/Program.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace quillorn::tests {

ProgramResult runProgram(std::vector<std::string> words) {
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (std::string& word : words) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);

    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    posix_spawn_file_actions_t actions{};
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDERR_FILENO);
    pid_t child = 0;
    const int failure =
        ::posix_spawnp(&child, arguments.front(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);

    ProgramResult result;
    std::array<char, 4096> chunk{};
    ssize_t got = 0;
    while ((got = ::read(ends[0], chunk.data(), chunk.size())) > 0 || (got < 0 && errno == EINTR)) {
        result.output.append(chunk.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
    }
    ::close(ends[0]);
    if (failure != 0) {
        throw std::runtime_error("cannot run " + words.front());
    }
    int status = 0;
    while (::waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("cannot wait for " + words.front());
        }
    }
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

} // namespace quillorn::tests
