// Runs one command and writes what it cost:
//
//     quillorn_bench_measure RESULT-FILE COMMAND [ARGUMENT...]
//
// RESULT-FILE gets one JSON object: wall, user and system time in seconds, the peak resident set
// in KiB of the largest process among the command and those it waited for, and the exit status
// (128 + N for signal N).
//
// It is a program of its own because Linux counts what a process held before exec into its peak:
// started straight from Python, every command would seem to need at least Python's memory.

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr int usageError = 2;
constexpr int cannotStart = 127; // as the shell says it

double seconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

int fail(const char* what) {
    std::fprintf(stderr, "quillorn_bench_measure: %s: %s\n", what, std::strerror(errno));
    return 1;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) {
        std::fputs("usage: quillorn_bench_measure RESULT-FILE COMMAND [ARGUMENT...]\n", stderr);
        return usageError;
    }
    const auto start = std::chrono::steady_clock::now();
    const pid_t child = fork();
    if (child < 0) {
        return fail("fork");
    }
    if (child == 0) {
        execvp(argv[2], argv + 2);
        fail(argv[2]);
        _exit(cannotStart);
    }
    int status = 0;
    rusage usage{};
    while (wait4(child, &status, 0, &usage) < 0) {
        if (errno != EINTR) {
            return fail("wait4");
        }
    }
    const std::chrono::duration<double> wall = std::chrono::steady_clock::now() - start;
    const int exitStatus = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);

    const int result = open(argv[1], O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
    if (result < 0) {
        return fail(argv[1]);
    }
    const int written =
        dprintf(result,
                "{\"wall\": %.6f, \"user\": %.6f, \"system\": %.6f, \"peak_kib\": %ld, "
                "\"exit\": %d}\n",
                wall.count(), seconds(usage.ru_utime), seconds(usage.ru_stime), usage.ru_maxrss,
                exitStatus);
    return written > 0 && close(result) == 0 ? 0 : fail(argv[1]);
}
