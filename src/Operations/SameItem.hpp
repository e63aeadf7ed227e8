#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Whether two locations, however they are spelled, mean one and the same item.
[[nodiscard]] bool are_same_item(const Url& one, const Url& other);

/// Whether `folder` is one of the folders above `item`, however both are spelled.
[[nodiscard]] bool lies_inside(const Url& item, const Url& folder);

} // namespace orv
