#pragma once

#include <cstdint>

namespace orv {

/// How to handle a symbolic link that leads out of the unpacked folder. Nothing is ever written
/// through a link, wherever it leads.
enum class LinksOutside {
    keep,      ///< unpack it as it is
    leave_out, ///< unpack everything else
    refuse     ///< refuse the archive before anything is unpacked
};

/// How far an archive may expand. A request refuses an archive before it unpacks anything if it
/// holds more items, or more bytes than `unquestioned_bytes` and `max_ratio` times its own size.
struct ExpansionLimits {
    std::uint64_t max_items = 1'000'000;
    std::uint64_t unquestioned_bytes = std::uint64_t{8} << 30;
    std::uint64_t max_ratio = 200;
    LinksOutside links_outside = LinksOutside::keep;
};

} // namespace orv
