#include "platform/sandbox/Confinement.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <initializer_list>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <string>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace quillorn {

namespace {

/// What the program allows itself is not meant for its workers; what it must not exceed is.
void limit(__rlimit_resource_t resource, rlim_t value) {
    rlimit both{value, value};
    ::getrlimit(resource, &both);
    both.rlim_cur = both.rlim_max = std::min(value, both.rlim_max);
    ::setrlimit(resource, &both);
}

bool allowReading(int rules, const char* path) {
    const int place = ::open(path, O_PATH | O_CLOEXEC);
    if (place < 0) {
        return true; // not there, so nothing to allow
    }
    landlock_path_beneath_attr rule{};
    rule.allowed_access = LANDLOCK_ACCESS_FS_READ_FILE;
    if (struct stat status{}; ::fstat(place, &status) == 0 && S_ISDIR(status.st_mode)) {
        rule.allowed_access |= LANDLOCK_ACCESS_FS_READ_DIR; // refused for anything else
    }
    rule.parent_fd = place;
    const bool done =
        ::syscall(SYS_landlock_add_rule, rules, LANDLOCK_RULE_PATH_BENEATH, &rule, 0) == 0;
    ::close(place);
    return done;
}

/// Those below the home folder of the user, in which fonts may be installed.
void addFontsOfUser(std::vector<std::string>& folders) {
    if (const char* const home = std::getenv("HOME")) {
        for (const char* const fonts :
             {"/.fonts", "/.local/share/fonts", "/.cache/fontconfig", "/.config/fontconfig"}) {
            folders.push_back(std::string(home) + fonts);
        }
    }
}

/// From now on files can be opened for reading only, and in these folders only.
void confineFiles(const std::vector<std::string>& readable) {
    landlock_ruleset_attr handled{};
    handled.handled_access_fs =
        LANDLOCK_ACCESS_FS_EXECUTE | LANDLOCK_ACCESS_FS_WRITE_FILE | LANDLOCK_ACCESS_FS_READ_FILE |
        LANDLOCK_ACCESS_FS_READ_DIR | LANDLOCK_ACCESS_FS_REMOVE_DIR |
        LANDLOCK_ACCESS_FS_REMOVE_FILE | LANDLOCK_ACCESS_FS_MAKE_CHAR |
        LANDLOCK_ACCESS_FS_MAKE_DIR | LANDLOCK_ACCESS_FS_MAKE_REG | LANDLOCK_ACCESS_FS_MAKE_SOCK |
        LANDLOCK_ACCESS_FS_MAKE_FIFO | LANDLOCK_ACCESS_FS_MAKE_BLOCK | LANDLOCK_ACCESS_FS_MAKE_SYM;
    const long rules = ::syscall(SYS_landlock_create_ruleset, &handled, sizeof handled, 0);
    if (rules < 0) {
        return;
    }
    bool complete = true;
    for (const std::string& path : readable) {
        complete = allowReading(static_cast<int>(rules), path.c_str()) && complete;
    }
    if (complete) {
        ::syscall(SYS_landlock_restrict_self, static_cast<int>(rules), 0);
    }
    ::close(static_cast<int>(rules));
}

#if defined(__x86_64__)
constexpr std::uint32_t ownArchitecture = AUDIT_ARCH_X86_64;
#elif defined(__aarch64__)
constexpr std::uint32_t ownArchitecture = AUDIT_ARCH_AARCH64;
#else
constexpr std::uint32_t ownArchitecture = 0;
#endif

/// From now on these calls fail as not permitted: programs, network, other processes.
void confineCalls() {
    if (ownArchitecture == 0) {
        return;
    }
    const std::initializer_list<long> refused = {SYS_execve,
                                                 SYS_execveat,
                                                 SYS_socket,
                                                 SYS_connect,
                                                 SYS_bind,
                                                 SYS_listen,
                                                 SYS_ptrace,
                                                 SYS_process_vm_readv,
                                                 SYS_kill,
                                                 SYS_keyctl,
                                                 SYS_process_vm_writev,
                                                 SYS_bpf,
                                                 SYS_mount,
                                                 SYS_unshare,
                                                 SYS_setns,
                                                 SYS_io_uring_setup,
                                                 SYS_pidfd_getfd,
                                                 SYS_perf_event_open};
    std::vector<sock_filter> program;
    const auto load = [&program](std::size_t offset) {
        program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
    };
    const auto answer = [&program](std::uint32_t value) {
        program.push_back(BPF_STMT(BPF_RET | BPF_K, value));
    };
    constexpr std::uint32_t refusal = SECCOMP_RET_ERRNO | (EPERM & SECCOMP_RET_DATA);
    load(offsetof(seccomp_data, arch));
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ownArchitecture, 1, 0));
    answer(SECCOMP_RET_KILL_PROCESS); // calls of another kind would have other numbers
    load(offsetof(seccomp_data, nr));
#if defined(__x86_64__)
    // The same calls under the numbers of the x32 interface.
    constexpr std::uint32_t x32Numbers = 0x40000000U;
    program.push_back(BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, x32Numbers, 0, 1));
    answer(refusal);
#endif
    for (const long call : refused) {
        program.push_back(
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<std::uint32_t>(call), 0, 1));
        answer(refusal);
    }
    answer(SECCOMP_RET_ALLOW);
    const sock_fprog filter{static_cast<unsigned short>(program.size()), program.data()};
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
}

} // namespace

void limitResources(const ResourceLimits& limits) {
#ifndef QUILLORN_SANITIZERS
    if (limits.memory > 0) {
        // A sanitizer asks for more addresses than that.
        limit(RLIMIT_AS, limits.memory);
        limit(RLIMIT_DATA, limits.memory);
    }
#endif
    if (limits.processorTime.count() > 0) {
        limit(RLIMIT_CPU, static_cast<rlim_t>(limits.processorTime.count()));
    }
    if (limits.output > 0) {
        limit(RLIMIT_FSIZE, limits.output);
    }
    limit(RLIMIT_CORE, 0);
}

std::vector<std::string> systemFolders() {
    std::vector<std::string> folders = {"/usr",
                                        "/lib",
                                        "/lib64",
                                        "/etc",
                                        "/opt",
                                        "/var/cache/fontconfig",
                                        "/var/lib",
                                        "/proc/self",
                                        "/proc/cpuinfo",
                                        "/proc/meminfo",
                                        "/sys/devices/system/cpu",
                                        "/dev/null",
                                        "/dev/urandom"};
    addFontsOfUser(folders);
    return folders;
}

std::vector<std::string> fontFolders() {
    std::vector<std::string> folders = {
        "/usr/share/fonts", "/usr/local/share/fonts", "/usr/share/X11/fonts",
        "/usr/share/texmf", "/usr/share/fontconfig",  "/usr/share/poppler",
        "/etc/fonts",       "/var/cache/fontconfig"};
    addFontsOfUser(folders);
    return folders;
}

void confine(const std::vector<std::string>& readable) {
    if (::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0) {
        return; // neither of the following is granted without
    }
    confineFiles(readable);
    confineCalls();
}

} // namespace quillorn
