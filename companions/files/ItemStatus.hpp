#pragma once

#include <orv/utility/Url.hpp>

#include <optional>

#include <sys/stat.h>

namespace orv {

/// The status of the item at `url`, a path of any length. With AT_SYMLINK_NOFOLLOW in `flags`, a
/// link is described itself. No value if there is no such item or a folder on the way is closed.
///
/// Threading: any.
[[nodiscard]] std::optional<struct stat> item_status(const Url& url, int flags);

/// True if the item is a folder or a link to one.
[[nodiscard]] bool is_directory(const Url& url);

} // namespace orv
