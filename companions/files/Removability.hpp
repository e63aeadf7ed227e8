#pragma once

#include <orv/utility/Url.hpp>

#include <sys/stat.h>

namespace orv {

/// Refuses an item that cannot be taken out of the folder it lies in: `facts` and `folder_facts`
/// describe both.
///
/// Errors: the platform's, at `url`: EBUSY for a mounted volume; EPERM for an item that may not be
/// changed, or is another user's in a folder like /tmp.
void check_can_be_taken(const struct statx& facts, const struct statx& folder_facts,
                        const Url& url);

/// Refuses an open folder out of which this process may take nothing.
///
/// Errors: the platform's, at `url`.
void check_can_take_from(int folder, const Url& url);

/// Refuses the item `name` of an open folder if it, or something in it, could not be removed, as
/// far as that can be known without trying. `shown` is its location for errors.
///
/// Errors: those of the two functions above; the platform's for a folder that cannot be read.
void check_can_be_removed(int folder, const char* name, const Url& shown);

} // namespace orv
