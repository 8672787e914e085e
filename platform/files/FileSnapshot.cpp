#include "platform/files/FileSnapshot.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <span>
#include <string>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t copyChunk = 256U << 10U;

FileDescriptor unnamedFileIn(const fs::path& folder) {
    FileDescriptor file(::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0600));
    if (!file.isOpen()) {
        std::string name = (folder / "snapshot-XXXXXX").string();
        file = FileDescriptor(::mkostemp(name.data(), O_CLOEXEC));
        if (file.isOpen()) {
            ::unlink(name.c_str());
        }
    }
    return file;
}

/// Copies through the kernel where it can (some file systems share blocks or copy on the server
/// then), else by hand, as from one file system to another.
bool copyBytes(const FileDescriptor& from, const FileDescriptor& to, std::uint64_t size,
               const fs::path& path) {
    std::uint64_t done = 0;
    while (done < size) {
        const ssize_t copied =
            ::copy_file_range(from.get(), nullptr, to.get(), nullptr, size - done, 0);
        if (copied < 0 && errno == EINTR) {
            continue;
        }
        if (copied <= 0) {
            break;
        }
        done += static_cast<std::uint64_t>(copied);
    }
    std::vector<char> chunk(std::min<std::uint64_t>(size - done, copyChunk));
    while (done < size) {
        const std::uint64_t wanted = std::min<std::uint64_t>(size - done, chunk.size());
        const auto got = readAt(from, path, std::span(chunk).first(wanted), done);
        if (!got || *got == 0 || !writeAll(to, path, std::span(chunk).first(*got))) {
            return false;
        }
        done += *got;
    }
    return true;
}

/// Our own copy of `original`, or a closed descriptor where none can be had cheaply.
FileDescriptor snapshotOf(const FileDescriptor& original, const fs::path& path, std::uint64_t size,
                          const SnapshotPolicy& policy) {
    FileDescriptor copy = unnamedFileIn(policy.folder);
    if (!copy.isOpen()) {
        return {};
    }
    if (::ioctl(copy.get(), FICLONE, original.get()) == 0) {
        return copy;
    }
    if (size <= policy.copyLimit && copyBytes(original, copy, size, path)) {
        return copy;
    }
    return {};
}

} // namespace

FileResult<KeptFile> openKept(const fs::path& path, const std::optional<SnapshotPolicy>& policy) {
    auto original = FileDescriptor::openRegularFile(path);
    if (!original) {
        return tl::unexpected(std::move(original.error()));
    }
    const auto before = FileStamp::of(*original, path);
    if (!before) {
        return tl::unexpected(before.error());
    }
    if (policy) {
        FileDescriptor copy = snapshotOf(*original, path, before->size, *policy);
        const auto after = FileStamp::of(*original, path);
        if (!after) {
            return tl::unexpected(after.error());
        }
        if (*after != *before) {
            return tl::unexpected(FileError{path, "it is being changed by another program", 0});
        }
        if (copy.isOpen()) {
            const auto stamp = FileStamp::of(copy, path);
            if (!stamp) {
                return tl::unexpected(stamp.error());
            }
            return KeptFile{std::move(copy), *stamp, true};
        }
    }
    return KeptFile{std::move(*original), *before, false};
}

} // namespace quillorn
