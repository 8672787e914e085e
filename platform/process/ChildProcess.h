#pragma once

#include "platform/files/FileDescriptor.h"
#include "platform/files/FileError.h"
#include "platform/process/ChildCommand.h"

#include <chrono>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <sys/types.h>

namespace quillorn {

/// How a child process ended, and what it said.
struct ChildEnd {
    enum class How {
        exited,  ///< by itself, with `status`
        killed,  ///< by the signal `status` that was not ours: a crash, a limit, or the user
        stopped, ///< by us: stopped or cancelled, or its deadline had come
        lost     ///< nobody can tell, for the process that watched it was killed
    };

    How how = How::lost;
    int status = 0;
    std::string output; ///< the first bytes of its standard output
    std::string errors; ///< the first bytes of its standard error
    bool isOutputWhole = true;
    bool isErrorsWhole = true;

    [[nodiscard]] bool isSuccess() const { return how == How::exited && status == 0; }
    /// One line for people, "it crashed (Segmentation fault)".
    [[nodiscard]] std::string text() const;
};

/// A supervised child process, and all that it starts in turn.
///
/// Between this program and the child stands a small process of ours, the keeper. It starts the
/// child (own process group, limits, no privileges), takes what it says, and when the child or
/// this program ends, in whatever way, it kills all that is left of the child's family, also
/// what has left the child's process group. So nothing survives a crash of this program, and
/// it does not matter which thread started a child. If the keeper itself is killed, the kernel
/// kills the child, and this object the rest of its group.
///
/// A child is either run to its end (`runChild`) or kept and driven over pipes. The destructor
/// stops it. Not thread-safe: one thread at a time.
class ChildProcess {
public:
    using Clock = std::chrono::steady_clock;

    /// Returns once the child's program runs; the error says why it cannot be started.
    [[nodiscard]] static FileResult<ChildProcess> start(const ChildCommand& command);

    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess& operator=(ChildProcess&&) = delete;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    ~ChildProcess();

    /// Our end of the pipe that the command called `number`; it never blocks. Both ends of a
    /// family's pipes are closed when it has ended.
    [[nodiscard]] FileDescriptor& pipe(int number) { return m_pipes.at(number); }

    /// Becomes readable when the child has ended, for those who poll().
    [[nodiscard]] int endDescriptor() const { return m_status.get(); }
    [[nodiscard]] bool hasEnded();
    [[nodiscard]] pid_t processGroup() const { return m_child; }

    /// Waits until the child has ended. Nothing when the deadline comes or a stop is requested
    /// before, which leaves the child running. A request is seen within a tenth of a second, at
    /// once when a signal made it.
    [[nodiscard]] std::optional<ChildEnd> waitUntil(Clock::time_point deadline,
                                                    const std::stop_token& stop = {});

    /// Kills the child with its whole family, unless it has ended, and tells how it ended.
    ChildEnd stop();

private:
    ChildProcess() = default;

    /// True when the status pipe was closed by the keeper.
    bool readStatus();
    ChildEnd takeEnd(bool isOverdue);

    pid_t m_keeper = -1;
    pid_t m_child = -1;
    FileDescriptor m_lifeline; ///< closing it makes the keeper kill the family
    FileDescriptor m_status;   ///< the keeper's reports
    std::string m_report;
    std::map<int, FileDescriptor> m_pipes;
    std::optional<ChildEnd> m_end;
};

/// Runs a program to its end. It is stopped at the deadline or when a stop is requested.
[[nodiscard]] FileResult<ChildEnd> runChild(const ChildCommand& command,
                                            std::chrono::milliseconds timeLimit,
                                            const std::stop_token& stop = {});

} // namespace quillorn
