#include "platform/files/FileSnapshot.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/fs.h>
#include <sys/ioctl.h>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

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

bool copyBytes(const FileDescriptor& from, const FileDescriptor& to, std::uint64_t size) {
    off_t readOffset = 0;
    off_t writeOffset = 0;
    std::uint64_t left = size;
    while (left > 0) {
        const ssize_t copied =
            ::copy_file_range(from.get(), &readOffset, to.get(), &writeOffset, left, 0);
        if (copied < 0 && errno == EINTR) {
            continue;
        }
        if (copied <= 0) {
            return false;
        }
        left -= static_cast<std::uint64_t>(copied);
    }
    return true;
}

/// Our own copy of `original`, or a closed descriptor where none can be had cheaply.
FileDescriptor snapshotOf(const FileDescriptor& original, std::uint64_t size,
                          const SnapshotPolicy& policy) {
    FileDescriptor copy = unnamedFileIn(policy.folder);
    if (!copy.isOpen()) {
        return {};
    }
    if (::ioctl(copy.get(), FICLONE, original.get()) == 0) {
        return copy;
    }
    if (size <= policy.copyLimit && copyBytes(original, copy, size)) {
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
        FileDescriptor copy = snapshotOf(*original, before->size, *policy);
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
