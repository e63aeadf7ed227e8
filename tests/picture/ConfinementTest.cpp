#include "decoder/Landlock.hpp"
#include "decoder/SystemCallFilter.hpp"
#include "picture/DecoderProtocol.hpp"
#include "support/Scratch.hpp"
#include "support/Tree.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/fs.h>
#include <pthread.h>
#include <sched.h>
#include <seccomp.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::test {
namespace {

using Call = std::function<long()>;

/// The outcome of a call in a process that `confine` was called in: "done", the name of an errno,
/// or the signal that ended the process.
std::string outcome_in(const std::function<void()>& confine, const Call& call)
{
    const pid_t process = ::fork();
    if (process == 0) {
        try {
            confine();
        } catch (const Error&) {
            ::_exit(255);
        }
        errno = 0;
        const bool is_done = call() >= 0;
        ::_exit(is_done ? 0 : errno);
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    if (WIFSIGNALED(status))
        return ::sigabbrev_np(WTERMSIG(status));
    const int code = WEXITSTATUS(status);
    return code == 0 ? "done" : code == 255 ? "not confined" : ::strerrorname_np(code);
}

/// A process with what a helper has open, and a file and a terminal besides.
class Confinement : public testing::Test {
protected:
    Confinement()
    {
        write_file(file_, "content");
        opened_ = FileDescriptor(::open(file_.path().c_str(), O_RDWR | O_CLOEXEC));
        terminal_ = FileDescriptor(::open("/dev/ptmx", O_RDWR | O_NOCTTY | O_CLOEXEC));
    }

    [[nodiscard]] static std::string outcome_of(const Call& call)
    {
        return outcome_in(
            [] {
                decoder::forbid_files_by_name();
                decoder::allow_system_calls_of_decoding();
            },
            call);
    }

    const Scratch root_;
    const Url file_ = root_ / "file";
    FileDescriptor opened_;
    FileDescriptor terminal_;
};

struct CallCase {
    const char* what;
    Call call;
};

TEST_F(Confinement, refuses_every_call_that_reaches_beyond_the_process)
{
    const char* path = file_.path().c_str();
    const int file = opened_.get();
    const int terminal = terminal_.get();
    const pid_t parent = ::getpid();
    constexpr int lifeline = picture::decoder_lifeline;
    const timespec times[2] = {};
    siginfo_t signal{};
    signal.si_code = SI_QUEUE;
    sockaddr_un address{AF_UNIX, "/nowhere"};
    rlimit limit{99, 99};
    int flags = 0;
    void* page = ::mmap(nullptr, 4096, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    const CallCase cases[] = {
        {"open to read", [&] { return ::syscall(SYS_openat, AT_FDCWD, path, O_RDONLY); }},
        {"open to write", [&] { return ::syscall(SYS_openat, AT_FDCWD, path, O_WRONLY); }},
        {"open a folder", [&] { return ::syscall(SYS_openat, AT_FDCWD, "/", O_DIRECTORY); }},
        {"open a new way", [&] { return ::syscall(SYS_openat2, AT_FDCWD, path, &limit, 24); }},
        {"write", [&] { return ::syscall(SYS_write, file, "x", 1); }},
        {"pwrite", [&] { return ::syscall(SYS_pwrite64, file, "x", 1, 0); }},
        {"truncate", [&] { return ::syscall(SYS_ftruncate, file, 0); }},
        {"allocate", [&] { return ::syscall(SYS_fallocate, file, 0, 0, 9); }},
        {"fchmod", [&] { return ::syscall(SYS_fchmod, file, 0777); }},
        {"fchown", [&] { return ::syscall(SYS_fchown, file, ::getuid(), -1); }},
        {"fsetxattr", [&] { return ::syscall(SYS_fsetxattr, file, "user.a", "x", 1, 0); }},
        {"utimensat", [&] { return ::syscall(SYS_utimensat, file, nullptr, times, 0); }},
        {"FS_IOC_SETFLAGS", [&] { return ::syscall(SYS_ioctl, file, FS_IOC_SETFLAGS, &flags); }},
        {"TIOCSTI", [&] { return ::syscall(SYS_ioctl, terminal, TIOCSTI, "x"); }},
        {"another ioctl", [&] { return ::syscall(SYS_ioctl, file, FIONREAD, &flags); }},
        {"stat", [&] { return ::syscall(SYS_newfstatat, AT_FDCWD, path, page, 0); }},
        {"stat of what is open",
         [&] { return ::syscall(SYS_newfstatat, file, "", page, AT_EMPTY_PATH); }},
        {"access", [&] { return ::syscall(SYS_faccessat, AT_FDCWD, path, R_OK); }},
        {"readlink", [&] { return ::syscall(SYS_readlinkat, AT_FDCWD, path, page, 9); }},
        {"unlink", [&] { return ::syscall(SYS_unlinkat, AT_FDCWD, path, 0); }},
        {"rename", [&] { return ::syscall(SYS_renameat2, AT_FDCWD, path, AT_FDCWD, "b", 0); }},
        {"mkdir", [&] { return ::syscall(SYS_mkdirat, AT_FDCWD, "b", 0700); }},
        {"chdir", [&] { return ::syscall(SYS_chdir, "/"); }},
        {"kill", [&] { return ::syscall(SYS_kill, parent, 0); }},
        {"tgkill", [&] { return ::syscall(SYS_tgkill, parent, parent, 0); }},
        {"tkill", [&] { return ::syscall(SYS_tkill, parent, 0); }},
        {"queue a signal",
         [&] { return ::syscall(SYS_rt_sigqueueinfo, parent, SIGCONT, &signal); }},
        {"open a process", [&] { return ::syscall(SYS_pidfd_open, parent, 0); }},
        {"read a process",
         [&] { return ::syscall(SYS_process_vm_readv, parent, page, 0, page, 0, 0); }},
        {"ptrace", [&] { return ::syscall(SYS_ptrace, PTRACE_TRACEME, 0, 0, 0); }},
        {"execve", [&] { return ::syscall(SYS_execve, "/bin/true", nullptr, nullptr); }},
        {"fork", [&] { return ::syscall(SYS_clone, SIGCHLD, nullptr, nullptr, nullptr, 0); }},
        {"vfork", [&] { return ::syscall(SYS_clone, CLONE_VM | SIGCHLD, page, 0, 0, 0); }},
        {"unshare", [&] { return ::syscall(SYS_unshare, CLONE_NEWUSER); }},
        {"setsid", [&] { return ::syscall(SYS_setsid); }},
        {"setpriority", [&] { return ::syscall(SYS_setpriority, PRIO_PROCESS, parent, 5); }},
        {"limits of others",
         [&] { return ::syscall(SYS_prlimit64, parent, RLIMIT_CPU, nullptr, &limit); }},
        {"other limits", [&] { return ::syscall(SYS_prlimit64, 0, RLIMIT_NOFILE, &limit, 0); }},
        {"socket", [&] { return ::syscall(SYS_socket, AF_INET, SOCK_STREAM, 0); }},
        {"socketpair", [&] { return ::syscall(SYS_socketpair, AF_UNIX, SOCK_STREAM, 0, page); }},
        {"connect", [&] { return ::syscall(SYS_connect, 3, &address, sizeof address); }},
        {"send elsewhere",
         [&] { return ::syscall(SYS_sendto, 3, "x", 1, 0, &address, sizeof address); }},
        {"send on another socket", [&] { return ::syscall(SYS_sendto, 9, "x", 1, 0, nullptr, 0); }},
        {"pass a descriptor", [&] { return ::syscall(SYS_sendmsg, 3, page, 0); }},
        {"map code",
         [&] {
             return ::syscall(SYS_mmap, nullptr, 4096, PROT_READ | PROT_EXEC,
                              MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
         }},
        {"make code of it", [&] { return ::syscall(SYS_mprotect, page, 4096, PROT_EXEC); }},
        {"file of memory", [&] { return ::syscall(SYS_memfd_create, "a", 0); }},
        {"close the lifeline", [&] { return ::syscall(SYS_close, lifeline); }},
        {"replace the lifeline", [&] { return ::syscall(SYS_dup3, file, lifeline, 0); }},
        {"silence the lifeline", [&] { return ::syscall(SYS_fcntl, lifeline, F_SETFL, 0); }},
        {"turn the lifeline away",
         [&] { return ::syscall(SYS_fcntl, lifeline, F_SETOWN, ::getppid()); }},
        {"lock a file", [&] { return ::syscall(SYS_flock, file, LOCK_EX); }},
        {"be looked at", [&] { return ::syscall(SYS_prctl, PR_SET_DUMPABLE, 1, 0, 0, 0); }},
        {"another filter", [&] { return ::syscall(SYS_seccomp, 0, 0, nullptr); }},
        {"io_uring", [&] { return ::syscall(SYS_io_uring_setup, 1, page); }},
        {"bpf", [&] { return ::syscall(SYS_bpf, 0, nullptr, 0); }},
        {"mount", [&] { return ::syscall(SYS_mount, "a", "/", "tmpfs", 0, nullptr); }},
    };
    for (const auto& [what, call] : cases)
        EXPECT_EQ(outcome_of(call), "EPERM") << what;
    EXPECT_EQ(outcome_of([] { return ::syscall(SYS_clone3, nullptr, 0); }), "ENOSYS");
    EXPECT_EQ(read_file(file_), "content");
    ::munmap(page, 4096);
}

TEST_F(Confinement, leaves_what_decoding_takes)
{
    const CallCase cases[] = {
        {"read", [&] { return ::read(opened_.get(), std::array<char, 4>().data(), 4); }},
        {"map",
         [&] {
             return ::mmap(nullptr, 4, PROT_READ, MAP_PRIVATE, opened_.get(), 0) != MAP_FAILED ? 0
                                                                                               : -1;
         }},
        {"memory", [] { return std::vector<char>(100'000'000).empty() ? -1 : 0; }},
        {"threads", // without an object, whose kind a sanitizer would look up by a refused call
         [] {
             pthread_t thread{};
             const auto nothing = [](void* given) { return given; };
             return ::pthread_create(&thread, nullptr, nothing, nullptr) == 0 &&
                            ::pthread_join(thread, nullptr) == 0
                        ? 0
                        : -1;
         }},
        {"print", [] { return ::write(2, "", 0); }},
        {"exit", [] { return 0; }},
    };
    for (const auto& [what, call] : cases)
        EXPECT_EQ(outcome_of(call), "done") << what;
}

#if defined(__x86_64__)
TEST_F(Confinement, ends_a_process_that_calls_as_another_machine)
{
    constexpr long x32 = 0x40000000;
    EXPECT_EQ(outcome_of([] { return ::syscall(x32 | SYS_getpid); }), "SYS");
    EXPECT_EQ(outcome_of([] {
                  long number = 20; // getpid of the 32-bit kind
                  asm volatile("int $0x80" : "+a"(number) : : "memory");
                  return number;
              }),
              "SYS");
}
#endif

TEST_F(Confinement, is_an_error_where_the_kernel_cannot_filter)
{
    const auto forbid_filters = [] {
        void* filter = ::seccomp_init(SCMP_ACT_ALLOW);
        ::seccomp_rule_add(filter, SCMP_ACT_ERRNO(ENOSYS), SCMP_SYS(seccomp), 0);
        const scmp_arg_cmp one{0, SCMP_CMP_EQ, PR_SET_SECCOMP, 0};
        ::seccomp_rule_add_array(filter, SCMP_ACT_ERRNO(EINVAL), SCMP_SYS(prctl), 1, &one);
        ::seccomp_load(filter);
        decoder::allow_system_calls_of_decoding();
    };
    EXPECT_EQ(outcome_in(forbid_filters, [] { return 0; }), "not confined");
}

TEST_F(Confinement, has_a_second_wall_where_the_kernel_has_landlock)
{
    if (::syscall(SYS_landlock_create_ruleset, nullptr, 0, 1) < 1)
        GTEST_SKIP() << "The kernel has no Landlock.";
    const auto outcome = [&](void (*confine)(), int flags) {
        return outcome_in(confine, [&] { return ::open(file_.path().c_str(), flags, 0600); });
    };
    EXPECT_EQ(outcome(&decoder::forbid_files_by_name, O_RDONLY), "EACCES");
    EXPECT_EQ(outcome(&decoder::forbid_files_by_name, O_WRONLY), "EACCES");
    EXPECT_EQ(outcome(&decoder::forbid_all_but_reading, O_RDONLY), "done");
    EXPECT_EQ(outcome(&decoder::forbid_all_but_reading, O_WRONLY), "EACCES");
}

} // namespace
} // namespace orv::test
