#include "platform/files/PrivateFolder.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace quillorn {

namespace fs = std::filesystem;

namespace {

constexpr const char* lockName = ".lock";
constexpr const char* newLockName = ".lock.new";

/// A folder whose lock file is not there yet may be in the making by another process.
constexpr std::time_t secondsToMakeAFolder = 60;

std::string folderPrefix() {
    return "quillorn-folivane-" + std::to_string(::geteuid()) + "-";
}

bool isAbandoned(const fs::path& folder) {
    struct stat status {};
    if (::lstat(folder.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) ||
        status.st_uid != ::geteuid()) {
        return false;
    }
    const FileDescriptor lock(::open((folder / lockName).c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW));
    if (lock.isOpen()) {
        return ::flock(lock.get(), LOCK_EX | LOCK_NB) == 0;
    }
    return errno == ENOENT && status.st_mtime + secondsToMakeAFolder < std::time(nullptr);
}

} // namespace

fs::path PrivateFolder::defaultBase() {
    std::error_code error;
    fs::path base = fs::temp_directory_path(error);
    return error ? fs::path("/tmp") : base;
}

FileResult<PrivateFolder> PrivateFolder::create(const fs::path& base) {
    sweep(base);
    std::string name = (base / (folderPrefix() + "XXXXXX")).string();
    if (::mkdtemp(name.data()) == nullptr) {
        return tl::unexpected(FileError::fromErrno(base, errno));
    }
    fs::path folder(name);
    // The lock gets its name when it is held: nobody ever finds it free while we live.
    FileDescriptor lock(
        ::open((folder / newLockName).c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    if (!lock.isOpen() || ::flock(lock.get(), LOCK_EX | LOCK_NB) != 0 ||
        ::rename((folder / newLockName).c_str(), (folder / lockName).c_str()) != 0) {
        const int reason = errno;
        std::error_code ignored; // the reason above is the one worth telling
        fs::remove_all(folder, ignored);
        return tl::unexpected(FileError::fromErrno(folder, reason));
    }
    return PrivateFolder(std::move(folder), std::move(lock));
}

void PrivateFolder::sweep(const fs::path& base) {
    const std::string prefix = folderPrefix();
    std::error_code error; // what cannot be listed or removed now is tried at the next start
    fs::directory_iterator entry(base, error);
    for (; !error && entry != fs::directory_iterator(); entry.increment(error)) {
        const fs::path& path = entry->path();
        if (path.filename().native().starts_with(prefix) && isAbandoned(path)) {
            std::error_code ignored;
            fs::remove_all(path, ignored);
        }
    }
}

PrivateFolder::PrivateFolder(fs::path path, FileDescriptor lock)
    : m_path(std::move(path)), m_lock(std::move(lock)) {}

PrivateFolder::PrivateFolder(PrivateFolder&& other) noexcept
    : m_path(std::exchange(other.m_path, fs::path())), m_lock(std::move(other.m_lock)) {}

PrivateFolder::~PrivateFolder() {
    if (!m_path.empty()) {
        std::error_code ignored; // what stays is swept at the next start
        fs::remove_all(m_path, ignored);
    }
}

} // namespace quillorn
