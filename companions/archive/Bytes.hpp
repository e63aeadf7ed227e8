#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace orv::archive {

using Bytes = std::vector<std::byte>;
using ByteView = std::span<const std::byte>;

} // namespace orv::archive
