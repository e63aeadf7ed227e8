#pragma once

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>

namespace orv {

/// The bytes that this user can still write to the volume of `folder`. No value if the volume does
/// not tell.
///
/// Threading: any.
[[nodiscard]] std::optional<std::int64_t> free_bytes(const Url& folder);

/// The bytes that an item, a folder with everything in it, takes on its volume. With `frees_alone`,
/// only those that come free when it is removed: files of several links keep theirs. Items that
/// cannot be looked at count 0. What `poll` throws ends it.
[[nodiscard]] std::int64_t allocated_bytes(const Url& item, bool frees_alone,
                                           FunctionRef<void()> poll);

/// True if the volume of `folder` can share blocks between files, so that a copy takes no room.
[[nodiscard]] bool shares_blocks(const Url& folder);

} // namespace orv
