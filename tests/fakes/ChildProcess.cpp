#include "tests/fakes/ChildProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <grp.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>

namespace quillorn::tests {

namespace {

constexpr uid_t nobody = 65534;

struct Pipe {
    std::array<int, 2> ends{};

    Pipe() {
        if (::pipe(ends.data()) != 0) {
            throw std::runtime_error("no pipe");
        }
    }
    ~Pipe() {
        closeEnd(0);
        closeEnd(1);
    }
    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    void closeEnd(std::size_t end) {
        if (ends[end] >= 0) {
            ::close(ends[end]);
            ends[end] = -1;
        }
    }

    void write(const std::string& text) const {
        std::size_t done = 0;
        while (done < text.size()) {
            const ssize_t put = ::write(ends[1], text.data() + done, text.size() - done);
            if (put < 0 && errno != EINTR) {
                return; // the parent notices that the answer is missing
            }
            done += put > 0 ? static_cast<std::size_t>(put) : 0;
        }
    }

    /// What comes until the other end is closed, or the first `limit` bytes.
    [[nodiscard]] std::string read(std::size_t limit) const {
        std::string text;
        std::array<char, 4096> chunk{};
        while (text.size() < limit) {
            const ssize_t got = ::read(ends[0], chunk.data(), chunk.size());
            if (got == 0 || (got < 0 && errno != EINTR)) {
                break;
            }
            text.append(chunk.data(), got > 0 ? static_cast<std::size_t>(got) : 0);
        }
        return text;
    }
};

int waitFor(pid_t pid) {
    int status = 0;
    while (::waitpid(pid, &status, 0) < 0) {
        if (errno != EINTR) {
            throw std::runtime_error("cannot wait for the child");
        }
    }
    return status;
}

/// Forks without anything in the streams' buffers, which the child would print once more.
pid_t forkChild() {
    std::fflush(nullptr);
    const pid_t pid = ::fork();
    if (pid < 0) {
        throw std::runtime_error("cannot fork");
    }
    return pid;
}

std::string answerOf(const std::function<std::string()>& work) {
    try {
        return work();
    } catch (const std::exception& error) {
        return std::string("exception: ") + error.what();
    }
}

} // namespace

std::string inChild(const std::function<std::string()>& work) {
    Pipe pipe;
    const pid_t pid = forkChild();
    if (pid == 0) {
        pipe.write(answerOf(work));
        ::_exit(0); // the parent's cleaning up is the parent's
    }
    pipe.closeEnd(1);
    std::string answer = pipe.read(std::string().max_size());
    const int status = waitFor(pid);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw std::runtime_error("the child died with status " + std::to_string(status));
    }
    return answer;
}

std::string asOrdinaryUser(const std::function<std::string()>& work) {
    return inChild([&work]() -> std::string {
        if (::geteuid() == 0 &&
            (::setgroups(0, nullptr) != 0 || ::setresgid(nobody, nobody, nobody) != 0 ||
             ::setresuid(nobody, nobody, nobody) != 0)) {
            return "cannot become an ordinary user";
        }
        return work();
    });
}

void giveToOrdinaryUser(const std::filesystem::path& path) {
    if (::geteuid() == 0 && ::chown(path.c_str(), nobody, nobody) != 0) {
        throw std::runtime_error("cannot give " + path.string() + " away");
    }
}

HeldChild::HeldChild(const std::function<void(const Hold&)>& work) {
    Pipe pipe;
    m_pid = forkChild();
    if (m_pid == 0) {
        answerOf([&]() -> std::string {
            work([&pipe]() {
                pipe.write("!");
                while (true) {
                    ::pause();
                }
            });
            return {};
        });
        ::_exit(1);
    }
    pipe.closeEnd(1);
    if (pipe.read(1).empty()) {
        kill();
        throw std::runtime_error("the child ended before it could be held");
    }
}

HeldChild::~HeldChild() {
    kill();
}

void HeldChild::kill() {
    if (m_pid > 0) {
        ::kill(m_pid, SIGKILL);
        waitFor(m_pid);
        m_pid = -1;
    }
}

} // namespace quillorn::tests
