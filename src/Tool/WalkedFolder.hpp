#pragma once

#include "Misc/ItemFacts.hpp"
#include "files/EntryBatches.hpp"
#include "files/TreeWalk.hpp"

namespace orv {

/// What the items have in common that lie where `walk` is, which tells of an item; `resolved_root`
/// is the walk's root with links resolved.
[[nodiscard]] ItemFolder item_folder(const TreeWalk& walk, const Url& resolved_root);

/// The same for the items of a batch that lie in `folder`.
[[nodiscard]] ItemFolder item_folder(const EntryBatch::Folder& folder, const Url& resolved_root);

/// A walk for the items below `root`.
///
/// Errors: "Couldn't create directory enumerator." when the root cannot be opened.
[[nodiscard]] TreeWalk item_walk(const Url& root, const TreeWalkOptions& options);

} // namespace orv
