#include "platform/sandbox/Confinement.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/landlock.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <string>
#include <sys/ioctl.h>
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

/// What no decoder calls: programs, network, other processes and their memory, keys, the clock, and
/// what changes files without opening them. Landlock refuses some of it as well, where it is there.
constexpr long refusedCalls[] = {
    SYS_execve,
    SYS_execveat,
    SYS_socket,
    SYS_connect,
    SYS_bind,
    SYS_listen,
    SYS_ptrace,
    SYS_process_vm_readv,
    SYS_process_vm_writev,
    SYS_process_madvise,
    SYS_kcmp,
    SYS_kill,
    SYS_tkill,
    SYS_rt_sigqueueinfo,
    SYS_rt_tgsigqueueinfo,
    SYS_pidfd_open,
    SYS_pidfd_getfd,
    SYS_pidfd_send_signal,
    SYS_unshare,
    SYS_setns,
    SYS_mount,
    SYS_umount2,
    SYS_pivot_root,
    SYS_chroot,
    SYS_open_by_handle_at,
    SYS_name_to_handle_at,
    SYS_open_tree,
    SYS_move_mount,
    SYS_fsopen,
    SYS_fsmount,
    SYS_mount_setattr,
    SYS_shmget,
    SYS_shmat,
    SYS_shmctl,
    SYS_msgget,
    SYS_semget,
    SYS_keyctl,
    SYS_add_key,
    SYS_request_key,
    SYS_bpf,
    SYS_io_uring_setup,
    SYS_userfaultfd,
    SYS_perf_event_open,
    SYS_fanotify_init,
    SYS_fchmod,
    SYS_fchmodat,
    SYS_fchown,
    SYS_fchownat,
    SYS_truncate,
    SYS_utimensat,
    SYS_setxattr,
    SYS_lsetxattr,
    SYS_fsetxattr,
    SYS_removexattr,
    SYS_lremovexattr,
    SYS_fremovexattr,
    SYS_linkat,
    SYS_symlinkat,
    SYS_renameat,
    SYS_renameat2,
    SYS_unlinkat,
    SYS_mkdirat,
    SYS_mknodat,
    SYS_init_module,
    SYS_finit_module,
    SYS_delete_module,
    SYS_kexec_load,
    SYS_reboot,
    SYS_swapon,
    SYS_swapoff,
    SYS_settimeofday,
    SYS_clock_settime,
    SYS_clock_adjtime,
    SYS_adjtimex,
    SYS_sethostname,
    SYS_setdomainname,
    SYS_acct,
    SYS_quotactl,
    SYS_personality,
#if defined(__x86_64__) // the older names of some of them
    SYS_fork,
    SYS_vfork,
    SYS_creat,
    SYS_chmod,
    SYS_chown,
    SYS_lchown,
    SYS_utime,
    SYS_utimes,
    SYS_futimesat,
    SYS_link,
    SYS_symlink,
    SYS_rename,
    SYS_unlink,
    SYS_rmdir,
    SYS_mkdir,
    SYS_mknod,
    SYS_modify_ldt,
    SYS_iopl,
    SYS_ioperm,
#endif
};

/// A program for the kernel's filter of system calls, put together instruction by instruction.
class CallFilter {
public:
    void load(std::size_t offset) {
        m_program.push_back(BPF_STMT(BPF_LD | BPF_W | BPF_ABS, static_cast<std::uint32_t>(offset)));
    }
    void answer(std::uint32_t value) { m_program.push_back(BPF_STMT(BPF_RET | BPF_K, value)); }
    void refuse(int error = EPERM) {
        answer(SECCOMP_RET_ERRNO | (static_cast<std::uint32_t>(error) & SECCOMP_RET_DATA));
    }
    void refuseCall(long call, int error = EPERM) {
        skipUnlessCall(call, 1);
        refuse(error);
    }
    /// Of an argument only the lower half is looked at, which is all that these calls look at.
    void allowCallIf(long call, std::size_t argument, std::uint16_t comparison,
                     std::uint32_t value) {
        decideCall(call, argument, comparison, value, 1, 0);
    }
    void refuseCallIf(long call, std::size_t argument, std::uint16_t comparison,
                      std::uint32_t value) {
        decideCall(call, argument, comparison, value, 0, 1);
    }
    /// What is loaded is compared, and decides how many of the next instructions are passed over.
    void jump(std::uint16_t comparison, std::uint32_t value, std::uint8_t ifTrue,
              std::uint8_t ifFalse) {
        m_program.push_back(BPF_JUMP(static_cast<std::uint16_t>(BPF_JMP | BPF_K | comparison),
                                     value, ifTrue, ifFalse));
    }
    void apply() {
        const sock_fprog filter{static_cast<unsigned short>(m_program.size()), m_program.data()};
        ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter);
    }

private:
    void skipUnlessCall(long call, std::uint8_t count) {
        jump(BPF_JEQ, static_cast<std::uint32_t>(call), 0, count);
    }
    /// Passes over the refusal that follows, or not.
    void decideCall(long call, std::size_t argument, std::uint16_t comparison, std::uint32_t value,
                    std::uint8_t ifTrue, std::uint8_t ifFalse) {
        skipUnlessCall(call, 4);
        load(offsetof(seccomp_data, args) + argument * sizeof(std::uint64_t));
        jump(comparison, value, ifTrue, ifFalse);
        refuse();
        answer(SECCOMP_RET_ALLOW);
    }

    std::vector<sock_filter> m_program;
};

/// From now on these calls fail as not permitted. Threads may be started, processes may not.
void confineCalls() {
    if (ownArchitecture == 0) {
        return;
    }
    CallFilter filter;
    filter.load(offsetof(seccomp_data, arch));
    filter.jump(BPF_JEQ, ownArchitecture, 1, 0);
    filter.answer(SECCOMP_RET_KILL_PROCESS); // calls of another kind would have other numbers
    filter.load(offsetof(seccomp_data, nr));
#if defined(__x86_64__)
    // The same calls under the numbers of the x32 interface.
    constexpr std::uint32_t x32Numbers = 0x40000000U;
    filter.jump(BPF_JGE, x32Numbers, 0, 1);
    filter.refuse();
#endif
    for (const long call : refusedCalls) {
        filter.refuseCall(call);
    }
    // The arguments of these lie in memory, where a filter cannot look. The C library takes this
    // answer for an old kernel and uses the older calls instead.
    filter.refuseCall(SYS_clone3, ENOSYS);
    filter.refuseCall(SYS_openat2, ENOSYS);
    // Threads are started, processes are not.
    filter.allowCallIf(SYS_clone, 0, BPF_JSET, CLONE_THREAD);
    // Only this process may be sent signals (abort does), and have its limits looked at.
    filter.allowCallIf(SYS_tgkill, 0, BPF_JEQ, static_cast<std::uint32_t>(::getpid()));
    filter.allowCallIf(SYS_prlimit64, 0, BPF_JEQ, 0);
    constexpr std::uint32_t writing = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC;
    filter.refuseCallIf(SYS_openat, 2, BPF_JSET, writing);
#if defined(__x86_64__)
    filter.refuseCallIf(SYS_open, 1, BPF_JSET, writing);
#endif
    filter.refuseCallIf(SYS_ioctl, 1, BPF_JEQ, TIOCSTI); // types into the user's terminal
    filter.answer(SECCOMP_RET_ALLOW);
    filter.apply();
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
