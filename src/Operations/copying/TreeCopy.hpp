#pragma once

#include "Operations/copying/CopiesAhead.hpp"
#include "Operations/frame/Request.hpp"

#include <orv/Operations/CopyOpr.hpp>

#include <cstddef>
#include <cstdint>

namespace orv {

/// What a copy is to do, once its question is answered and its locks are taken.
struct CopyPlan {
    Url source;
    Url destination;
    bool merges;             ///< what exists at the destination stays, instead of being an error
    bool replaces;           ///< the complete copy takes the place of the item at the destination
    std::int64_t total_size; ///< bytes
    std::size_t steps_ahead; ///< that the walk may go, with two descriptors for each
    BuiltAhead* built;       ///< what was built of the source before; null: nothing
};

/// Copies an item with everything in it, and the attribute rows of each item after the item. Tells
/// `request` the progress, as a part of the total size, and returns the last one told, else
/// `progress`.
///
/// Left out are hidden items that are marked to be ignored or belong to the library itself.
///
/// Cancel: between items and within files; what is complete by then stays, unless the copy replaces
/// an item: then that one stays, and nothing of the copy.
/// Errors: those of `ItemCopier`; a folder that cannot be read is one.
CopyProgress copy_tree(Request<CopyOperation>& request, const CopyPlan& plan,
                       const CopyProgress& progress);

} // namespace orv
