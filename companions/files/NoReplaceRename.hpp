#pragma once

#include "utility/FileDescriptor.hpp"

namespace orv {

/// Renames items within a volume without replacing anything. Volumes differ in their calls. The
/// object remembers the first way that worked, so one request keeps one object for its destination.
///
/// Threading: one thread.
class NoReplaceRename {
public:
    /// `by_flag`: one call refuses a taken name. `by_link`: a second link takes the name, then the
    /// first one goes. `by_looking`: a look at the name, then a plain rename. Only the last has a
    /// gap: it replaces an item that appears in between.
    enum class Way { by_flag, by_link, by_looking };

    explicit NoReplaceRename(Way first = Way::by_flag) : way_(first) {}

    /// Renames `from` of one open folder to `to` in another, or in the same one. `open_file`, if
    /// given, marks the item as a file, and is its present or former descriptor. A plain rename
    /// closes it first, because some volumes write a file out at a later close, and under its old
    /// name.
    ///
    /// Errors: returns 0 or the errno: EEXIST if the name is taken, EXDEV if the folders lie on
    /// different volumes, the errno of a failed close.
    [[nodiscard]] int operator()(int from_folder, const char* from, int to_folder, const char* to,
                                 FileDescriptor* open_file = nullptr);

    /// The latest way that worked.
    [[nodiscard]] Way way() const { return way_; }

private:
    Way way_;
};

} // namespace orv
