#include "utility/RandomBytes.hpp"

#include <orv/utility/Fatal.hpp>

#include <sys/random.h>

namespace orv {

void fill_randomly(std::span<std::byte> bytes)
{
    // Up to 256 bytes come whole, even if a signal arrives.
    if (::getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        fatal("The system gave no random bytes.");
}

} // namespace orv
