#pragma once

#include "utility/FileDescriptor.hpp"

#include <chrono>
#include <cstddef>
#include <utility>

namespace orv::picture {

/// Both ends of a new stream; neither outlives a program that this process becomes.
[[nodiscard]] std::pair<FileDescriptor, FileDescriptor> socket_pair();

/// The application's end of the socket to a helper, up to a deadline.
///
/// Errors: every function throws an `Error` when the helper has died or the deadline has passed.
class DecoderSocket {
public:
    DecoderSocket(int socket, std::chrono::steady_clock::time_point deadline)
        : socket_(socket), deadline_(deadline)
    {
    }

    /// Sends bytes, few enough to be sent at once, and with them a descriptor.
    void send(const void* bytes, std::size_t size, int descriptor);

    /// Reads all of `size` bytes.
    void read(void* bytes, std::size_t size);

private:
    void wait_for_bytes();

    int socket_;
    std::chrono::steady_clock::time_point deadline_;
};

} // namespace orv::picture
