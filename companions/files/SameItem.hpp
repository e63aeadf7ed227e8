#pragma once

#include <orv/utility/Url.hpp>

namespace orv {

/// True if two locations, in any spelling, mean one item.
///
/// Threading: any.
[[nodiscard]] bool are_same_item(const Url& one, const Url& other);

/// True if two locations of existing items differ in spelling alone and mean one entry, on a volume
/// with one name for "A" and "a", or for the composed and the decomposed form of a letter.
[[nodiscard]] bool is_other_spelling(const Url& one, const Url& other);

/// True if the items lie on two devices, and only a copy can move the one to the other. Two items
/// on one device may still be on two mounts.
[[nodiscard]] bool are_on_two_devices(const Url& one, const Url& other);

/// True if `folder` is one of the folders above `item`, in any spelling.
[[nodiscard]] bool lies_inside(const Url& item, const Url& folder);

} // namespace orv
