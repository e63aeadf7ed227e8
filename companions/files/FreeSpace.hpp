#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>

namespace orv {

/// The bytes that this user can still write to the volume of `folder`. No value if the volume does
/// not tell.
///
/// Threading: any.
[[nodiscard]] std::optional<std::int64_t> free_bytes(const Url& folder);

} // namespace orv
