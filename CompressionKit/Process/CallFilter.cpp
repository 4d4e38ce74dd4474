#include "Process/CallFilter.h"

#include "Foundation/FileDescriptor.h"
#include "Process/InChild.h"

#include <fcntl.h>
#include <linux/fs.h>
#include <linux/seccomp.h>
#include <sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>
#include <string>
#include <utility>

namespace tarnwick {
namespace {

/// Refused to every program in a cage.
constexpr std::initializer_list<const char*> foreignCalls = {
    // Programs, processes and their groups.
    "execveat", "fork", "vfork", "setpgid", "setsid", "tkill", "pidfd_open", "pidfd_getfd",
    "pidfd_send_signal", "ptrace", "kcmp", "process_vm_readv", "process_vm_writev", "process_madvise",
    "process_mrelease", "setpriority", "ioprio_set", "sched_setaffinity", "sched_setattr", "sched_setparam",
    "sched_setscheduler", "migrate_pages", "move_pages", "personality",
    // Network and memory that is shared with others.
    "socket", "socketpair", "io_uring_setup", "io_uring_enter", "io_uring_register", "shmget", "shmat",
    "shmctl", "semget", "semop", "semtimedop", "semctl", "msgget", "msgsnd", "msgrcv", "msgctl", "mq_open",
    "mq_unlink", "memfd_create", "memfd_secret",
    // Interfaces of the kernel with much attack surface, and its keys.
    "bpf", "perf_event_open", "userfaultfd", "add_key", "request_key", "keyctl", "lookup_dcookie",
    "modify_ldt", "vmsplice", "remap_file_pages", "fanotify_init", "inotify_init", "inotify_init1",
    "name_to_handle_at", "open_by_handle_at",
    // Namespaces, mounts and the machine.
    "unshare", "setns", "mount", "umount", "umount2", "pivot_root", "chroot", "fsopen", "fsconfig", "fsmount",
    "fspick", "move_mount", "open_tree", "mount_setattr", "swapon", "swapoff", "quotactl", "quotactl_fd",
    "acct", "reboot", "kexec_load", "kexec_file_load", "init_module", "finit_module", "delete_module",
    "syslog", "settimeofday", "clock_settime", "clock_adjtime", "adjtimex", "sethostname", "setdomainname",
    "vhangup", "iopl", "ioperm",
    // Other users.
    "setuid", "setgid", "setreuid", "setregid", "setresuid", "setresgid", "setfsuid", "setfsgid", "setgroups",
    "capset"};

/// Landlock does not cover these at all, or, truncating, only from version 3 on. Links and special files
/// would lead or stop this process when it reads the results. Locks could be those of this process.
constexpr std::initializer_list<const char*> fileCalls = {
    "truncate", "chmod",     "fchmod",    "fchmodat",    "chown",        "fchown",  "lchown",
    "fchownat", "setxattr",  "lsetxattr", "fsetxattr",   "utime",        "utimes",  "futimesat",
    "link",     "utimensat", "linkat",    "removexattr", "lremovexattr", "symlink", "mknod",
    "mknodat",  "flock",     "symlinkat", "fremovexattr"};

/// For these, the C library uses older calls, whose arguments a filter can see.
constexpr std::initializer_list<const char*> replacedCalls = {"clone3", "openat2"};

/// cachestat is the newest call that was looked at; later ones have the same numbers on all machines.
constexpr std::uint32_t firstUnknownCall = 452;

/// Stand for values that are known only in the child.
constexpr std::uint32_t ownProcess = 0x7A000001;
constexpr std::uint32_t programLow = 0x7A000002;
constexpr std::uint32_t programHigh = 0x7A000003;

constexpr std::uint64_t int32Mask = 0xFFFFFFFF;

/// libseccomp's description of a filter.
class Description {
public:
    Description() : context_(::seccomp_init(SCMP_ACT_ALLOW)) {
        require(context_ != nullptr ? 0 : -1);
        // Calls of another architecture, whose numbers would pass for harmless ones.
        require(::seccomp_attr_set(context_, SCMP_FLTATR_ACT_BADARCH, SCMP_ACT_KILL_PROCESS));
        // A tree. The kernel tries each call when the filter is installed; with a list that took 0.4 ms.
        require(::seccomp_attr_set(context_, SCMP_FLTATR_CTL_OPTIMIZE, 2));
    }
    ~Description() { ::seccomp_release(context_); }
    Description(const Description&) = delete;
    Description& operator=(const Description&) = delete;

    void refuse(std::initializer_list<const char*> calls, int code = EPERM) {
        for (const char* call : calls) {
            refuse(call, {}, code);
        }
    }
    void refuseWhen(const char* call, scmp_arg_cmp condition) { refuse(call, {condition}, EPERM); }

    std::vector<sock_filter> program() const {
        const FileDescriptor file(::memfd_create("filter", MFD_CLOEXEC));
        require(file ? ::seccomp_export_bpf(context_, file.get()) : -errno);
        const off_t bytes = ::lseek(file.get(), 0, SEEK_END);
        std::vector<sock_filter> instructions(static_cast<std::size_t>(bytes) / sizeof(sock_filter));
        require(::pread(file.get(), instructions.data(), static_cast<std::size_t>(bytes), 0) == bytes
                    ? 0
                    : -errno);
        return instructions;
    }

private:
    static void require(int result) {
        if (result != 0) {
            throw std::runtime_error("seccomp: " + std::to_string(-result));
        }
    }

