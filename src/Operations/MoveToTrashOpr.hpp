#pragma once

#include "Operations/frame/Descriptors.hpp"
#include "trash/Trashes.hpp"

#include <orv/Operations/MoveToTrashOpr.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstddef>
#include <memory>
#include <span>
#include <vector>

namespace orv {

/// Starts the throwing away of the items at `urls`.
std::shared_ptr<MoveToTrashOperation>
move_to_trash(std::vector<Url> urls, MoveToTrashOperation::StatusClosure status_closure);

/// The most items whose infos are flushed together, and the descriptors for them.
inline constexpr std::size_t trashed_at_once = 64;
inline constexpr DescriptorNeed needed_by_trashing{
    needed_by_walk.least + static_cast<int>(trashed_at_once),
    needed_by_walk.least + static_cast<int>(trashed_at_once)};

using TrashedClosure = FunctionRef<void(const Url& from, const TrashedItem& item)>;

/// Moves the items, whose folders are no links, to the trash, as the operation does it. Calls
/// `poll` before each and `trashed` after it. The first exception ends it.
///
/// Threading: background.
/// Errors: those of the operation.
void trash_items(Trashes& trashes, std::span<const Url> items, FunctionRef<void()> poll,
                 TrashedClosure trashed);

} // namespace orv
