#include "picture/DecoderSocket.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

#include <poll.h>
#include <sys/socket.h>

namespace orv::picture {
namespace {

[[noreturn]] void throw_dead()
{
    throw Error("The helper that decodes pictures ended over this file.");
}

} // namespace

std::pair<FileDescriptor, FileDescriptor> socket_pair()
{
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0)
        throw platform_error(errno, {});
    return {FileDescriptor(ends[0]), FileDescriptor(ends[1])};
}

void DecoderSocket::send(const void* bytes, std::size_t size, int descriptor)
{
    // The call changes neither the bytes nor the message.
    iovec part{const_cast<void*>(bytes), size};
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(int))> control{};
    msghdr message{};
    message.msg_iov = &part;
    message.msg_iovlen = 1;
    message.msg_control = control.data();
    message.msg_controllen = control.size();
    cmsghdr* header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    std::memcpy(CMSG_DATA(header), &descriptor, sizeof descriptor);
    if (::sendmsg(socket_, &message, MSG_NOSIGNAL | MSG_DONTWAIT) != static_cast<ssize_t>(size))
        throw_dead();
}

void DecoderSocket::read(void* bytes, std::size_t size)
{
    auto* place = static_cast<char*>(bytes);
    while (size > 0) {
        wait_for_bytes();
        const ssize_t count = ::recv(socket_, place, size, MSG_DONTWAIT);
        if (count == 0 || (count < 0 && errno != EAGAIN && errno != EINTR))
            throw_dead();
        if (count > 0) {
            place += count;
            size -= static_cast<std::size_t>(count);
        }
    }
}

void DecoderSocket::wait_for_bytes()
{
    constexpr int between_looks_ms = 100;
    pollfd socket{socket_, POLLIN, 0};
    for (;;) {
        const int found = ::poll(&socket, 1, between_looks_ms);
        if (found > 0)
            return;
        if (found < 0 && errno != EINTR)
            throw platform_error(errno, {});
        watch_.look();
    }
}

} // namespace orv::picture
