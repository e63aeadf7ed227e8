#pragma once

#include <orv/utility/Url.hpp>

#include <string>
#include <string_view>

namespace orv::app {

/// True if the location ends with "." or "..": the folder itself or its parent.
[[nodiscard]] bool has_self_name(const Url& url);

/// The item at `path`, by its name in its folder.
[[nodiscard]] Url named_item(const std::string& path);

/// Refuses such a location: whoever has an item `done`, such as "deleted", by these names loses
/// more than they see.
void refuse_self_name(const Url& url, std::string_view done);

} // namespace orv::app
