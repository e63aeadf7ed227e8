#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// Whether two locations, however they are spelled, mean one and the same item.
[[nodiscard]] bool are_same_item(const Url& one, const Url& other);

} // namespace orv
