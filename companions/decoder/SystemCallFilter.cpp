#include "decoder/SystemCallFilter.hpp"

#include <array>
#include <cerrno>
#include <cstddef>
#include <vector>

#include <fcntl.h>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace orv::decoder {
namespace {

#if defined(__x86_64__)
constexpr unsigned machine = AUDIT_ARCH_X86_64;
// Calls of the 32-bit kind are told by this bit, and refused.
constexpr unsigned other_calls = 0x40000000;
#elif defined(__aarch64__)
constexpr unsigned machine = AUDIT_ARCH_AARCH64;
constexpr unsigned other_calls = 0x80000000;
#else
constexpr unsigned machine = 0;
constexpr unsigned other_calls = 0;
#endif

constexpr int forbidden_calls[] = {
    // the network; sockets that are there already can be used
    SYS_socket, SYS_socketpair, SYS_connect, SYS_bind, SYS_listen, SYS_accept4,
    // other programs and processes
    SYS_execve, SYS_execveat, SYS_ptrace, SYS_process_vm_readv, SYS_process_vm_writev, SYS_kill,
    SYS_tkill, SYS_pidfd_open, SYS_pidfd_getfd, SYS_setpriority,
    // files by their names; `open` is looked at more closely
    SYS_openat2, SYS_unlinkat, SYS_renameat2, SYS_linkat, SYS_symlinkat, SYS_mkdirat, SYS_mknodat,
    SYS_fchmodat, SYS_fchownat, SYS_truncate, SYS_setxattr, SYS_lsetxattr, SYS_utimensat,
#if defined(__x86_64__)
    SYS_creat, SYS_unlink, SYS_rmdir, SYS_rename, SYS_renameat, SYS_link, SYS_symlink, SYS_mkdir,
    SYS_mknod, SYS_chmod, SYS_chown, SYS_lchown, SYS_fork, SYS_vfork, SYS_accept,
#endif
    // the rest of the machine
    SYS_mount, SYS_umount2, SYS_unshare, SYS_setns, SYS_bpf, SYS_keyctl, SYS_add_key,
    SYS_request_key, SYS_io_uring_setup, SYS_userfaultfd, SYS_perf_event_open};

sock_filter load(std::size_t offset)
{
    return {BPF_LD | BPF_W | BPF_ABS, 0, 0, static_cast<unsigned>(offset)};
}

sock_filter skip_unless(unsigned short test, unsigned value, unsigned char skipped)
{
    return {static_cast<unsigned short>(BPF_JMP | BPF_K | test), 0, skipped, value};
}

sock_filter end_with(unsigned result)
{
    return {BPF_RET | BPF_K, 0, 0, result};
}

constexpr unsigned refused = SECCOMP_RET_ERRNO | EPERM;

/// Files are opened for reading only: some libraries would make them for code that they generate.
void refuse_writing(std::vector<sock_filter>& filter, int call, std::size_t flags)
{
    constexpr unsigned writing = O_WRONLY | O_RDWR | O_CREAT | O_TRUNC;
    filter.insert(filter.end(), {
                                    skip_unless(BPF_JEQ, static_cast<unsigned>(call), 4),
                                    load(offsetof(seccomp_data, args) + flags * sizeof(__u64)),
                                    skip_unless(BPF_JSET, writing, 1),
                                    end_with(refused),
                                    end_with(SECCOMP_RET_ALLOW),
                                });
}

std::vector<sock_filter> rules()
{
    std::vector<sock_filter> filter = {
        load(offsetof(seccomp_data, arch)),
        {BPF_JMP | BPF_K | BPF_JEQ, 1, 0, machine},
        end_with(refused),
        load(offsetof(seccomp_data, nr)),
        skip_unless(BPF_JGE, other_calls, 1),
        end_with(refused),
    };
    for (const int call : forbidden_calls) {
        filter.push_back(skip_unless(BPF_JEQ, static_cast<unsigned>(call), 1));
        filter.push_back(end_with(refused));
    }
#if defined(__x86_64__)
    refuse_writing(filter, SYS_open, 1);
#endif
    refuse_writing(filter, SYS_openat, 2);
    filter.push_back(end_with(SECCOMP_RET_ALLOW));
    return filter;
}

} // namespace

void forbid_system_calls()
{
    if (machine == 0)
        return;
    std::vector<sock_filter> filter = rules();
    const sock_fprog program{static_cast<unsigned short>(filter.size()), filter.data()};
    ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0);
}

} // namespace orv::decoder
