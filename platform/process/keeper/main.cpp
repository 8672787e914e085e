#include "platform/files/FileDescriptor.h"
#include "platform/process/KeeperProtocol.h"
#include "platform/process/keeper/Family.h"
#include "platform/process/keeper/Keeper.h"
#include "platform/process/keeper/Launch.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <exception>
#include <fcntl.h>
#include <span>
#include <string>
#include <string_view>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {

using namespace quillorn;

/// Tells the program; when it is gone nobody wants to know.
void report(std::span<const char> bytes) {
    static_cast<void>(writeAll(FileDescriptor(::dup(keeper::statusNumber)), "status", bytes));
}

int keep(const keeper::Order& order) {
    keeper::reserveChildPipes();
    ::close_range(keeper::statusNumber + 1, ~0U, 0);
    ::fcntl(keeper::lifelineNumber, F_SETFD, FD_CLOEXEC);
    ::fcntl(keeper::statusNumber, F_SETFD, FD_CLOEXEC);
    sigset_t childSignal;
    ::sigemptyset(&childSignal);
    ::sigaddset(&childSignal, SIGCHLD);
    ::sigprocmask(SIG_BLOCK, &childSignal, nullptr);
    const FileDescriptor signals(::signalfd(-1, &childSignal, SFD_CLOEXEC | SFD_NONBLOCK));

    keeper::Launched launched;
    if (!signals.isOpen() || !keeper::adoptOrphans()) {
        launched.report.errnoValue = errno;
    } else {
        launched = keeper::launch(order);
    }
    const keeper::Started started = launched.report;
    report(std::span(reinterpret_cast<const char*>(&started), sizeof started));
    if (started.child == 0) {
        return 1;
    }
    keeper::Keeper family(std::move(launched), order.outputLimit, keeper::lifelineNumber,
                          signals.get());
    family.watch();
    report(family.lastReport());
    return 0;
}

} // namespace

int main(int argc, char** argv) {
    try {
        const auto order = keeper::fromWords(std::vector<std::string>(argv + 1, argv + argc));
        if (argc < 1 || !order || ::fcntl(keeper::statusNumber, F_GETFD) < 0) {
            static_cast<void>(
                std::fputs("This helper is started by the program itself.\n", stderr));
            return 2;
        }
        return keep(*order);
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
        return 1;
    }
}
