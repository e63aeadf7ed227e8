#pragma once

#include "files/Identity.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

namespace orv {

/// `as_it_is`: folders closed for changes end the removal. `taken`: the user's own ones are opened
/// up first. That is for items of the library's own.
enum class Access { as_it_is, taken };

inline constexpr auto nothing_more = [] {};

/// Removes the item `name` of the open folder `folder`, a folder with all its contents. `shown` is
/// its path in errors. Removes links, never follows them, and never enters a mounted volume. The
/// first failure ends it.
///
/// Threading: any.
/// Errors: the platform's, with the path of the item that stayed: EBUSY for a mounted volume, EPERM
/// for "/", EINVAL for "." and "..".
void remove_tree(int folder, const char* name, const Url& shown, Access access = Access::as_it_is);

/// The same for a folder, if it still is the one in `expected`; otherwise removes nothing, and the
/// error is ESTALE.
void remove_folder(int folder, const char* name, const Url& shown, const Identity& expected);

/// The same for the item at `url`. Calls `removed` after each removed item; an exception from it
/// ends the removal.
void remove_tree(const Url& url, FunctionRef<void()> removed = nothing_more);

} // namespace orv
