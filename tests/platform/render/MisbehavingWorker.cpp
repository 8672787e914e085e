#include "platform/files/FileDescriptor.h"
#include "platform/render/RenderChannel.h"
#include "platform/render/RenderProtocol.h"
#include "platform/render/worker/WorkerSetup.h"

#include <cstddef>
#include <cstdlib>
#include <fcntl.h>
#include <fontconfig/fontconfig.h>
#include <span>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

// A worker for tests. What it does wrong is told by the page that it is asked for, in the order of
// BadPage in WorkerTroubleTest.cpp. What it tries is answered by a picture 2 pixels wide
// where it may, and 1 where it may not.

namespace {

using namespace quillorn;
using namespace quillorn::render;

std::string fontFile() {
    FcPattern* const pattern = FcPatternCreate();
    FcConfigSubstitute(nullptr, pattern, FcMatchPattern);
    FcDefaultSubstitute(pattern);
    FcResult result = FcResultNoMatch;
    FcPattern* const match = FcFontMatch(nullptr, pattern, &result);
    FcChar8* file = nullptr;
    if (match == nullptr || FcPatternGetString(match, FC_FILE, 0, &file) != FcResultMatch) {
        return {};
    }
    return reinterpret_cast<const char*>(file);
}

bool mayOpen(const std::string& path, int flags) {
    return FileDescriptor(::open(path.c_str(), flags | O_CLOEXEC, 0600)).isOpen();
}

bool mayRun() {
    const pid_t child = ::fork();
    if (child == 0) {
        char name[] = "true";
        char* const words[] = {name, nullptr};
        ::execv("/bin/true", words);
        ::_exit(1);
    }
    int status = 1;
    ::waitpid(child, &status, 0);
    return status == 0;
}

bool mayTakeMemory() {
    constexpr std::size_t much = std::size_t{2} << 30U;
    return ::mmap(nullptr, much, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) !=
           MAP_FAILED;
}

bool mayConnect() {
    return FileDescriptor(::socket(AF_INET, SOCK_STREAM, 0)).isOpen();
}

void send(const FileDescriptor& channel, const Reply& reply, std::size_t length = sizeof(Reply)) {
    if (!sendPacket(channel, std::as_bytes(std::span(&reply, 1)).first(length))) {
        std::_Exit(EXIT_FAILURE);
    }
}

void answer(const FileDescriptor& channel, const Request& request) {
    Reply reply;
    reply.answer = Answer::drawn;
    reply.document = request.document;
    reply.width = 1;
    reply.height = 1;
    const auto tried = [&reply](bool isPermitted) { reply.width = isPermitted ? 2 : 1; };
    switch (request.page) {
    case 1:
        std::abort();
    case 2:
        while (true) {
            ::pause();
        }
    case 3:
        reply.width = request.width + 1;
        break;
    case 4:
        send(channel, reply, sizeof reply / 2);
        return;
    case 5:
        ++reply.document;
        break;
    case 6:
        tried(mayOpen("/etc/passwd", O_RDONLY) || mayOpen("/proc/self/environ", O_RDONLY) ||
              mayOpen("/usr/bin/env", O_RDONLY));
        break;
    case 7:
        tried(mayOpen("/tmp/quillorn-test-must-not-be-there", O_WRONLY | O_CREAT));
        break;
    case 8:
        tried(mayOpen(fontFile(), O_RDONLY));
        break;
    case 9:
        tried(mayConnect());
        break;
    case 10:
        tried(mayRun());
        break;
    case 11:
        tried(mayTakeMemory());
        break;
    case 12:
        std::_Exit(EXIT_SUCCESS);
    default:
        break;
    }
    send(channel, reply);
}

} // namespace

int main(int argc, char** argv) {
    if (!setUpWorker(argc, argv)) {
        return EXIT_FAILURE;
    }
    const FileDescriptor channel(channelDescriptor);
    Request request;
    FileDescriptor passed;
    while (receivePacket(channel, std::as_writable_bytes(std::span(&request, 1)), passed, true) ==
           Received::packet) {
        passed.reset();
        if (request.command == Command::open) {
            Reply opened;
            opened.answer = Answer::opened;
            opened.document = request.document;
            send(channel, opened);
        } else if (request.command == Command::draw) {
            answer(channel, request);
        }
    }
    return EXIT_SUCCESS;
}
