#pragma once

#include <orv/utility/Url.hpp>

#include <sys/stat.h>

namespace orv {

/// Refuses an item that cannot leave its folder: `facts` and `folder_facts` describe both.
///
/// Errors: the platform's, at `url`: EBUSY for a mounted volume; EPERM for an immutable item, or
/// another user's in a folder like /tmp.
void check_can_be_taken(const struct statx& facts, const struct statx& folder_facts,
                        const Url& url);

/// Refuses an open folder this process may take nothing out of.
///
/// Errors: the platform's, at `url`.
void check_can_take_from(int folder, const Url& url);

/// Refuses the item `name` of an open folder if it, or something in it, could not be removed, as
/// far as this is known without a try. `shown` is its location for errors.
///
/// Errors: those of the two functions above; the platform's for an unreadable folder.
void check_can_be_removed(int folder, const char* name, const Url& shown);

} // namespace orv
