#pragma once

#include <cstddef>
#include <span>

namespace orv {

/// Fills `bytes`, 256 at most, with unpredictable random ones.
///
/// Errors: ends the process if the system has none.
void fill_randomly(std::span<std::byte> bytes);

} // namespace orv
