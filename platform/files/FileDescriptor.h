#pragma once

#include "platform/files/FileError.h"

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <span>
#include <utility>

struct stat;

namespace quillorn {

/// Owns one POSIX file descriptor and closes it. Move-only; -1 when empty.
class FileDescriptor {
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_descriptor(descriptor) {}
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    ~FileDescriptor() { reset(); }

    [[nodiscard]] int get() const { return m_descriptor; }
    [[nodiscard]] bool isOpen() const { return m_descriptor >= 0; }
    void reset();

    /// Opens a regular file for reading. A folder, a pipe or a device is refused with a reason
    /// and never waited for.
    [[nodiscard]] static FileResult<FileDescriptor>
    openRegularFile(const std::filesystem::path& path);

private:
    int m_descriptor = -1;
};

/// What tells one state of an open file from another: device, inode, size and modification time.
struct FileStamp {
    std::uint64_t device = 0;
    std::uint64_t inode = 0;
    std::uint64_t size = 0;
    std::int64_t modifiedNanoseconds = 0; ///< since the epoch

    bool operator==(const FileStamp&) const = default;

    [[nodiscard]] static FileStamp fromStat(const struct stat& status);
    [[nodiscard]] static FileResult<FileStamp> of(const FileDescriptor& descriptor,
                                                  const std::filesystem::path& path);
};

/// Reads at `offset` until `buffer` is full or the file ends; returns the bytes read.
/// Needs no file position, so threads can share one descriptor.
[[nodiscard]] FileResult<std::size_t> readAt(const FileDescriptor& descriptor,
                                             const std::filesystem::path& path,
                                             std::span<char> buffer, std::uint64_t offset);

/// Writes all of `data` at the descriptor's position.
[[nodiscard]] FileResult<void> writeAll(const FileDescriptor& descriptor,
                                        const std::filesystem::path& path,
                                        std::span<const char> data);

/// Lets this process hold as many open files as the system grants it. A document keeps its
/// descriptor while it is open, and the usual soft limit of 1,024 would end that too early.
void raiseOpenFileLimit();

} // namespace quillorn
