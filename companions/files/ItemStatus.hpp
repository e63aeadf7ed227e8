#pragma once

#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>

#include <sys/stat.h>

namespace orv {

/// The status of the item at `url`, a path of any length. With AT_SYMLINK_NOFOLLOW in `flags`,
/// describes a link itself. No value if there is no such item or a folder on the way is closed.
///
/// Threading: any.
[[nodiscard]] std::optional<struct stat> item_status(const Url& url, int flags);

/// `failure`, a missing item at `url`, as the error there; with the reason if the item may exist,
/// but its volume is gone or a folder on the way is closed.
[[nodiscard]] Error missing_item(const Error& failure, const Url& url);

/// Describes the item `name` of an open folder, a link itself, or the folder for an empty name.
///
/// Errors: the platform's, at `url`.
[[nodiscard]] struct statx item_facts(int folder, const char* name, const Url& url);

/// A time of an item in nanoseconds since 1970; the nearest one in range for times out of it.
[[nodiscard]] std::int64_t nanoseconds(const struct statx_timestamp& time);

/// True if the item is a folder or a link to one.
[[nodiscard]] bool is_directory(const Url& url);

} // namespace orv
