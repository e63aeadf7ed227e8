#pragma once

#include "files/Identity.hpp"
#include "files/OpenFolder.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <vector>

namespace orv {

/// The folders from the root of a tree down to the current place. Only the innermost ones are open.
/// On the way back, an outer one opens again through "..", and must be the same folder. So a tree
/// may be deeper than the process has descriptors.
class FolderStack {
public:
    /// Few trees are deeper, and opening a folder again takes some microseconds.
    static constexpr std::size_t default_max_open = 12;

    /// Keeps at most `max_open` folders open, at least one.
    explicit FolderStack(OpenFolder root, std::size_t max_open = default_max_open);

    /// How many folders lie above the innermost one.
    [[nodiscard]] std::size_t depth() const { return levels_.size() - 1; }

    /// The innermost folder's descriptor, and its facts.
    [[nodiscard]] int folder() const { return levels_.back().descriptor.get(); }
    [[nodiscard]] const Identity& identity() const { return levels_.back().identity; }

    /// True if the next `enter` closes a folder: the one at depth `outermost_open()`, with the
    /// descriptor `outermost_folder()`.
    [[nodiscard]] bool is_full() const { return levels_.size() - outermost_open_ >= max_open_; }
    [[nodiscard]] std::size_t outermost_open() const { return outermost_open_; }
    [[nodiscard]] int outermost_folder() const { return levels_[outermost_open_].descriptor.get(); }

    /// Makes `folder`, a child of the innermost folder, the innermost one.
    void enter(OpenFolder folder);

    /// Goes back to the folder above. Returns 0, or the errno of a failed reopening: ESTALE if
    /// another folder has taken its place. The stack is then useless.
    [[nodiscard]] int leave();

private:
    struct Level {
        FileDescriptor descriptor;
        Identity identity;
    };

    std::vector<Level> levels_;
    std::size_t max_open_;
    std::size_t outermost_open_ = 0;
};

} // namespace orv
