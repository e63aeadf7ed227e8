#pragma once

#include "picture/HelperWatch.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <utility>

namespace orv::picture {

/// Both ends of a new stream; both close when this process becomes another program.
[[nodiscard]] std::pair<FileDescriptor, FileDescriptor> socket_pair();

/// The application's end of the socket to a helper, with a watch during waits.
///
/// Errors: every function throws an `Error` when the helper has died or takes too long.
class DecoderSocket {
public:
    DecoderSocket(int socket, HelperWatch watch) : socket_(socket), watch_(watch) {}

    /// Sends bytes, few enough for one call, and a descriptor with them.
    void send(const void* bytes, std::size_t size, int descriptor);

    /// Reads all of `size` bytes.
    void read(void* bytes, std::size_t size);

private:
    void wait_for_bytes();

    int socket_;
    HelperWatch watch_;
};

} // namespace orv::picture
