#pragma once

#include "CustomAttributes/RecCustomAttr.hpp"

#include <orv/CustomAttributes/CustomAttributes.hpp>
#include <orv/utility/Url.hpp>

#include <string_view>
#include <unordered_map>

namespace orv {

/// The attributes in `record`, of the item at `url`.
[[nodiscard]] CustomAttributes custom_attributes_of(const RecCustomAttr& record, Url url);

/// The stored attributes with `where`, an expression over the columns, by location.
///
/// Threading: any; waits for the database.
/// Errors: those of the database.
[[nodiscard]] std::unordered_map<Url, CustomAttributes>
fetch_attributes_where(std::string_view where, Arguments args = {});

} // namespace orv
