// Starts a command on a virtual display and tells when what it shows was there:
//
//     quillorn_bench_screen RESULT-FILE DISPLAY-FILE QUIET TIMEOUT COMMAND [ARGUMENT...]
//
// DISPLAY-FILE is where Xvfb -fbdir keeps its picture. The command is watched until the display has
// changed, shows more than a background, and neither changed nor the command took processor time
// worth mentioning for QUIET seconds; then it is ended with everything that it started. RESULT-FILE
// gets one JSON object, times in seconds since the start of the command:
//
//     first     something other than a plain background was shown
//     painted   95 % of what changed on the display looked as it does at the end
//     last      the last change
//     cpu       processor time of all processes
//     pss_kib, rss_kib  memory of all processes at the end
//     share     of the display that looks other than before
//     settled   whether it became quiet within TIMEOUT seconds

#include "benchmarks/window/Screen.h"
#include "benchmarks/window/ProcessTree.h"

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using Clock = bench::Screen::Clock;

constexpr int usageError = 2;
constexpr int cannotStart = 127; // as the shell says it
/// Between two looks, while milliseconds matter and later: a look takes time of the processors.
constexpr auto shortPause = std::chrono::milliseconds(2);
constexpr auto longPause = std::chrono::milliseconds(15);
constexpr double shortTimes = 1.5; // seconds
constexpr double mostlyComplete = 0.95;
/// A window that shows nothing yet has one colour, or two with its border.
constexpr std::size_t plainColors = 2;
/// Seconds of processor time within a look at all processes that count as idle: a cursor that
/// blinks, and the clock's granularity.
constexpr double idleTime = 0.03;

double seconds(Clock::duration duration) {
    return std::chrono::duration<double>(duration).count();
}

pid_t startCommand(char** words) {
    const pid_t child = ::fork();
    if (child == 0) {
        ::setsid(); // so that all that it starts can be ended
        ::execvp(words[0], words);
        std::fprintf(stderr, "quillorn_bench_screen: %s: %s\n", words[0], std::strerror(errno));
        ::_exit(cannotStart);
    }
    return child;
}

void endCommand(pid_t child) {
    ::kill(-child, SIGTERM);
    for (int i = 0; i < 200; ++i) {
        if (::waitpid(child, nullptr, WNOHANG) == child) {
            ::kill(-child, SIGKILL);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    ::kill(-child, SIGKILL);
    ::waitpid(child, nullptr, 0);
}

struct Watched {
    Clock::time_point first;
    bool isSettled = false;
    bool hasEnded = false;
};

Watched watch(bench::Screen& screen, pid_t child, double quiet, double timeout) {
    const Clock::time_point start = Clock::now();
    Watched watched;
    bool isShown = false;
    double usedBefore = 0;
    Clock::time_point busy = start;
    Clock::time_point lookedAtProcesses = start;
    while (seconds(Clock::now() - start) < timeout) {
        if (::waitpid(child, nullptr, WNOHANG) == child) {
            watched.hasEnded = true;
            return watched;
        }
        if (screen.look() && !isShown && screen.colors() > plainColors) {
            isShown = true;
            watched.first = screen.lastChange();
        }
        const Clock::time_point now = Clock::now();
        constexpr double between = 0.25;
        if (seconds(now - lookedAtProcesses) > between) {
            lookedAtProcesses = now;
            const double used = bench::ProcessTree::of(child, false).processorTime;
            if (used - usedBefore > idleTime) {
                busy = now;
            }
            usedBefore = used;
        }
        if (isShown && seconds(now - screen.lastChange()) > quiet && seconds(now - busy) > quiet) {
            watched.isSettled = true;
            return watched;
        }
        std::this_thread::sleep_for(seconds(now - start) < shortTimes ? shortPause : longPause);
    }
    return watched;
}

int run(char** argv) {
    bench::Screen screen(argv[2]);
    const double quiet = std::stod(argv[3]);
    const double timeout = std::stod(argv[4]);
    const Clock::time_point start = Clock::now();
    const pid_t child = startCommand(argv + 5);
    if (child < 0) {
        std::perror("quillorn_bench_screen: fork");
        return 1;
    }
    const Watched watched = watch(screen, child, quiet, timeout);
    if (watched.hasEnded || watched.first == Clock::time_point()) {
        std::fprintf(stderr, "quillorn_bench_screen: the command %s\n",
                     watched.hasEnded ? "ended by itself" : "showed nothing");
        endCommand(child);
        return 1;
    }
    const bench::ProcessTree tree = bench::ProcessTree::of(child, true);
    std::ofstream result(argv[1]);
    result << std::fixed << "{\"first\": " << seconds(watched.first - start)
           << ", \"painted\": " << seconds(screen.complete(mostlyComplete) - start)
           << ", \"last\": " << seconds(screen.lastChange() - start)
           << ", \"cpu\": " << tree.processorTime << ", \"pss_kib\": " << tree.proportional
           << ", \"rss_kib\": " << tree.resident << ", \"processes\": " << tree.processes.size()
           << ", \"share\": " << screen.changedShare()
           << ", \"settled\": " << (watched.isSettled ? "true" : "false") << "}\n";
    const bool isWritten = static_cast<bool>(result.flush());
    endCommand(child);
    return isWritten ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 6) {
        std::fputs("usage: quillorn_bench_screen RESULT-FILE DISPLAY-FILE QUIET TIMEOUT COMMAND "
                   "[ARGUMENT...]\n",
                   stderr);
        return usageError;
    }
    try {
        return run(argv);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "quillorn_bench_screen: %s\n", error.what());
        return 1;
    }
}
