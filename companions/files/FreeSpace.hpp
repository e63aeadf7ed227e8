#pragma once

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>

namespace orv {

/// The bytes this user can still write to the volume of `folder`. No value if the volume does not
/// tell.
///
/// Threading: any.
[[nodiscard]] std::optional<std::int64_t> free_bytes(const Url& folder);

/// The bytes an item, a folder with all its contents, takes on its volume. With `frees_alone`, only
/// those its removal frees: files of several links keep theirs. Unreadable items count 0. An
/// exception from `poll` ends the count.
[[nodiscard]] std::int64_t allocated_bytes(const Url& item, bool frees_alone,
                                           FunctionRef<void()> poll);

/// True if the volume of `folder` can share blocks between files, and a copy takes no room.
[[nodiscard]] bool shares_blocks(const Url& folder);

} // namespace orv
