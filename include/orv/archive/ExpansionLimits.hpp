#pragma once

#include <cstdint>

namespace orv {

/// How far an archive may unfold. One that holds more items, or more than `unquestioned_bytes` and
/// at the same time `max_ratio` times its own size, is refused before anything is unpacked.
struct ExpansionLimits {
    std::uint64_t max_items = 1'000'000;
    std::uint64_t unquestioned_bytes = std::uint64_t{8} << 30;
    std::uint64_t max_ratio = 200;
};

} // namespace orv