    /// A machine does not have every call.
    void refuse(const char* call, std::initializer_list<scmp_arg_cmp> conditions, int code) {
        const int number = ::seccomp_syscall_resolve_name(call);
        if (number != __NR_SCMP_ERROR) {
            require(::seccomp_rule_add_array(context_, SCMP_ACT_ERRNO(static_cast<std::uint16_t>(code)),
                                             number, static_cast<unsigned>(conditions.size()),
                                             conditions.begin()));
        }
    }

    scmp_filter_ctx context_;
};

scmp_arg_cmp hasBits(unsigned argument, std::uint64_t mask, std::uint64_t bits) {
    return {argument, SCMP_CMP_MASKED_EQ, mask, bits};
}

scmp_arg_cmp differs(unsigned argument, std::uint64_t value) {
    return {argument, SCMP_CMP_NE, value, 0};
}

void refuseForeign(Description& filter) {
    filter.refuse(foreignCalls);
    filter.refuse(replacedCalls, ENOSYS);
    filter.refuseWhen("execve", differs(0, std::uint64_t{programHigh} << 32 | programLow));
    filter.refuseWhen("clone", hasBits(0, CLONE_THREAD, 0));
    for (const int space : {CLONE_NEWNS, CLONE_NEWCGROUP, CLONE_NEWUTS, CLONE_NEWIPC, CLONE_NEWUSER,
                            CLONE_NEWPID, CLONE_NEWNET}) {
        const auto bit = static_cast<std::uint64_t>(space);
        filter.refuseWhen("clone", hasBits(0, bit, bit));
    }
    for (const char* call : {"kill", "tgkill", "rt_sigqueueinfo", "rt_tgsigqueueinfo"}) {
        filter.refuseWhen(call, differs(0, ownProcess));
    }
    filter.refuseWhen("prlimit64", differs(0, 0));
    for (const int command : {F_SETOWN, F_SETOWN_EX, F_SETSIG, F_SETLEASE, F_NOTIFY}) {
        filter.refuseWhen("fcntl", hasBits(1, int32Mask, static_cast<std::uint64_t>(command)));
    }
    for (const std::uint64_t request : {std::uint64_t{TIOCSTI}, std::uint64_t{TIOCLINUX},
                                        std::uint64_t{FS_IOC_SETFLAGS}, std::uint64_t{FS_IOC_FSSETXATTR}}) {
        filter.refuseWhen("ioctl", hasBits(1, int32Mask, request));
    }
}

/// Before version 3, Landlock lets a file be truncated that is opened for reading, or with the access mode 3,
/// which allows neither reading nor writing.
void refuseFiles(Description& filter) {
    filter.refuse(fileCalls);
    for (const auto& [call, flags] : {std::pair("open", 1U), std::pair("openat", 2U)}) {
        filter.refuseWhen(call, hasBits(flags, O_ACCMODE | O_TRUNC, O_RDONLY | O_TRUNC));
        filter.refuseWhen(call, hasBits(flags, O_ACCMODE, O_ACCMODE));
    }
}

std::vector<sock_filter> compiled(bool hasListedFiles) {
    Description filter;
    refuseForeign(filter);
    if (hasListedFiles) {
        refuseFiles(filter);
    }
    std::vector<sock_filter> instructions = {
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JGE | BPF_K, firstUnknownCall, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | ENOSYS),
    };
    const std::vector<sock_filter> listed = filter.program();
    instructions.insert(instructions.end(), listed.begin(), listed.end());
    return instructions;
}

/// Compiled once a process, since that takes longer than the start of a tool.
const std::vector<sock_filter>& filterFor(bool hasListedFiles) {
    static const std::array filters = {compiled(false), compiled(true)};
    return filters.at(hasListedFiles ? 1 : 0);
}

} // namespace

bool CallFilter::isSupported() noexcept {
    const std::uint32_t action = SECCOMP_RET_ERRNO;
    return ::syscall(SYS_seccomp, SECCOMP_GET_ACTION_AVAIL, 0, &action) == 0;
}

CallFilter::CallFilter(bool hasListedFiles) : instructions_(filterFor(hasListedFiles)) {}

TARNWICK_IN_CHILD int CallFilter::install(const char* program) noexcept {
    const auto address = reinterpret_cast<std::uintptr_t>(program);
    sock_filter* const instructions = instructions_.data();
    const sock_fprog filter = {static_cast<unsigned short>(instructions_.size()), instructions};
    for (unsigned short i = 0; i < filter.len; ++i) {
        std::uint32_t& value = instructions[i].k;
        if (value == ownProcess) {
            value = static_cast<std::uint32_t>(::syscall(SYS_getpid));
        } else if (value == programLow) {
            value = static_cast<std::uint32_t>(address);
        } else if (value == programHigh) {
            value = static_cast<std::uint32_t>(std::uint64_t{address} >> 32);
        }
    }
    return ::syscall(SYS_prctl, PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter, 0, 0) == 0 ? 0 : errno;
}

} // namespace tarnwick
