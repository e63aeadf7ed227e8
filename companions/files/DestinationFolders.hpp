#pragma once

#include "files/FolderStack.hpp"
#include "files/ItemMetadata.hpp"
#include "files/PartialFile.hpp"

#include <optional>
#include <vector>

namespace orv {

/// The folders at the destination of a copy, from its top down to the one that corresponds to where
/// the copy is in the source. Links are never followed, and a folder that is moved away is noticed,
/// so nothing is ever written outside.
class DestinationFolders {
public:
    /// What becomes of a folder once its contents are there: one that the copy made gets its
    /// original's mode and times, one that was there before stays as it is.
    using Kept = std::optional<ModeAndTimes>;

    /// Opens the folder `name` in `parent`, which is shown as `url`.
    ///
    /// Errors: the platform's.
    DestinationFolders(const DestinationFolder& parent, const std::string& name, Url url,
                       const Kept& kept);

    /// The innermost folder.
    [[nodiscard]] DestinationFolder innermost() const { return {stack_.folder(), url_}; }

    /// Goes into the folder `name` of the innermost one. One that is built under a hidden name is
    /// shown under its final one, `shown_name`.
    ///
    /// Errors: the platform's; then nothing has changed.
    void enter(const std::string& name, const Kept& kept, const std::string& shown_name = {});

    /// Finishes the innermost folder, whose original is open as `source`, flushes it to the disk if
    /// that is wanted, and goes back to the one above.
    ///
    /// Errors: the platform's.
    void leave(int source, bool flushes = false);

    /// The innermost folder gets nothing of its original.
    void keep_nothing() { kept_.back().reset(); }

    /// Gives up a copy: finishes all folders as far as that is possible without their originals.
    void abandon() noexcept;

private:
    void go_up();

    FolderStack stack_;
    std::vector<Kept> kept_;
    Url url_;
};

} // namespace orv
