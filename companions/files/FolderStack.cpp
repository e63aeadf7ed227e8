#include "files/FolderStack.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

namespace orv {

FolderStack::FolderStack(OpenFolder root, std::size_t max_open)
    : max_open_(std::max<std::size_t>(max_open, 1))
{
    const Identity identity = root.identity();
    levels_.push_back({std::move(root.descriptor), identity});
}

void FolderStack::enter(OpenFolder folder)
{
    if (is_full())
        levels_[outermost_open_++].descriptor.reset();
    const Identity identity = folder.identity();
    levels_.push_back({std::move(folder.descriptor), identity});
}

int FolderStack::leave()
{
    Level& above = levels_[levels_.size() - 2];
    if (!above.descriptor) {
        OpenFolder reopened = open_folder(folder(), "..");
        if (reopened.error != 0)
            return reopened.error;
        if (reopened.identity() != above.identity)
            return ESTALE;
        above.descriptor = std::move(reopened.descriptor);
        --outermost_open_;
    }
    levels_.pop_back();
    return 0;
}

} // namespace orv
