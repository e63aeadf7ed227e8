#pragma once

#include "files/Identity.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// `as_it_is`: folders that may not be changed end the removal. `taken`: they are made accessible
/// first, as far as they are the user's. That is for items of the library's own.
enum class Access { as_it_is, taken };

inline constexpr auto nothing_more = [] {};

/// Removes the item `name` of the open folder `folder`, a folder with everything in it. `shown` is
/// its path in errors. Links are removed, never followed, and a mounted volume is never entered.
/// The first failure ends it.
///
/// Threading: any.
/// Errors: the platform's, with the path of the item that could not be removed: EBUSY for a mounted
/// volume, EPERM for "/", EINVAL for "." and "..".
void remove_tree(int folder, const char* name, const Url& shown, Access access = Access::as_it_is);

/// The same for a folder, if it still is the one that `expected` tells; else nothing is removed,
/// and the error is ESTALE.
void remove_folder(int folder, const char* name, const Url& shown, const Identity& expected);

/// The same for the item at `url`. `removed` is called after each item that was removed; what it
/// throws ends the removal.
void remove_tree(const Url& url, FunctionRef<void()> removed = nothing_more);

} // namespace orv
