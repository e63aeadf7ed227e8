#include "LargeOutput.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstddef>

#include <poll.h>
#include <unistd.h>

namespace orv::app {
namespace {

constexpr std::size_t output_block_size = 256 * 1024;

/// Another process may have made the shared standard output non-blocking.
void wait_until_writable()
{
    pollfd output{STDOUT_FILENO, POLLOUT, 0};
    ::poll(&output, 1, -1);
}

void write_all(std::string_view text)
{
    while (!text.empty()) {
        const ssize_t written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno == EPIPE)
            throw ClosedOutput();
        else if (errno == EAGAIN)
            wait_until_writable();
        else if (errno != EINTR)
            throw Error("Couldn't write the output.").because_of(platform_error(errno, Url()));
    }
}

} // namespace

void LargeOutput::write(std::string_view text)
{
    held_ += text;
    if (held_.size() < output_block_size)
        return;
    write_all(held_);
    held_.clear();
}

void LargeOutput::finish()
{
    write_all(held_);
    held_.clear();
}

} // namespace orv::app
