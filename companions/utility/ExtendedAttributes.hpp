#pragma once

#include <orv/utility/Url.hpp>

#include <optional>
#include <string>
#include <string_view>

namespace orv {

// Extended attributes of an item, under platform-independent names: "orv_ignore" is stored as
// "user.orv_ignore". The functions do not follow a symbolic link; a link has no attributes.

/// The value of the attribute. None if the item has no such attribute, if its file system has no
/// attributes, or if the value is unreadable. `fd` may be an `O_PATH` descriptor.
///
/// Threading: any.
[[nodiscard]] std::optional<std::string> ext_attr(const Url& url, std::string_view name);
[[nodiscard]] std::optional<std::string> ext_attr(int fd, std::string_view name);

/// Gives the item the attribute, or changes its value.
///
/// Threading: any.
/// Errors: the platform's.
void set_ext_attr(const Url& url, std::string_view name, std::string_view value);

/// Removes the attribute from the item. A missing attribute is no error.
///
/// Threading: any.
/// Errors: the platform's.
void remove_ext_attr(const Url& url, std::string_view name);

} // namespace orv
