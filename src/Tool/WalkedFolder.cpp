#include "Tool/WalkedFolder.hpp"

#include "Tool/ToolErrors.hpp"

namespace orv {

ItemFolder item_folder(const TreeWalk& walk, const Url& resolved_root)
{
    ItemFolder folder;
    folder.url = walk.folder_path();
    folder.relative_path = walk.relative_folder_path();
    folder.resolved_url = resolved_root.appending(folder.relative_path);
    folder.level = walk.level();
    return folder;
}

ItemFolder item_folder(const EntryBatch::Folder& folder, const Url& resolved_root)
{
    return {folder.path, resolved_root.appending(folder.relative_path), folder.relative_path,
            folder.level};
}

TreeWalk item_walk(const Url& root, const TreeWalkOptions& options)
try {
    return TreeWalk(root, options);
} catch (const Error& error) {
    throw enumerator_error(error);
}

} // namespace orv
