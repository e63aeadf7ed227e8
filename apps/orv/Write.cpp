#include "Commands.hpp"
#include "NewFile.hpp"
#include "Terminal.hpp"

#include <orv/orv.hpp>

#include <cerrno>
#include <cstddef>
#include <new>

#include <poll.h>
#include <unistd.h>

namespace orv::app {
namespace {

constexpr std::size_t input_block_size = 256 * 1024;

using Bytes = std::vector<std::byte>;

/// Reads the available input, at most a block. False at the end.
bool read_some(Bytes& data)
{
    const std::size_t held = data.size();
    data.resize(held + input_block_size);
    ssize_t length = 0;
    while ((length = ::read(STDIN_FILENO, data.data() + held, input_block_size)) < 0) {
        if (errno != EINTR && errno != EAGAIN)
            throw Error("Couldn't read the input.").because_of(platform_error(errno, Url()));
        // Another process may have made the shared standard input non-blocking.
        pollfd input{STDIN_FILENO, POLLIN, 0};
        ::poll(&input, 1, -1);
    }
    data.resize(held + static_cast<std::size_t>(length));
    return length > 0;
}

Bytes standard_input()
try {
    Bytes data;
    while (read_some(data)) {
    }
    return data;
} catch (const std::bad_alloc&) {
    throw Error("The input does not fit into the memory.");
}

} // namespace

void run(const WriteCommand& command, const Surroundings& surroundings)
{
    check_is_no_folder(command.file);
    Bytes data = standard_input();
    Surroundings now = surroundings;
    if (!command.on_conflict && !now.is_quiet && !now.can_ask)
        now.can_ask = take_terminal_as_input();
    write_new_file(command.file, std::move(data), command.on_conflict, now);
}

} // namespace orv::app
