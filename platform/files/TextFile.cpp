#include "platform/files/TextFile.h"

#include "platform/files/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace quillorn {

FileResult<std::string> readFirstLine(const std::filesystem::path& path, std::size_t limit) {
    const FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    if (!descriptor.isOpen()) {
        return tl::unexpected(FileError::fromErrno(path, errno));
    }
    std::string text;
    std::array<char, 1024> chunk{};
    while (true) {
        const ssize_t got = ::read(descriptor.get(), chunk.data(), chunk.size());
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return tl::unexpected(FileError::fromErrno(path, errno));
        }
        text.append(chunk.data(), static_cast<std::size_t>(got));
        const std::size_t lineEnd = text.find('\n');
        if (lineEnd != std::string::npos) {
            text.resize(lineEnd);
            break;
        }
        if (got == 0 || text.size() > limit + 1) { // a carriage return does not count
            break;
        }
    }
    if (!text.empty() && text.back() == '\r') {
        text.pop_back();
    }
    if (text.size() > limit) {
        return tl::unexpected(FileError{path, "its first line is too long", 0});
    }
    return text;
}

} // namespace quillorn
