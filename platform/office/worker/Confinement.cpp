#include "platform/office/worker/Confinement.h"

#include "platform/files/FileDescriptor.h"

#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <linux/landlock.h>
#include <sched.h>
#include <string>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace quillorn::conversion {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t reading = LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_READ_DIR;
constexpr std::uint64_t starting = reading | LANDLOCK_ACCESS_FS_EXECUTE;
constexpr std::uint64_t changing = LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_REMOVE_DIR |
                                   LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_DIR |
                                   LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_MAKE_SOCK |
                                   LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_SYM;
constexpr std::uint64_t onFiles =
    LANDLOCK_ACCESS_FS_READ_FILE | LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE;

bool writeText(const char* file, const std::string& text) {
    const FileDescriptor descriptor(::open(file, O_WRONLY | O_CLOEXEC));
    return ::write(descriptor.get(), text.data(), text.size()) == static_cast<ssize_t>(text.size());
}

/// Whether everything is allowed that shall be.
bool allow(const FileDescriptor& rules, const fs::path& path, std::uint64_t access) {
    const FileDescriptor place(::open(path.c_str(), O_PATH | O_CLOEXEC));
    if (!place.isOpen()) {
        return true; // not there, so nothing to allow
    }
    struct stat status {};
    landlock_path_beneath_attr rule{};
    rule.allowed_access = access;
    if (::fstat(place.get(), &status) != 0 || !S_ISDIR(status.st_mode)) {
        rule.allowed_access &= onFiles; // the others are refused for anything but a folder
    }
    rule.parent_fd = place.get();
    return ::syscall(SYS_landlock_add_rule, rules.get(), LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
}

} // namespace

fs::path enterPrivateTemporaryFolder(const fs::path& folder) {
    fs::path temporary = "/tmp";
    const std::string user = std::to_string(::geteuid());
    const std::string group = std::to_string(::getegid());
    if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
        return folder;
    }
    writeText("/proc/self/setgroups", "deny");
    if (!writeText("/proc/self/uid_map", user + " " + user + " 1") ||
        !writeText("/proc/self/gid_map", group + " " + group + " 1") ||
        ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0 ||
        ::mount(folder.c_str(), temporary.c_str(), nullptr, MS_BIND, nullptr) != 0) {
        return folder;
    }
    return temporary;
}

void confineFiles(const fs::path& folder, const fs::path& library) {
    landlock_ruleset_attr handled{};
    handled.handled_access_fs = starting | changing;
    const FileDescriptor rules(
        static_cast<int>(::syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0)));
    if (!rules.isOpen()) {
        return;
    }
    bool complete = allow(rules, folder, reading | changing) &&
                    allow(rules, "/tmp", reading | changing) && allow(rules, library, reading) &&
                    allow(rules, "/dev/null", reading | LANDLOCK_ACCESS_FS_WRITE_FILE);
    for (const char* const path : {"/usr", "/lib", "/lib64", "/opt"}) {
        complete = complete && allow(rules, path, starting);
    }
    for (const char* const path :
         {"/etc", "/var/cache/fontconfig", "/var/lib", "/var/spool/libreoffice", "/proc",
          "/sys/devices/system/cpu", "/dev/urandom", "/dev/random"}) {
        complete = complete && allow(rules, path, reading);
    }
    if (const char* const data = std::getenv("XDG_DATA_HOME")) {
        complete = complete && allow(rules, fs::path(data) / "fonts", reading);
    }
    // Half of the rules would be half a wall to us and a whole one to fonts.
    if (complete && ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0) {
        ::syscall(SYS_landlock_restrict_self, rules.get(), 0);
    }
}

} // namespace quillorn::conversion
