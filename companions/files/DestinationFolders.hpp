#pragma once

#include "files/FolderStack.hpp"
#include "files/ItemMetadata.hpp"
#include "files/PartialFile.hpp"

#include <optional>
#include <vector>

namespace orv {

/// The destination folders of a copy, from its top down to the counterpart of the current source
/// folder. Never follows links, and notices a folder that moves away, so nothing is ever written
/// outside.
class DestinationFolders {
public:
    /// The fate of a folder after its contents: a new one gets its original's mode and times, an
    /// earlier one stays as it is.
    using Kept = std::optional<ModeAndTimes>;

    /// Opens the folder `name` in `parent`, with `url` as its location.
    ///
    /// Errors: the platform's.
    DestinationFolders(const DestinationFolder& parent, const std::string& name, Url url,
                       const Kept& kept);

    /// The innermost folder.
    [[nodiscard]] DestinationFolder innermost() const { return {stack_.folder(), url_}; }

    /// Goes into the folder `name` of the innermost one. A folder under a hidden name shows its
    /// final one, `shown_name`.
    ///
    /// Errors: the platform's; then nothing has changed.
    void enter(const std::string& name, const Kept& kept, const std::string& shown_name = {});

    /// Finishes the innermost folder, with its original open as `source`, flushes it to the disk if
    /// wanted, and goes back to the one above.
    ///
    /// Errors: the platform's.
    void leave(int source, bool flushes = false);

    /// The innermost folder gets nothing of its original.
    void keep_nothing() { kept_.back().reset(); }

    /// Gives up a copy: finishes all folders as far as possible without their originals.
    void abandon() noexcept;

private:
    void go_up();

    FolderStack stack_;
    std::vector<Kept> kept_;
    Url url_;
};

} // namespace orv
