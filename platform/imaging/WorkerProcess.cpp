#include "platform/imaging/WorkerProcess.h"

#include "platform/imaging/WorkerProtocol.h"
#include "platform/imaging/WorkerReply.h"
#include "platform/sandbox/SpawnedWorker.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace {

using Clock = std::chrono::steady_clock;
using Kind = ImageError::Kind;

/// How long a stop request may go unnoticed: nothing wakes a wait when a token is asked to stop,
/// because the program's own token is asked from within a signal handler.
constexpr std::chrono::milliseconds stopInterval{50};

/// How long the end of a process may take once its descriptors are closed, which is the last thing
/// that the kernel does for it.
constexpr std::chrono::milliseconds endInterval{2'000};

WorkerAnswer failed(const WorkerJob& job, Kind kind, std::string reason, bool mayOthers = false) {
    return {tl::unexpected(ImageError{kind, job.file, std::move(reason)}), mayOthers};
}

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
    auto reply = readWorkerReply(output, job.format, job.limits);
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
    if (!output.isOpen()) {
        return failed(job, Kind::noReader, errnoText(errno));
    }
    const auto number = [](auto value) { return std::to_string(value); };
    SpawnedWorker child;
    const int error = child.start(
        {job.program,
         {std::string(imageFormatName(job.format)), number(job.limits.pixels),
          number(job.limits.side), number(job.limits.workerMemory), number(job.limits.workerOutput),
          number(job.limits.workerProcessorTime.count())},
         {&input, &output, &lifeEnd}});
    if (error != 0) {
        return failed(job, Kind::noReader,
                      job.program.string() + " cannot be started: " + errnoText(error));
    }
    lifeEnd.reset(); // from now on only the worker holds that end
    switch (waitForEnd(life, job)) {
    case Waited::stopped:
        return failed(job, Kind::cancelled, "cancelled");
    case Waited::deadline:
        return failed(job, Kind::tooLarge, "reading it takes too long");
    case Waited::ended:
        break;
    }
    // One that was taken over may have closed its end and go on.
    const std::optional<int> ended = child.waitShortly(endInterval);
    if (!ended) {
        return failed(job, Kind::notImage, "the reader of images failed over it", true);
    }
    const int status = *ended;
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
