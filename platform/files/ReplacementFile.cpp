#include "platform/files/ReplacementFile.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <random>
#include <string>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view temporaryPrefix = ".quillorn-";
constexpr std::string_view temporarySuffix = ".part";

/// Dirty pages are handed to the disk in steps of this size while the file is still being
/// produced, so that the flush at the end finds little left to wait for.
constexpr std::uint64_t writeBackStep = 8U << 20U;

constexpr std::size_t temporaryDigits = 16;

/// A name taken by somebody else's sweep in the moment before it is locked is tried again.
constexpr int attemptsAtAName = 100;

constexpr int longestChainOfLinks = 40; // as in the system's own path lookup

std::string freshTemporaryName() {
    std::random_device entropy;
    std::array<char, temporaryDigits + 1> digits{};
    std::snprintf(digits.data(), digits.size(), "%08x%08x", entropy(), entropy());
    return std::string(temporaryPrefix) + digits.data() + std::string(temporarySuffix);
}

bool isTemporaryName(std::string_view name) {
    if (name.size() != temporaryPrefix.size() + temporaryDigits + temporarySuffix.size() ||
        !name.starts_with(temporaryPrefix) || !name.ends_with(temporarySuffix)) {
        return false;
    }
    return name.substr(temporaryPrefix.size(), temporaryDigits)
               .find_first_not_of("0123456789abcdef") == std::string_view::npos;
}

fs::path folderOf(const fs::path& file) {
    return file.has_parent_path() ? file.parent_path() : fs::path(".");
}

std::string selfDescriptorPath(const FileDescriptor& descriptor) {
    return "/proc/self/fd/" + std::to_string(descriptor.get());
}

/// Removes named temporary files whose writer is gone: a living writer holds a lock.
void removeAbandonedTemporaries(const fs::path& folder) {
    std::error_code error; // a folder that cannot be listed has nothing that we could remove
    fs::directory_iterator entry(folder, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        if (!isTemporaryName(path.filename().native())) {
            continue;
        }
        // Opened for writing too, which locks on network file systems ask for.
        const FileDescriptor file(
            ::open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
        struct stat status {};
        if (file.isOpen() && ::fstat(file.get(), &status) == 0 && S_ISREG(status.st_mode) &&
            ::flock(file.get(), LOCK_EX | LOCK_NB) == 0) {
            ::unlink(path.c_str());
        }
    }
}

/// Locks a temporary file against sweeping. False when a sweep was faster.
bool lockTemporary(const FileDescriptor& file) {
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return false;
    }
    // Where locks are unknown nobody can sweep either.
    struct stat status {};
    return ::fstat(file.get(), &status) == 0 && status.st_nlink > 0;
}

/// The file that a symbolic link stands for, which need not exist yet.
FileResult<fs::path> behindLinks(const fs::path& target) {
    fs::path path = target;
    std::error_code error;
    for (int links = 0; fs::is_symlink(fs::symlink_status(path, error)); ++links) {
        if (links == longestChainOfLinks) {
            return tl::unexpected(FileError{target, "its symbolic link leads in a circle", ELOOP});
        }
        const fs::path next = fs::read_symlink(path, error);
        if (error) {
            return tl::unexpected(FileError::fromErrno(target, error.value()));
        }
        path = path.parent_path() / next;
    }
    return path;
}

} // namespace

FileResult<ReplacementFile> ReplacementFile::create(const fs::path& target, Temporary temporary) {
    if (!target.has_filename()) {
        return tl::unexpected(FileError{target, "it has no file name", EINVAL});
    }
    auto resolved = behindLinks(target);
    if (!resolved) {
        return tl::unexpected(std::move(resolved.error()));
    }
    std::error_code error;
    ReplacementFile file;
    file.m_target = fs::absolute(*resolved, error); // the working folder may change before commit
    if (error) {
        return tl::unexpected(FileError::fromErrno(target, error.value()));
    }
    struct stat status {};
    if (::stat(target.c_str(), &status) == 0) {
        if (S_ISDIR(status.st_mode)) {
            return tl::unexpected(FileError{target, "a folder of that name is in the way", EISDIR});
        }
        if (!S_ISREG(status.st_mode)) {
            return tl::unexpected(
                FileError{target, "a pipe, socket or device of that name is in the way", EEXIST});
        }
        if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) {
            return tl::unexpected(FileError::fromErrno(target, errno, "the file is protected"));
        }
        file.m_replaces = true;
        file.m_replacedMode = status.st_mode & 07777U;
        file.m_replacedOwner = status.st_uid;
        file.m_replacedGroup = status.st_gid;
    } else if (errno != ENOENT) {
        return tl::unexpected(FileError::fromErrno(target, errno));
    }
    if (auto opened = file.openTemporary(temporary); !opened) {
        return tl::unexpected(std::move(opened.error()));
    }
    return file;
}

ReplacementFile::ReplacementFile(ReplacementFile&& other) noexcept
    : m_target(std::move(other.m_target)),
      m_temporaryName(std::exchange(other.m_temporaryName, fs::path())),
      m_descriptor(std::move(other.m_descriptor)),
      m_replaces(other.m_replaces),
      m_replacedMode(other.m_replacedMode),
      m_replacedOwner(other.m_replacedOwner),
      m_replacedGroup(other.m_replacedGroup),
      m_bytesWritten(other.m_bytesWritten),
      m_bytesOnTheWay(other.m_bytesOnTheWay) {}

