#include "picture/StartedProgram.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <cerrno>
#include <vector>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::picture {
namespace {

constexpr int first_descriptor = 3;

void check_spawning(int error)
{
    if (error != 0)
        throw platform_error(error, {});
}

/// The changes to the descriptors of a new process before it runs its program.
class DescriptorActions {
public:
    explicit DescriptorActions(const std::vector<FileDescriptor>& descriptors)
    {
        check_spawning(::posix_spawn_file_actions_init(&actions_));
        int place = first_descriptor;
        for (const FileDescriptor& descriptor : descriptors)
            check_spawning(
                ::posix_spawn_file_actions_adddup2(&actions_, descriptor.get(), place++));
        check_spawning(::posix_spawn_file_actions_addopen(&actions_, 0, "/dev/null", O_RDWR, 0));
        for (const int standard : {1, 2})
            check_spawning(::posix_spawn_file_actions_adddup2(&actions_, 0, standard));
        check_spawning(::posix_spawn_file_actions_addclosefrom_np(&actions_, place));
    }
    ~DescriptorActions() { ::posix_spawn_file_actions_destroy(&actions_); }
    DescriptorActions(const DescriptorActions&) = delete;
    DescriptorActions& operator=(const DescriptorActions&) = delete;

    [[nodiscard]] const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

/// A session of its own has no terminal: neither do keys reach the program, nor can it type.
class NewSession {
public:
    NewSession()
    {
        check_spawning(::posix_spawnattr_init(&attributes_));
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSID);
    }
    ~NewSession() { ::posix_spawnattr_destroy(&attributes_); }
    NewSession(const NewSession&) = delete;
    NewSession& operator=(const NewSession&) = delete;

    [[nodiscard]] const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

/// Copies of the descriptors outside the range of the new process's own.
std::vector<FileDescriptor> moved_up(std::span<const int> descriptors)
{
    std::vector<FileDescriptor> moved;
    moved.reserve(descriptors.size());
    const int lowest = first_descriptor + static_cast<int>(descriptors.size());
    for (const int descriptor : descriptors) {
        moved.emplace_back(::fcntl(descriptor, F_DUPFD_CLOEXEC, lowest));
        if (!moved.back())
            throw platform_error(errno, {});
    }
    return moved;
}

pid_t spawned(const Url& program, const std::string& argument, std::span<const int> descriptors)
{
    const std::vector<FileDescriptor> moved = moved_up(descriptors);
    const DescriptorActions actions(moved);
    const NewSession session;
    // The call changes neither text.
    const std::array<char*, 3> arguments{const_cast<char*>(program.path().c_str()),
                                         const_cast<char*>(argument.c_str()), nullptr};
    pid_t id = -1;
    const int error = ::posix_spawn(&id, program.path().c_str(), actions.get(), session.get(),
                                    arguments.data(), environ);
    if (error != 0)
        throw platform_error(error, program);
    return id;
}

int wait_for(const FileDescriptor& process, int how)
{
    siginfo_t info{};
    int result = 0;
    do
        result = ::waitid(P_PIDFD, static_cast<id_t>(process.get()), &info, how | __WALL);
    while (result != 0 && errno == EINTR);
    return result;
}

} // namespace

StartedProgram::StartedProgram(const Url& program, const std::string& argument,
                               std::span<const int> descriptors)
    : id_(spawned(program, argument, descriptors)),
      process_(static_cast<int>(::syscall(SYS_pidfd_open, id_, 0)))
{
    if (!process_) {
        const Error error = platform_error(errno, program);
        ::kill(id_, SIGKILL);
        ::waitpid(id_, nullptr, 0);
        throw error;
    }
    // The application may have waited for any child, or for none, and the number be of another
    // process by now.
    if (wait_for(process_, WEXITED | WNOHANG | WNOWAIT) != 0)
        throw platform_error(errno, program);
}

StartedProgram::~StartedProgram()
{
    ::syscall(SYS_pidfd_send_signal, process_.get(), SIGKILL, nullptr, 0);
    wait_for(process_, WEXITED);
}

bool StartedProgram::is_alive() const
{
    pollfd end{process_.get(), POLLIN, 0};
    return ::poll(&end, 1, 0) == 0;
}

} // namespace orv::picture
