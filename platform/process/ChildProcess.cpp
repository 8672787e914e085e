#include "platform/process/ChildProcess.h"

#include "platform/files/BesideProgram.h"
#include "platform/process/KeeperProtocol.h"
#include "platform/process/SpawnedKeeper.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace {

using std::chrono::milliseconds;

/// A stop request is looked for this often: nobody can be called back from a signal's handler.
constexpr milliseconds stopInterval{100};

/// How long a killed family may take to be gone before we leave it to the kernel.
constexpr std::chrono::seconds patienceWithTheDying{10};

milliseconds remaining(ChildProcess::Clock::time_point deadline) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - ChildProcess::Clock::now());
    return std::max(left, milliseconds{0});
}

/// Waits until there is something to read. False when the time is over.
bool waitReadable(int descriptor, milliseconds time) {
    pollfd news{descriptor, POLLIN, 0};
    return ::poll(&news, 1, static_cast<int>(time.count())) > 0;
}

template <class Report>
Report reportAt(const std::string& bytes, std::size_t offset) {
    Report report;
    std::memcpy(&report, bytes.data() + offset, sizeof report);
    return report;
}

} // namespace

std::string ChildEnd::text() const {
    switch (how) {
    case How::exited:
        return "it ended with status " + std::to_string(status);
    case How::killed:
        return std::string("it crashed (") + ::strsignal(status) + ")";
    case How::stopped:
        return "it was stopped";
    case How::lost:
        break;
    }
    return "the process that watched over it was killed";
}

FileResult<ChildProcess> ChildProcess::start(const ChildCommand& command) {
    auto spawned = spawnKeeper(command);
    if (!spawned) {
        return tl::unexpected(std::move(spawned.error()));
    }
    ChildProcess child;
    child.m_keeper = spawned->process;
    child.m_lifeline = std::move(spawned->lifeline);
    child.m_status = std::move(spawned->status);
    child.m_pipes = std::move(spawned->pipes);
    while (child.m_report.size() < sizeof(keeper::Started)) {
        waitReadable(child.m_status.get(), stopInterval);
        if (child.readStatus() && child.m_report.size() < sizeof(keeper::Started)) {
            return tl::unexpected(
                FileError{besideProgram(keeper::programName), "it ended at its start", 0});
        }
    }
    const auto started = reportAt<keeper::Started>(child.m_report, 0);
    if (started.child == 0) {
        return tl::unexpected(
            FileError::fromErrno(command.arguments.front(), started.errnoValue, started.step));
    }
    child.m_child = started.child;
    return child;
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : m_keeper(std::exchange(other.m_keeper, -1)),
      m_child(std::exchange(other.m_child, -1)),
      m_lifeline(std::move(other.m_lifeline)),
      m_status(std::move(other.m_status)),
      m_report(std::move(other.m_report)),
      m_pipes(std::move(other.m_pipes)),
      m_end(std::move(other.m_end)) {}

ChildProcess::~ChildProcess() {
    if (m_keeper > 0) {
        stop();
    }
}

bool ChildProcess::readStatus() {
    std::array<char, 1U << 12U> block{};
    while (true) {
        const ssize_t got = ::read(m_status.get(), block.data(), block.size());
        if (got > 0) {
            m_report.append(block.data(), static_cast<std::size_t>(got));
        } else if (got == 0 || (errno != EINTR && errno != EAGAIN)) {
            return true;
        } else if (errno == EAGAIN) {
            return false;
        }
    }
}

bool ChildProcess::hasEnded() {
    return m_end.has_value() || waitUntil(Clock::now()).has_value();
}

std::optional<ChildEnd> ChildProcess::waitUntil(Clock::time_point deadline,
                                                const std::stop_token& stop) {
    while (!m_end) {
        if (readStatus()) {
            m_end = takeEnd(false);
            break;
        }
        const milliseconds left = remaining(deadline);
        if (left == milliseconds{0} || stop.stop_requested()) {
            return std::nullopt;
        }
        waitReadable(m_status.get(), stop.stop_possible() ? std::min(left, stopInterval) : left);
    }
    return m_end;
}

ChildEnd ChildProcess::stop() {
    m_lifeline.reset();
    if (!m_end) {
        const auto end = waitUntil(Clock::now() + patienceWithTheDying);
        m_end = end ? *end : takeEnd(true);
    }
    return *m_end;
}

ChildEnd ChildProcess::takeEnd(bool isOverdue) {
    m_pipes.clear();
    int keeperStatus = 0;
    if (m_keeper > 0) {
        while (::waitpid(m_keeper, &keeperStatus, isOverdue ? WNOHANG : 0) < 0 && errno == EINTR) {
        }
        m_keeper = -1;
    }
    ChildEnd end;
    const std::size_t start = sizeof(keeper::Started);
    if (m_report.size() < start + sizeof(keeper::Ended)) {
        if (m_child > 0) {
            ::kill(-m_child, SIGKILL); // nobody else is left to do it
        }
        end.how = isOverdue ? ChildEnd::How::stopped : ChildEnd::How::lost;
        return end;
    }
    const auto ended = reportAt<keeper::Ended>(m_report, start);
    end.how = ended.byUs                    ? ChildEnd::How::stopped
              : WIFEXITED(ended.waitStatus) ? ChildEnd::How::exited
                                            : ChildEnd::How::killed;
    end.status =
        WIFEXITED(ended.waitStatus) ? WEXITSTATUS(ended.waitStatus) : WTERMSIG(ended.waitStatus);
    const std::size_t texts = start + sizeof ended;
    end.output = m_report.substr(texts, ended.outputBytes);
    end.errors = m_report.substr(texts + end.output.size(), ended.errorBytes);
    end.isOutputWhole = ended.isOutputWhole && end.output.size() == ended.outputBytes;
    end.isErrorsWhole = ended.isErrorsWhole && end.errors.size() == ended.errorBytes;
    m_report.clear();
    return end;
}

FileResult<ChildEnd> runChild(const ChildCommand& command, milliseconds timeLimit,
                              const std::stop_token& stop) {
    auto child = ChildProcess::start(command);
    if (!child) {
        return tl::unexpected(std::move(child.error()));
    }
    if (auto end = child->waitUntil(ChildProcess::Clock::now() + timeLimit, stop)) {
        return std::move(*end);
    }
    return child->stop();
}

} // namespace quillorn
