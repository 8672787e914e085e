#include "platform/process/keeper/Launch.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdint>
#include <fcntl.h>
#include <grp.h>
#include <optional>
#include <sched.h>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quillorn::keeper {

namespace {

struct Pipe {
    FileDescriptor reading;
    FileDescriptor writing;
    bool isOpen = false;

    Pipe() {
        std::array<int, 2> ends{-1, -1};
        isOpen = ::pipe2(ends.data(), O_CLOEXEC) == 0;
        reading = FileDescriptor(ends[0]);
        writing = FileDescriptor(ends[1]);
    }
};

Started failure(std::string_view step, int errnoValue) {
    Started report;
    report.errnoValue = errnoValue;
    const std::size_t length = std::min(step.size(), sizeof report.step - 1);
    std::copy_n(step.data(), length, report.step);
    return report;
}

bool setLimit(__rlimit_resource_t resource, const std::optional<std::uint64_t>& value) {
    if (!value) {
        return true;
    }
    struct rlimit limit {};
    if (::getrlimit(resource, &limit) != 0) {
        return false;
    }
    limit.rlim_cur = limit.rlim_max = std::min<rlim_t>(*value, limit.rlim_max);
    return ::setrlimit(resource, &limit) == 0;
}

bool writeText(const char* file, const std::string& text) {
    const FileDescriptor descriptor(::open(file, O_WRONLY | O_CLOEXEC));
    return ::write(descriptor.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// Puts the child into a network without any connection. An ordinary user may do that only
/// within a user namespace of its own, in which it stays who it is.
void leaveNetwork() {
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    if (user == 0) {
        static_cast<void>(::unshare(CLONE_NEWNET)); // refused in some containers
    } else if (::unshare(CLONE_NEWUSER | CLONE_NEWNET) == 0) {
        writeText("/proc/self/setgroups", "deny");
        const std::string userNumber = std::to_string(user);
        const std::string groupNumber = std::to_string(group);
        writeText("/proc/self/uid_map", userNumber + " " + userNumber + " 1");
        writeText("/proc/self/gid_map", groupNumber + " " + groupNumber + " 1");
    }
}

/// What the child does between fork and exec. Only returns to say which step failed; errno says
/// why.
std::string_view become(const Order& order, const std::vector<char*>& arguments, const Pipe& output,
                        const Pipe& errors, pid_t keeper) {
    sigset_t none;
    ::sigemptyset(&none);
    if (::setpgid(0, 0) != 0 || ::sigprocmask(SIG_SETMASK, &none, nullptr) != 0 ||
        ::dup2(output.writing.get(), STDOUT_FILENO) < 0 ||
        ::dup2(errors.writing.get(), STDERR_FILENO) < 0) {
        return "preparing it";
    }
    if (!setLimit(RLIMIT_CPU, order.limits.cpuSeconds) ||
        !setLimit(RLIMIT_FSIZE, order.limits.fileBytes) || !setLimit(RLIMIT_CORE, 0)) {
        return "setting its limits";
    }
    if (!order.network) {
        leaveNetwork();
    }
    if (order.user && (::setgroups(0, nullptr) != 0 ||
                       ::setresgid(order.user->group, order.user->group, order.user->group) != 0 ||
                       ::setresuid(order.user->user, order.user->user, order.user->user) != 0)) {
        return "giving up privileges";
    }
    // Only now: a change of user takes it back. The keeper may be dead already.
    if (::prctl(PR_SET_PDEATHSIG, SIGKILL, 0, 0, 0) != 0 || ::getppid() != keeper) {
        return "watching over it";
    }
    if (::chdir(order.workingFolder.c_str()) != 0) {
        return "entering its folder";
    }
    // In any case, for the program has one of its own, which is not meant for its children.
    if (!setLimit(RLIMIT_DATA, order.limits.dataBytes.value_or(RLIM_INFINITY))) {
        return "setting its limits";
    }
    ::execv(arguments.front(), arguments.data());
    return {};
}

/// Gives up our copies of the child's own pipes, so that both sides see when the other is gone.
void closeChildPipes() {
    for (int number = STDERR_FILENO + 1; number <= ChildPipe::lastNumber; ++number) {
        ::close(number);
    }
    const FileDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    ::dup2(nothing.get(), STDIN_FILENO);
}

/// The child's word about why it could not become the program; nothing when it became it.
std::optional<Started> troubleFrom(const FileDescriptor& reading) {
    Started report;
    ssize_t got = 0;
    do {
        got = ::read(reading.get(), &report, sizeof report);
    } while (got < 0 && errno == EINTR);
    return got == sizeof report ? std::optional(report) : std::nullopt;
}

} // namespace

void reserveChildPipes() {
    for (int number = STDIN_FILENO; number <= ChildPipe::lastNumber; ++number) {
        if (::fcntl(number, F_GETFD) < 0) {
            // The lowest free number is the one that open() takes.
            static_cast<void>(::open("/dev/null", O_RDWR | O_CLOEXEC));
        }
    }
}

Launched launch(const Order& order) {
    Launched launched;
    Pipe output;
    Pipe errors;
    Pipe trouble;
    if (!output.isOpen || !errors.isOpen || !trouble.isOpen) {
        launched.report = failure("preparing it", errno);
        return launched;
    }
    std::vector<std::string> texts = order.arguments;
    std::vector<char*> arguments;
    arguments.reserve(texts.size() + 1);
    for (std::string& text : texts) {
        arguments.push_back(text.data());
    }
    arguments.push_back(nullptr);

    const pid_t keeper = ::getpid();
    // Nothing else may happen in the child, as in fork's handlers: ThreadSanitizer starts a thread
    // there, and a process of two threads gets no namespace of its own.
    const pid_t child = ::_Fork();
    if (child == 0) {
        const std::string_view step = become(order, arguments, output, errors, keeper);
        const Started report = failure(step, errno);
        static_cast<void>(::write(trouble.writing.get(), &report, sizeof report) == 0);
        ::_exit(1);
    }
    if (child < 0) {
        launched.report = failure("starting a process", errno);
        return launched;
    }
    ::setpgid(child, child); // the child does so itself, too: whoever comes first
    closeChildPipes();
    for (Pipe* const pipe : {&output, &errors, &trouble}) {
        pipe->writing.reset();
    }
    if (const auto refused = troubleFrom(trouble.reading)) {
        ::waitpid(child, nullptr, 0);
        launched.report = *refused;
        return launched;
    }
    launched.report.child = child;
    launched.output = std::move(output.reading);
    launched.errors = std::move(errors.reading);
    return launched;
}

} // namespace quillorn::keeper
