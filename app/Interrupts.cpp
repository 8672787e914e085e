#include "app/Interrupts.h"

#include <atomic>
#include <csignal>
#include <unistd.h>

namespace quillorn {

namespace {

constexpr int signalStatusBase = 128;

// The program stays single-threaded: a thread that waits for signals would make every reference
// count of the process atomic, which a long job feels. So the handler requests the stop itself.
// That is sound here although no standard promises it: a stop request sets one bit of a lock-free
// atomic, and takes the state's spin lock only for the list of callbacks. Nobody in this program
// registers a callback with this source, so the handler never finds that lock taken, and there
// is nothing to call.
static_assert(std::atomic<int>::is_always_lock_free);
std::atomic<int> firstSignal{0};

/// A stop source that stays valid until the process is gone, whenever a signal comes.
union LastingSource {
    LastingSource() : source() {}
    ~LastingSource() {} // NOLINT(modernize-use-equals-default): keeps the source alive
    LastingSource(const LastingSource&) = delete;
    LastingSource& operator=(const LastingSource&) = delete;
    std::stop_source source;
};
LastingSource lasting;

extern "C" void requestStop(int signal) {
    int none = 0;
    if (!firstSignal.compare_exchange_strong(none, signal)) {
        ::_exit(signalStatusBase + signal);
    }
    lasting.source.request_stop();
}

} // namespace

std::stop_token Interrupts::watch() {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        if (::sigaction(signal, nullptr, &action) != 0 || action.sa_handler == SIG_IGN) {
            continue;
        }
        action = {};
        action.sa_handler = requestStop;
        action.sa_flags = SA_RESTART;
        ::sigaction(signal, &action, nullptr);
    }
    return lasting.source.get_token();
}

int Interrupts::exitStatus() {
    const int signal = firstSignal.load();
    return signal == 0 ? 0 : signalStatusBase + signal;
}

void ignoreSignalsOfWriting() {
    std::signal(SIGPIPE, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
}

} // namespace quillorn