ReplacementFile::~ReplacementFile() {
    if (!m_temporaryName.empty()) {
        ::unlink(m_temporaryName.c_str());
    }
}

FileResult<void> ReplacementFile::openTemporary(Temporary temporary) {
    const fs::path folder = folderOf(m_target);
    // The unnamed file is linked into the folder through /proc, which may be missing.
    if (temporary == Temporary::unnamedWherePossible && ::access("/proc/self/fd", X_OK) == 0) {
        m_descriptor =
            FileDescriptor(::open(folder.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
        if (m_descriptor.isOpen()) {
            // It gets a name for a moment when it replaces a file.
            ::flock(m_descriptor.get(), LOCK_EX | LOCK_NB);
            return {};
        }
        if (errno != EOPNOTSUPP && errno != EISDIR && errno != ENOSYS && errno != EINVAL) {
            return tl::unexpected(FileError::fromErrno(folder, errno));
        }
    }
    removeAbandonedTemporaries(folder);
    const mode_t mode = m_replaces ? 0600 : 0666;
    for (int attempt = 0; attempt < attemptsAtAName; ++attempt) {
        const fs::path name = folder / freshTemporaryName();
        m_descriptor = FileDescriptor(
            ::open(name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, mode));
        if (!m_descriptor.isOpen()) {
            return tl::unexpected(FileError::fromErrno(folder, errno));
        }
        if (lockTemporary(m_descriptor)) {
            m_temporaryName = name;
            return {};
        }
    }
    return tl::unexpected(FileError{folder, "its temporary file is removed again and again", 0});
}

FileResult<void> ReplacementFile::write(std::span<const char> data) {
    if (auto written = writeAll(m_descriptor, m_target, data); !written) {
        return written;
    }
    m_bytesWritten += data.size();
    startWritingBack();
    return {};
}

void ReplacementFile::startWritingBack() {
    if (m_bytesWritten - m_bytesOnTheWay < writeBackStep) {
        return;
    }
    // Only a hint; the flush in commit() is what counts.
    ::sync_file_range(m_descriptor.get(), static_cast<off_t>(m_bytesOnTheWay),
                      static_cast<off_t>(m_bytesWritten - m_bytesOnTheWay), SYNC_FILE_RANGE_WRITE);
    m_bytesOnTheWay = m_bytesWritten;
}

FileResult<void> ReplacementFile::commit() {
    if (auto kept = keepOwnerAndMode(); !kept) {
        return kept;
    }
    if (::fsync(m_descriptor.get()) != 0) {
        return tl::unexpected(FileError::fromErrno(m_target, errno, "cannot be flushed"));
    }
    if (auto moved = moveOntoTarget(); !moved) {
        return moved;
    }
    m_temporaryName.clear();
    // The new name is flushed too. The file itself is complete by now, so a folder that cannot
    // be opened or flushed is no failure of this write.
    const FileDescriptor folder(
        ::open(folderOf(m_target).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.isOpen()) {
        ::fsync(folder.get());
    }
    m_descriptor.reset();
    return {};
}

FileResult<void> ReplacementFile::keepOwnerAndMode() {
    if (!m_replaces) {
        return {};
    }
    struct stat status {};
    if (::fstat(m_descriptor.get(), &status) != 0) {
        return tl::unexpected(FileError::fromErrno(m_target, errno));
    }
    mode_t mode = m_replacedMode;
    if ((status.st_uid != m_replacedOwner || status.st_gid != m_replacedGroup) &&
        ::fchown(m_descriptor.get(), m_replacedOwner, m_replacedGroup) != 0) {
        // Only a privileged process may give a file away; anybody else ends up as the owner of
        // the new file, as with every editor that saves by renaming. The group can be kept by
        // its members. Whoever is in another group gets no more rights than everybody.
        mode &= ~static_cast<mode_t>(S_ISUID | S_ISGID);
        if (status.st_gid != m_replacedGroup &&
            ::fchown(m_descriptor.get(), static_cast<uid_t>(-1), m_replacedGroup) != 0) {
            mode &= ~static_cast<mode_t>(S_IRWXG) | ((mode & S_IRWXO) << 3U);
        }
    }
    if (::fchmod(m_descriptor.get(), mode) != 0) {
        return tl::unexpected(FileError::fromErrno(m_target, errno, "its mode cannot be kept"));
    }
    return {};
}

FileResult<void> ReplacementFile::moveOntoTarget() {
    if (m_temporaryName.empty()) {
        const std::string self = selfDescriptorPath(m_descriptor);
        if (!m_replaces &&
            ::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, m_target.c_str(), AT_SYMLINK_FOLLOW) == 0) {
            return {};
        }
        removeAbandonedTemporaries(folderOf(m_target));
        const fs::path name = folderOf(m_target) / freshTemporaryName();
        if (::linkat(AT_FDCWD, self.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) != 0) {
            return tl::unexpected(FileError::fromErrno(m_target, errno));
        }
        m_temporaryName = name;
    }
    if (::rename(m_temporaryName.c_str(), m_target.c_str()) != 0) {
        return tl::unexpected(FileError::fromErrno(m_target, errno));
    }
    return {};
}

} // namespace quillorn
