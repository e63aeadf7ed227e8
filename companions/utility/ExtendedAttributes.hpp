#pragma once

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

// Extended attributes of an item, under the names that they have on every platform: "orv_ignore" is
// stored as "user.orv_ignore". A symbolic link is not followed, and has none.

/// The value of the attribute; none when the item has no such attribute, when its file system has
/// no attributes, and when it cannot be read. `fd` may be a descriptor that is a mere place
/// (`O_PATH`).
///
/// Threading: any.
[[nodiscard]] std::optional<std::string> ext_attr(const Url& url, std::string_view name);
[[nodiscard]] std::optional<std::string> ext_attr(int fd, std::string_view name);

/// Gives the item the attribute, or changes its value.
///
/// Threading: any.
/// Errors: the platform's.
void set_ext_attr(const Url& url, std::string_view name, std::string_view value);

/// Takes the attribute from the item; one that it does not have is no error.
///
/// Threading: any.
/// Errors: the platform's.
void remove_ext_attr(const Url& url, std::string_view name);

} // namespace orv
