#include "platform/files/FileDescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quillorn {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept {
    if (this != &other) {
        reset();
        m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
}

void FileDescriptor::reset() {
    if (m_descriptor >= 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

FileResult<FileDescriptor> FileDescriptor::openRegularFile(const std::filesystem::path& path) {
    // O_NONBLOCK: opening a pipe that nobody writes to must not wait.
    FileDescriptor descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (!descriptor.isOpen()) {
        return tl::unexpected(FileError::fromErrno(path, errno));
    }
    struct stat status {};
    if (::fstat(descriptor.get(), &status) != 0) {
        return tl::unexpected(FileError::fromErrno(path, errno));
    }
    if (S_ISDIR(status.st_mode)) {
        return tl::unexpected(FileError{path, "it is a folder, not a file", EISDIR});
    }
    if (!S_ISREG(status.st_mode)) {
        return tl::unexpected(
            FileError{path, "it is a pipe, a socket or a device, not a file", EINVAL});
    }
    return descriptor;
}

FileStamp FileStamp::fromStat(const struct stat& status) {
    constexpr std::uint64_t nanosecondsPerSecond = 1'000'000'000;
    // A date beyond the year 2262 wraps around, and still differs from its neighbours.
    const std::uint64_t modified =
        static_cast<std::uint64_t>(status.st_mtim.tv_sec) * nanosecondsPerSecond +
        static_cast<std::uint64_t>(status.st_mtim.tv_nsec);
    return FileStamp{
        static_cast<std::uint64_t>(status.st_dev), static_cast<std::uint64_t>(status.st_ino),
        static_cast<std::uint64_t>(status.st_size), static_cast<std::int64_t>(modified)};
}

FileResult<FileStamp> FileStamp::of(const FileDescriptor& descriptor,
                                    const std::filesystem::path& path) {
    struct stat status {};
    if (::fstat(descriptor.get(), &status) != 0) {
        return tl::unexpected(FileError::fromErrno(path, errno));
    }
    return fromStat(status);
}

FileResult<std::size_t> readAt(const FileDescriptor& descriptor, const std::filesystem::path& path,
                               std::span<char> buffer, std::uint64_t offset) {
    std::size_t done = 0;
    while (done < buffer.size()) {
        const ssize_t got = ::pread(descriptor.get(), buffer.data() + done, buffer.size() - done,
                                    static_cast<off_t>(offset + done));
        if (got == 0) {
            break;
        }
        if (got < 0) {
            if (errno == EINTR) {
                continue;
            }
            return tl::unexpected(FileError::fromErrno(path, errno, "cannot be read"));
        }
        done += static_cast<std::size_t>(got);
    }
    return done;
}

FileResult<void> writeAll(const FileDescriptor& descriptor, const std::filesystem::path& path,
                          std::span<const char> data) {
    while (!data.empty()) {
        const ssize_t put = ::write(descriptor.get(), data.data(), data.size());
        if (put < 0) {
            if (errno == EINTR) {
                continue;
            }
            return tl::unexpected(FileError::fromErrno(path, errno, "cannot be written"));
        }
        data = data.subspan(static_cast<std::size_t>(put));
    }
    return {};
}

void raiseOpenFileLimit() {
    struct rlimit limit {};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        // A system that refuses leaves the old limit, and opening one file too many says so.
        static_cast<void>(::setrlimit(RLIMIT_NOFILE, &limit));
    }
}

} // namespace quillorn
