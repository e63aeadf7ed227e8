#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// True if several processes can share memory through a file beside `file`, now and later. A
/// write-ahead log needs that. Leaves no file behind.
[[nodiscard]] bool can_share_memory_beside(const Url& file);

} // namespace orv
