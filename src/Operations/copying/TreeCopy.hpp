#pragma once

#include "Operations/copying/CopiesAhead.hpp"
#include "Operations/frame/Request.hpp"
#include "files/Staging.hpp"

#include <orv/Operations/CopyOpr.hpp>

#include <cstddef>
#include <cstdint>

namespace orv {

/// The work of a copy after its question and its locks.
struct CopyPlan {
    Url source;
    Url destination;
    bool merges;             ///< existing items at the destination stay, and are no error
    bool replaces;           ///< the complete copy takes the place of the item at the destination
    std::int64_t total_size; ///< bytes
    std::size_t steps_ahead; ///< steps the walk may run ahead, with two descriptors each
    BuiltAhead* built;       ///< a copy of the source made before its turn; null for none
    Staging& staging;        ///< of the whole request
};

/// Copies an item with everything in it, and the attribute rows of each item after the item. Tells
/// `request` the progress, as a part of the total size, and returns the last one told, else
/// `progress`.
///
/// Leaves out hidden items with the mark to ignore them, and the library's own.
///
/// Cancel: between items and within files. Complete items stay. If the copy replaces an item, the
/// old item stays, and nothing of the copy.
/// Errors: those of `ItemCopier`; an unreadable folder is one.
CopyProgress copy_tree(Request<CopyOperation>& request, const CopyPlan& plan,
                       const CopyProgress& progress);

} // namespace orv
