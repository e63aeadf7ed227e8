#pragma once

#include "files/Identity.hpp"
#include "files/OpenFolder.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <vector>

namespace orv {

/// The folders from the root of a tree down to where one is in it. Only the innermost of them are
/// open; one further out is opened again through ".." on the way back, and is then known to be the
/// same folder. So a tree may be deeper than the process may have descriptors.
class FolderStack {
public:
    /// Few trees are deeper, and opening a folder again takes some microseconds.
    static constexpr std::size_t default_max_open = 12;

    /// Keeps at most `max_open` folders open, at least one.
    explicit FolderStack(OpenFolder root, std::size_t max_open = default_max_open);

    /// How many folders lie above the innermost one.
    [[nodiscard]] std::size_t depth() const { return levels_.size() - 1; }

    /// The innermost folder's descriptor, and what it is.
    [[nodiscard]] int folder() const { return levels_.back().descriptor.get(); }
    [[nodiscard]] const Identity& identity() const { return levels_.back().identity; }

    /// Whether the next `enter` closes a folder: the one at depth `outermost_open()`, whose
    /// descriptor is `outermost_folder()`.
    [[nodiscard]] bool is_full() const { return levels_.size() - outermost_open_ >= max_open_; }
    [[nodiscard]] std::size_t outermost_open() const { return outermost_open_; }
    [[nodiscard]] int outermost_folder() const { return levels_[outermost_open_].descriptor.get(); }

    /// Makes `folder`, which lies in the innermost folder, the innermost one.
    void enter(OpenFolder folder);

    /// Goes back to the folder above. Returns 0, or the errno that keeps it from being opened
    /// again: ESTALE when another folder has taken its place. The stack is then of no more use.
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
