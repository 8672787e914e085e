#include "platform/imaging/worker/Task.h"

#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

// A worker for tests. What it does wrong is told by the format that it is asked for.

namespace {

using namespace quillorn;
using namespace quillorn::worker;

std::string whetherItMayOpen(const std::string& path, int flags) {
    const int file = ::open(path.c_str(), flags | O_CLOEXEC, 0600);
    if (file >= 0) {
        ::close(file);
    }
    return file >= 0 ? "yes" : "no";
}

std::string whetherItMayRun() {
    const pid_t child = ::fork();
    if (child == 0) {
        char name[] = "true";
        char* const words[] = {name, nullptr};
        ::execv("/bin/true", words);
        ::_exit(1);
    }
    int status = 1;
    ::waitpid(child, &status, 0);
    return status == 0 ? "yes" : "no";
}

/// The input names a file that is none of the system's.
std::string rights(const std::vector<char>& input) {
    const std::string path(input.begin(), input.end());
    const int connection = ::socket(AF_INET, SOCK_STREAM, 0);
    const std::string text = "read: " + whetherItMayOpen(path, O_RDONLY) +
                             ", write: " + whetherItMayOpen(path + ".new", O_WRONLY | O_CREAT) +
                             ", run: " + whetherItMayRun() +
                             ", network: " + (connection >= 0 ? "yes" : "no");
    struct rlimit memory {};
    ::getrlimit(RLIMIT_DATA, &memory);
    return text + ", memory: " + std::to_string(memory.rlim_cur);
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
