#pragma once

#include <orv/utility/Url.hpp>

#include <string>
#include <string_view>

namespace orv::app {

/// Whether the location ends with "." or "..": the folder itself or the one around it.
[[nodiscard]] bool has_self_name(const Url& url);

/// The item at `path`, by the name that it has in its folder.
[[nodiscard]] Url named_item(const std::string& path);

/// Refuses such a location: whoever has an item `done`, such as "deleted", by these names loses
/// more than they see.
void refuse_self_name(const Url& url, std::string_view done);

} // namespace orv::app
