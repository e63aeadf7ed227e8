#pragma once

#include <orv/CustomAttributes/CustomAttributes.hpp>
#include <orv/utility/Url.hpp>

#include <vector>

namespace orv {

/// Marks `folder` as custom sorted when one of the `attributes` just saved for items in it has an
/// order number, and as no longer so when neither one of them nor any item directly in it has.
///
/// Threading: any. Call it inside a save point.
/// Errors: those of the database.
void update_custom_sort_flags(const Url& folder, const std::vector<CustomAttributes>& attributes);

} // namespace orv
