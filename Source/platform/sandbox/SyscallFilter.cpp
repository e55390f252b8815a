#include "platform/sandbox/SyscallFilter.h"

#include <cerrno>
#include <cstring>
#include <memory>

#include <linux/sched.h>
#include <seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <unistd.h>

namespace {

struct FilterContextDeleter {
    void operator()(scmp_filter_ctx context) const { seccomp_release(context); }
};
using FilterContext = std::unique_ptr<void, FilterContextDeleter>;

// What the service does once it is set up, and so all it may do: allocate and map
// memory, run and synchronise threads, keep time, handle its own signals, and move
// bytes through descriptors it already holds (the D-Bus socket and the descriptors that
// arrive over it, GLib's eventfds, memfds for data in memory). Nothing here names
// a path, makes or connects a socket, starts a process or touches credentials.
constexpr int kAllowed[] = {
    // Memory.
    SCMP_SYS(brk),
    SCMP_SYS(mmap),
    SCMP_SYS(munmap),
    SCMP_SYS(mremap),
    SCMP_SYS(mprotect),
    SCMP_SYS(madvise),
    // Threads and their synchronisation (clone itself is allowed below, for threads only).
    SCMP_SYS(futex),
    SCMP_SYS(set_robust_list),
    SCMP_SYS(rseq),
    SCMP_SYS(set_tid_address),
    SCMP_SYS(gettid),
    SCMP_SYS(getpid),
    SCMP_SYS(getppid),
    SCMP_SYS(sched_yield),
    SCMP_SYS(sched_getaffinity),
    SCMP_SYS(exit),
    SCMP_SYS(exit_group),
    // Time.
    SCMP_SYS(clock_gettime),
    SCMP_SYS(clock_getres),
    SCMP_SYS(gettimeofday),
    SCMP_SYS(nanosleep),
    SCMP_SYS(clock_nanosleep),
    // Signals handled in the process (sending them is allowed below, to itself only).
    SCMP_SYS(rt_sigaction),
    SCMP_SYS(rt_sigprocmask),
    SCMP_SYS(rt_sigreturn),
    SCMP_SYS(sigaltstack),
    SCMP_SYS(restart_syscall),
    // Descriptors already held: read, write, seek, inspect, wait on, close.
    SCMP_SYS(read),
    SCMP_SYS(readv),
    SCMP_SYS(pread64),
    SCMP_SYS(preadv),
    SCMP_SYS(write),
    SCMP_SYS(writev),
    SCMP_SYS(pwrite64),
    SCMP_SYS(pwritev),
    SCMP_SYS(lseek),
    SCMP_SYS(fstat),
    SCMP_SYS(fcntl),
    SCMP_SYS(ftruncate),
    SCMP_SYS(fadvise64),
    SCMP_SYS(splice),
    SCMP_SYS(close),
    SCMP_SYS(dup),
    SCMP_SYS(dup3),
    SCMP_SYS(poll),
    SCMP_SYS(ppoll),
    SCMP_SYS(pselect6),
    // glibc's fstat() is fstatat(fd, "", AT_EMPTY_PATH). It also reads a path's metadata
    // (never its contents), which Landlock does not guard either.
    SCMP_SYS(newfstatat),
    // Descriptors the service makes for itself: GLib's wake-ups and movie data in memory.
    SCMP_SYS(eventfd2),
    SCMP_SYS(pipe2),
    SCMP_SYS(memfd_create),
    // The D-Bus connection: messages with descriptors and credentials on a socket that
    // exists already, and accepting peers on a listening socket made before confinement.
    SCMP_SYS(recvmsg),
    SCMP_SYS(sendmsg),
    SCMP_SYS(recvfrom),
    SCMP_SYS(sendto),
    SCMP_SYS(shutdown),
    SCMP_SYS(getsockopt),
    SCMP_SYS(setsockopt),
    SCMP_SYS(getsockname),
    SCMP_SYS(getpeername),
    SCMP_SYS(accept),
    SCMP_SYS(accept4),
    // Reading who the process is (the D-Bus peer check compares user ids) and its limits.
    SCMP_SYS(getuid),
    SCMP_SYS(geteuid),
    SCMP_SYS(getgid),
    SCMP_SYS(getegid),
    SCMP_SYS(getrlimit),
    SCMP_SYS(getrandom),
    SCMP_SYS(uname),
    SCMP_SYS(sysinfo),
    SCMP_SYS(getrusage),
};

// Calls that no code of the service, GLib, FFmpeg, Cairo or the C library makes once
// the service is set up, and that are the usual next step of code an attacker got to
// run: reaching into other processes (ptrace, process_vm_*), kernel attack surface
// (bpf, userfaultfd, perf_event_open, keyrings, io_uring), and leaving the namespaces or
// the kernel behind. Such a call means the process no longer runs its own code, so it
// ends at once instead of getting a refusal and trying the next thing. Everything else
// unlisted gets EPERM: a library that tries an optional call on an ordinary path (a
// /sys file for the processor count, a scheduler hint) then falls back as it would on
// an older kernel, and the frame being made still gets its neutral answer.
constexpr int kKilling[] = {
    SCMP_SYS(ptrace),
    SCMP_SYS(process_vm_readv),
    SCMP_SYS(process_vm_writev),
    SCMP_SYS(bpf),
    SCMP_SYS(userfaultfd),
    SCMP_SYS(perf_event_open),
    SCMP_SYS(keyctl),
    SCMP_SYS(add_key),
    SCMP_SYS(request_key),
    SCMP_SYS(io_uring_setup),
    SCMP_SYS(io_uring_enter),
    SCMP_SYS(io_uring_register),
    SCMP_SYS(kexec_load),
    SCMP_SYS(kexec_file_load),
    SCMP_SYS(init_module),
    SCMP_SYS(finit_module),
    SCMP_SYS(delete_module),
    SCMP_SYS(unshare),
    SCMP_SYS(setns),
    SCMP_SYS(mount),
    SCMP_SYS(umount2),
    SCMP_SYS(pivot_root),
    SCMP_SYS(chroot),
    SCMP_SYS(swapon),
    SCMP_SYS(swapoff),
    SCMP_SYS(reboot),
};

Error seccompError(const char* what, int result) {
    return makeError(std::string(what) + ": " + std::strerror(-result));
}

ErrorOr<bool> addRules(scmp_filter_ctx context) {
    for (int call : kAllowed) {
        if (int result = seccomp_rule_add(context, SCMP_ACT_ALLOW, call, 0); result < 0)
            return seccompError("cannot allow a system call", result);
    }
    for (int call : kKilling) {
        if (int result = seccomp_rule_add(context, SCMP_ACT_KILL_PROCESS, call, 0); result < 0)
            return seccompError("cannot forbid a system call", result);
    }
    // clone makes threads (CLONE_THREAD) and processes (fork, vfork, posix_spawn);
    // only threads are allowed. clone3 passes its flags in memory, out of a filter's
    // reach, so it answers "not implemented" and glibc falls back to clone.
    int rules[] = {
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(clone), 1,
                         SCMP_A0(SCMP_CMP_MASKED_EQ, CLONE_THREAD, CLONE_THREAD)),
        seccomp_rule_add(context, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(clone3), 0),
        // Signals go to the process itself only (abort(), pthread_kill()).
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(tgkill), 1,
                         SCMP_A0(SCMP_CMP_EQ, static_cast<scmp_datum_t>(getpid()))),
        // Limits may be read, never changed.
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(prlimit64), 2, SCMP_A0(SCMP_CMP_EQ, 0),
                         SCMP_A2(SCMP_CMP_EQ, 0)),
        // Threads name themselves (GLib, FFmpeg's workers).
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(prctl), 1, SCMP_A0(SCMP_CMP_EQ, PR_SET_NAME)),
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(prctl), 1, SCMP_A0(SCMP_CMP_EQ, PR_GET_NAME)),
        // GLib gives each thread of a pool made before confinement (the --listen
        // server's) the scheduling settings of the thread that made the pool. Without
        // privileges this can only ever lower a priority.
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(sched_setattr), 1, SCMP_A2(SCMP_CMP_EQ, 0)),
        // isatty() on the standard streams and GLib's count of bytes waiting on a socket.
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(ioctl), 1,
                         SCMP_A1(SCMP_CMP_MASKED_EQ, 0xFFFFFFFFu, TCGETS)),
        seccomp_rule_add(context, SCMP_ACT_ALLOW, SCMP_SYS(ioctl), 1,
                         SCMP_A1(SCMP_CMP_MASKED_EQ, 0xFFFFFFFFu, FIONREAD)),
    };
    for (int result : rules) {
        if (result < 0)
            return seccompError("cannot add a system call rule", result);
    }
    return true;
}

} // namespace

ErrorOr<bool> InstallSyscallFilter() {
    if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0)
        return makeError(std::string("cannot set no_new_privs: ") + std::strerror(errno));
    FilterContext context(seccomp_init(SCMP_ACT_ERRNO(EPERM)));
    if (!context)
        return makeError("cannot make a system call filter");
    // Every thread, also those GLib and FFmpeg started before, runs under the filter.
    if (int result = seccomp_attr_set(context.get(), SCMP_FLTATR_CTL_TSYNC, 1); result < 0)
        return seccompError("cannot filter every thread", result);
    auto rules = addRules(context.get());
    if (rules.isError())
        return rules.error();
    if (int result = seccomp_load(context.get()); result < 0)
        return seccompError("cannot install the system call filter", result);
    return true;
}
