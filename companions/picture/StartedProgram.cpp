#include "picture/StartedProgram.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <linux/close_range.h>
#include <poll.h>
#include <sched.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

/// `clone` by the name under which no tool takes it for a fork, which shares no memory.
// NOLINTNEXTLINE(readability-identifier-naming): the C library named it
extern "C" int __clone(int (*run)(void*), void* stack, int flags, void* argument, ...);

namespace orv::picture {
namespace {

/// What the new process finds in the memory that it shares until it runs its program.
struct Start {
    const char* program;
    int socket;
    int socket_in_program;
    int error;
};

// What follows runs in the memory of this process but is none of its threads: tools that watch
// those by the functions they call must not see it, hence the bare system calls.

/// Makes `place` the same as `descriptor`, to be kept by the program.
bool put(int descriptor, int place)
{
    // One that has its place already would keep its mark to be closed.
    if (descriptor == place)
        return ::syscall(SYS_fcntl, place, F_SETFD, 0) == 0;
    return ::syscall(SYS_dup3, descriptor, place, 0) == place;
}

bool become(const Start& start)
{
    // First the socket: it may have the place of a standard descriptor that was closed.
    const int place = start.socket_in_program;
    if (!put(start.socket, place))
        return false;
    const auto nothing =
        static_cast<int>(::syscall(SYS_openat, AT_FDCWD, "/dev/null", O_RDWR | O_CLOEXEC));
    if (nothing < 0)
        return false;
    for (const int standard : {0, 1, 2})
        if (!put(nothing, standard))
            return false;
    if (::syscall(SYS_close_range, static_cast<unsigned>(place + 1), ~0U, CLOSE_RANGE_CLOEXEC) != 0)
        return false;
    // What the keys of a terminal send to the application's group is for the application to handle.
    ::syscall(SYS_setpgid, 0, 0);
    std::array<char*, 2> arguments{const_cast<char*>(start.program), nullptr};
    ::execve(start.program, arguments.data(), environ);
    return false;
}

int run(void* argument)
{
    auto& start = *static_cast<Start*>(argument);
    become(start);
    start.error = errno;
    ::syscall(SYS_exit_group, 127);
    return 127;
}

/// No handler of a signal may run in a process that shares this one's memory.
class SignalsHeld {
public:
    SignalsHeld()
    {
        sigset_t all;
        ::sigfillset(&all);
        ::pthread_sigmask(SIG_SETMASK, &all, &before_);
    }
    ~SignalsHeld() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
    SignalsHeld(const SignalsHeld&) = delete;
    SignalsHeld& operator=(const SignalsHeld&) = delete;

private:
    sigset_t before_{};
};

} // namespace

FileDescriptor start_program(const Url& program, int socket, int socket_in_program)
{
    Start start{program.path().c_str(), socket, socket_in_program, 0};
    std::vector<char> stack(std::size_t{64} * 1024);
    constexpr int flags = CLONE_VM | CLONE_VFORK | CLONE_PIDFD | SIGCHLD;
    int process = -1;
    int id = -1;
    {
        const SignalsHeld held;
        // Returns when the program runs or could not be run.
        id = __clone(&run, stack.data() + stack.size(), flags, &start, &process);
        if (id < 0)
            start.error = errno;
    }
    FileDescriptor descriptor(id < 0 ? -1 : process);
    if (start.error != 0) {
        end_program(descriptor);
        throw platform_error(start.error, program);
    }
    return descriptor;
}

void end_program(const FileDescriptor& process) noexcept
{
    if (!process)
        return;
    ::syscall(SYS_pidfd_send_signal, process.get(), SIGKILL, nullptr, 0);
    siginfo_t info{};
    const auto id = static_cast<id_t>(process.get());
    while (::waitid(P_PIDFD, id, &info, WEXITED | __WALL) != 0 && errno == EINTR) {
    }
}

} // namespace orv::picture
