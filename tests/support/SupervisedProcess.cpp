#include "support/SupervisedProcess.hpp"

#include "support/WatchedCalls.hpp"

#include <array>
#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace orv::test {
namespace {

/// A message with room for one descriptor.
struct DescriptorMessage {
    char byte = 0;
    iovec content{&byte, 1};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr header{};

    DescriptorMessage()
    {
        header.msg_iov = &content;
        header.msg_iovlen = 1;
        header.msg_control = control.data();
        header.msg_controllen = control.size();
    }
    DescriptorMessage(const DescriptorMessage&) = delete;
    DescriptorMessage& operator=(const DescriptorMessage&) = delete;
};

bool send_descriptor(int socket, int fd)
{
    DescriptorMessage message;
    cmsghdr* control = CMSG_FIRSTHDR(&message.header);
    control->cmsg_level = SOL_SOCKET;
    control->cmsg_type = SCM_RIGHTS;
    control->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(control), &fd, sizeof(int));
    return ::sendmsg(socket, &message.header, 0) == 1;
}

FileDescriptor receive_descriptor(int socket)
{
    DescriptorMessage message;
    if (::recvmsg(socket, &message.header, MSG_CMSG_CLOEXEC) != 1)
        return {};
    int fd = -1;
    if (const cmsghdr* control = CMSG_FIRSTHDR(&message.header))
        std::memcpy(&fd, CMSG_DATA(control), sizeof(int));
    return FileDescriptor(fd);
}

/// What the new process needs, made before it forks: other threads may hold the heap's lock then.
struct Start {
    std::vector<char*> arguments;
    std::vector<sock_filter> filter = filter_of_watched_calls();
    int socket = -1;
    int errors = -1;
};

[[noreturn]] void become_command(const Start& start, sock_fprog program)
{
    ::setpgid(0, 0);
    const int nothing = ::open("/dev/null", O_RDWR | O_CLOEXEC);
    ::dup2(nothing, STDIN_FILENO);
    ::dup2(nothing, STDOUT_FILENO);
    ::dup2(start.errors, STDERR_FILENO);
    ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
    const auto listener = static_cast<int>(::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER,
                                                     SECCOMP_FILTER_FLAG_NEW_LISTENER, &program));
    if (listener < 0 || !send_descriptor(start.socket, listener))
        ::_exit(126);
    ::execvp(start.arguments[0], start.arguments.data());
    ::_exit(127);
}

} // namespace

SupervisedProcess::SupervisedProcess(const std::vector<std::string>& command)
    : errors_(::memfd_create("errors", MFD_CLOEXEC))
{
    std::array<int, 2> sockets{};
    if (!errors_ || ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets.data()) != 0)
        throw std::runtime_error("no process can be supervised: no descriptors are left");
    const FileDescriptor own(sockets[0]);
    FileDescriptor others(sockets[1]);

    Start start;
    for (const std::string& argument : command)
        start.arguments.push_back(const_cast<char*>(argument.c_str()));
    start.arguments.push_back(nullptr);
    start.socket = others.get();
    start.errors = errors_.get();
    const sock_fprog program{static_cast<unsigned short>(start.filter.size()), start.filter.data()};
    id_ = ::fork();
    if (id_ == 0)
        become_command(start, program);
    others.reset();
    listener_ = receive_descriptor(own.get());
    if (!listener_) {
        wait();
        throw std::runtime_error("no process can be supervised: the kernel refuses the filter");
    }
}

SupervisedProcess::~SupervisedProcess()
{
    if (id_ < 0)
        return;
    kill();
    wait();
}

void SupervisedProcess::kill() const
{
    ::kill(-id_, SIGKILL);
}

SupervisedProcess::Ending SupervisedProcess::wait()
{
    int status = 0;
    ::waitpid(std::exchange(id_, -1), &status, 0);
    if (WIFEXITED(status))
        return {.exit_code = WEXITSTATUS(status)};
    return {.signal = WTERMSIG(status)};
}

std::string SupervisedProcess::errors() const
{
    struct stat facts {};
    ::fstat(errors_.get(), &facts);
    std::string text(static_cast<std::size_t>(facts.st_size), '\0');
    const ssize_t length = ::pread(errors_.get(), text.data(), text.size(), 0);
    text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return text;
}

} // namespace orv::test
