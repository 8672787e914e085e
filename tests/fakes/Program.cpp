#include "tests/fakes/Program.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <utility>

namespace quillorn::tests {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::seconds patience{90};
constexpr std::chrono::milliseconds pause{1};
constexpr int statusOfFailedStart = 127;
constexpr uid_t nobody = 65534;

struct Pipe {
    int reading = -1;
    int writing = -1;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot make a pipe");
    }
    return {ends[0], ends[1]};
}

Pipe makeTerminal() {
    Pipe ends;
    struct winsize size {};
    size.ws_col = 80;
    size.ws_row = 24;
    if (::openpty(&ends.reading, &ends.writing, nullptr, nullptr, &size) != 0) {
        throw std::runtime_error("cannot make a terminal");
    }
    ::fcntl(ends.reading, F_SETFD, FD_CLOEXEC);
    ::fcntl(ends.writing, F_SETFD, FD_CLOEXEC);
    return ends;
}

} // namespace

bool waitUntil(const std::function<bool()>& condition) {
    const auto deadline = Clock::now() + patience;
    while (!condition()) {
        if (Clock::now() > deadline) {
            return false;
        }
        std::this_thread::sleep_for(pause);
    }
    return true;
}

RunningProgram::RunningProgram(RunningProgram&& other) noexcept
    : m_process(std::exchange(other.m_process, -1)),
      m_output(std::exchange(other.m_output, -1)),
      m_errors(std::exchange(other.m_errors, -1)) {}

RunningProgram::~RunningProgram() {
    if (m_process > 0) {
        ::kill(m_process, SIGKILL);
        ::waitpid(m_process, nullptr, 0);
    }
    for (const int descriptor : {m_output, m_errors}) {
        if (descriptor >= 0) {
            ::close(descriptor);
        }
    }
}

void RunningProgram::signal(int number) const {
    ::kill(m_process, number);
}

bool RunningProgram::hasOpenFileIn(const std::filesystem::path& folder, std::uint64_t bytes) const {
    const std::string start = std::filesystem::canonical(folder).string() + "/";
    std::error_code ended;
    for (const auto& entry :
         std::filesystem::directory_iterator("/proc/" + std::to_string(m_process) + "/fd", ended)) {
        std::error_code closed;
        struct stat status {};
        if (std::filesystem::read_symlink(entry.path(), closed).string().starts_with(start) &&
            ::stat(entry.path().c_str(), &status) == 0 &&
            static_cast<std::uint64_t>(status.st_size) >= bytes) {
            return true;
        }
    }
    return false;
}

void RunningProgram::readWhatIsSaid(ProgramResult& result, Clock::time_point deadline) {
    std::array<pollfd, 2> streams = {{{m_output, POLLIN, 0}, {m_errors, POLLIN, 0}}};
    const std::array<std::string*, 2> texts = {&result.output, &result.errors};
    std::array<char, std::size_t{64} << 10U> chunk{}; // all that a pipe holds
    while (streams[0].fd >= 0 || streams[1].fd >= 0) {
        constexpr int milliseconds = 100;
        if (::poll(streams.data(), streams.size(), milliseconds) < 0 && errno != EINTR) {
            throw std::runtime_error("cannot wait for a program");
        }
        // Some say much in tiny pieces: waking up for each takes far longer than what they do.
        std::this_thread::sleep_for(pause);
        for (std::size_t i = 0; i < streams.size(); ++i) {
            if (streams[i].fd < 0 || streams[i].revents == 0) {
                continue;
            }
            const ssize_t got = ::read(streams[i].fd, chunk.data(), chunk.size());
            if (got > 0) {
                texts[i]->append(chunk.data(), static_cast<std::size_t>(got));
            } else {
                streams[i].fd = -1; // a terminal ends with an error, a pipe without
            }
        }
        if (Clock::now() > deadline) {
            ::kill(m_process, SIGKILL);
            throw std::runtime_error("a program did not end");
        }
    }
}

ProgramResult RunningProgram::wait() {
    ProgramResult result;
    readWhatIsSaid(result, Clock::now() + patience);
    int status = 0;
    while (::waitpid(m_process, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("cannot wait for a program");
        }
    }
    m_process = -1;
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    return result;
}

Program::Program(std::string name, std::vector<std::string> arguments)
    : m_name(std::move(name)), m_arguments(std::move(arguments)) {}

Program& Program::inFolder(std::filesystem::path folder) {
    m_folder = std::move(folder);
    return *this;
}

Program& Program::with(const std::string& variable, const std::optional<std::string>& value) {
    m_variables[variable] = value;
    return *this;
}

Program& Program::withFileSizeLimit(std::uint64_t bytes) {
    m_fileSizeLimit = bytes;
    return *this;
}

Program& Program::withMemoryLimit(std::uint64_t bytes) {
#ifndef QUILLORN_SANITIZERS
    m_memoryLimit = bytes;
#else
    static_cast<void>(bytes);
#endif
    return *this;
}

Program& Program::onTerminal() {
    m_onTerminal = true;
    return *this;
}

Program& Program::asOrdinaryUser() {
    m_asOrdinaryUser = true;
    return *this;
}

RunningProgram Program::start() const {
    int executable = -1;
    if (m_asOrdinaryUser && ::geteuid() == 0) {
        // Opened while that is allowed: the way to it may be closed to others.
        executable = ::open(m_name.c_str(), O_RDONLY);
        if (executable < 0) {
            throw std::runtime_error("cannot open " + m_name);
        }
    }
    const Pipe output = makePipe();
    const Pipe errors = m_onTerminal ? makeTerminal() : makePipe();
    const pid_t process = ::fork();
    if (process < 0) {
        throw std::runtime_error("cannot start " + m_name);
    }
    if (process == 0) {
        become(output.writing, errors.writing, executable);
    }
    ::close(output.writing);
    ::close(errors.writing);
    if (executable >= 0) {
        ::close(executable);
    }
    return RunningProgram(process, output.reading, errors.reading);
}

void Program::become(int output, int errors, int executable) const {
    // Tests have one thread, so anything may be done between fork and exec.
    ::dup2(::open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
    ::dup2(output, STDOUT_FILENO);
    ::dup2(errors, STDERR_FILENO);
    if (!m_folder.empty() && ::chdir(m_folder.c_str()) != 0) {
        ::_exit(statusOfFailedStart);
    }
    for (const auto& [name, value] : m_variables) {
        if (value) {
            ::setenv(name.c_str(), value->c_str(), 1);
        } else {
            ::unsetenv(name.c_str());
        }
    }
    if (m_fileSizeLimit) {
        const struct rlimit limit { *m_fileSizeLimit, *m_fileSizeLimit };
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    if (m_memoryLimit) {
        const struct rlimit limit { *m_memoryLimit, *m_memoryLimit };
        ::setrlimit(RLIMIT_DATA, &limit);
    }
    std::vector<std::string> words = {m_name};
    words.insert(words.end(), m_arguments.begin(), m_arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    if (executable >= 0) {
        if (::setgid(nobody) == 0 && ::setuid(nobody) == 0) {
            ::fexecve(executable, pointers.data(), environ);
        }
    } else {
        ::execvp(m_name.c_str(), pointers.data());
    }
    ::_exit(statusOfFailedStart);
}

} // namespace quillorn::tests
