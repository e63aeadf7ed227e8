#pragma once

#include "CustomAttributes/ItemIdentity.hpp"
#include "CustomAttributes/RecordKey.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <optional>
#include <span>
#include <vector>

namespace orv {

/// True if attributes follow their items through what other programs do; off at first.
///
/// Threading: any.
[[nodiscard]] bool follows_items();
void set_follows_items(bool on);

/// Items just listed, or looked at. Items not to follow have an empty identity.
struct SeenItems {
    std::span<const ItemIdentity> identities;
    FunctionRef<RecordKey(std::size_t)> key_of; ///< by index
};

/// Gives items seen at other places than their attributes' these attributes. With an item seen
/// under its attributes' name all is well; two names of one item keep what they have.
///
/// Threading: any; the calls below, too. They wait for the database.
/// Errors: those of the database, but none if it cannot be written: then all stays as it is.
void follow_to_seen_places(const SeenItems& seen);

/// Checks that the attributes at the places of seen items belong to these. Remembers the item if
/// none is known yet. An item that replaced the known one keeps the attributes if the known one is
/// gone: an editor has saved it. They leave with the known one if that is near under another name,
/// unless that is the name of a backup. Returns true if attributes have left a place.
bool check_seen_places(const SeenItems& seen);

/// The same for the one item at `place`, a location without links, whether it has attributes or
/// not.
void follow_item(const Url& place);

/// Remembers which items the attributes at these places belong to.
void remember_items(const std::vector<RecordKey>& keys);

/// Looks for the item that the attributes for the missing `place` belong to, and gives it these.
/// Returns its place, if it is near.
[[nodiscard]] std::optional<Url> found_again(const Url& place);

} // namespace orv
