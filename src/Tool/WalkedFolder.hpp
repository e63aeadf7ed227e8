#pragma once

#include "Misc/FileItem.hpp"
#include "files/EntryBatches.hpp"
#include "files/TreeWalk.hpp"

namespace orv {

/// The facts the items in the current folder of `walk` share; `resolved_root` is the walk's root
/// with links resolved.
[[nodiscard]] ItemFolder item_folder(const TreeWalk& walk, const Url& resolved_root);

/// The same for the items of a batch in `folder`.
[[nodiscard]] ItemFolder item_folder(const EntryBatch::Folder& folder, const Url& resolved_root);

/// A walk for the items below `root`.
///
/// Errors: "Couldn't create directory enumerator." if the root does not open.
[[nodiscard]] TreeWalk item_walk(const Url& root, const TreeWalkOptions& options);

} // namespace orv
