#include "platform/imaging/worker/Task.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <linux/sched.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

// A worker for tests. What it does wrong is told by the format that it is asked for.

namespace {

using namespace quillorn;
using namespace quillorn::worker;

const char* yesOrNo(bool is) {
    return is ? "yes" : "no";
}

std::string whetherItMayOpen(const std::string& path, int flags) {
    const int file = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (file >= 0) {
        ::close(file);
    }
    // What may never be opened is told apart from what may not be opened at this place.
    return file >= 0 ? "yes" : errno == EPERM ? "never" : "no";
}

/// The program in the place of this process, so it comes last.
std::string whetherItMayRun() {
    char name[] = "true";
    char* const words[] = {name, nullptr};
    ::execv("/bin/true", words);
    return errno == EPERM ? "no" : "yes";
}

bool hadChild(long process) {
    if (process == 0) {
        ::_exit(0);
    }
    return process > 0 && ::waitpid(static_cast<pid_t>(process), nullptr, __WALL) == process;
}

/// Each of the ways in which another process comes into being.
std::string whetherItMayHaveChildren() {
    std::string ways;
    ways += hadChild(::fork()) ? "fork " : "";
    ways += hadChild(::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, 0)) ? "clone " : "";
    clone_args how{};
    how.exit_signal = SIGCHLD;
    ways += hadChild(::syscall(SYS_clone3, &how, sizeof how)) ? "clone3 " : "";
#ifdef SYS_fork
    ways += hadChild(::syscall(SYS_fork)) ? "old fork " : "";
#endif
    return ways.empty() ? "no" : ways;
}

std::string whetherItMayHaveThreads() {
    bool ran = false;
    try {
        std::thread([&ran] { ran = true; }).join();
    } catch (const std::system_error&) {
        return "no";
    }
    return yesOrNo(ran);
}

/// Signal 0 does nothing but ask for the permission.
std::string whetherItMaySignalOthers() {
    const pid_t other = ::getppid();
    std::string ways;
    ways += ::kill(other, 0) == 0 ? "kill " : "";
    ways += ::syscall(SYS_tkill, other, 0) == 0 ? "tkill " : "";
    ways += ::syscall(SYS_tgkill, other, other, 0) == 0 ? "tgkill " : "";
    const long handle = ::syscall(SYS_pidfd_open, other, 0);
    ways += handle >= 0 ? "pidfd " : "";
    struct rlimit limit {};
    ways += ::prlimit(other, RLIMIT_CORE, nullptr, &limit) == 0 ? "limits " : "";
    return ways.empty() ? "no" : ways;
}

/// The file's mode and times, which are no matter of opening it.
std::string whetherItMayTouch(const std::string& path) {
    std::string ways;
    ways += ::chmod(path.c_str(), 0600) == 0 ? "mode " : "";
    ways += ::utimensat(AT_FDCWD, path.c_str(), nullptr, 0) == 0 ? "times " : "";
    ways += ::truncate(path.c_str(), 0) == 0 ? "length " : "";
    return ways.empty() ? "no" : ways;
}

/// The input names a file that is none of the system's.
std::string rights(const std::vector<char>& input) {
    const std::string path(input.begin(), input.end());
    const int connection = ::socket(AF_INET, SOCK_STREAM, 0);
    const std::string text =
        "read: " + whetherItMayOpen(path, O_RDONLY) +
        ", write: " + whetherItMayOpen(path + ".new", O_WRONLY | O_CREAT) +
        ", touch: " + whetherItMayTouch(path) + ", children: " + whetherItMayHaveChildren() +
        ", threads: " + whetherItMayHaveThreads() + ", signals: " + whetherItMaySignalOthers() +
        ", network: " + yesOrNo(connection >= 0);
    struct rlimit memory {};
    ::getrlimit(RLIMIT_DATA, &memory);
    return text + ", memory: " + std::to_string(memory.rlim_cur) + ", run: " + whetherItMayRun();
}

Decoded misbehave(const Task& task, std::vector<char>& input) {
    switch (task.format) {
    case ImageFormat::png:
        std::abort();
    case ImageFormat::gif:
        for (volatile bool goesOn = true; goesOn;) {
        }
        break;
    case ImageFormat::bmp:
        while (true) {
            ::pause();
        }
    case ImageFormat::ico: {
        std::vector<std::vector<char>> hoard;
        while (true) {
            hoard.emplace_back(64U << 20U, 'x');
        }
    }
    case ImageFormat::tiff: {
        VectorImage image;
        image.pdf.resize(static_cast<std::size_t>(task.limits.workerOutput) + 1);
        return image;
    }
    case ImageFormat::webp:
        return tl::unexpected(Refusal{ReplyKind::refused, rights(input)});
    case ImageFormat::jpeg2000: // pretends to be gone
        ::close(lifeDescriptor);
        while (true) {
            ::pause();
        }
    case ImageFormat::heif: // a drawing, where pixels were asked for
        return VectorImage{{'%', 'P', 'D', 'F'}, 10, 10};
    case ImageFormat::svg: // and the other way round
        return PackedImage{1, 1, {{}, 1, 8, {'x'}}, {}, {}, {}, {}};
    case ImageFormat::icns: // far more data than a pixel can come to
        return PackedImage{1, 1, {{}, 1, 8, std::vector<char>(100'000)}, {}, {}, {}, {}};
    case ImageFormat::psd:
        return PackedImage{0, 5, {}, {}, {}, {}, {}};
    case ImageFormat::tga: {
        const std::string nonsense = "what is this?";
        const bool isWritten = ::write(outputDescriptor, nonsense.data(), nonsense.size()) > 0;
        std::_Exit(isWritten ? 0 : 8);
    }
    default:
        std::_Exit(7);
    }
    return tl::unexpected(Refusal{});
}

} // namespace

int main(int argc, char** argv) {
    std::_Exit(serve(argc, argv, misbehave));
}
