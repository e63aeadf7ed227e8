#pragma once

#include "Global/TestMode.hpp"
#include "Tool/ToolErrors.hpp"
#include "files/FileContent.hpp"
#include "files/PartialFile.hpp"
#include "files/Staging.hpp"
#include "files/TransferItems.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <optional>

#include <sys/types.h>

namespace orv {

/// Copies single items. Each is complete at its destination or not there at all; none replaces
/// another. Links stay links; FIFOs and sockets are new ones.
///
/// Threading: one thread.
/// Errors: "Source item doesn't exist."; "Destination item already exists."; "Couldn't create
/// destination file."; "Couldn't create destination directory."; `not_placed`, for an item that
/// does not get its name; an error for a kind of item no copy handles; the platform's.
class ItemCopier {
public:
    /// Makes the error of an item out of its cause.
    using Wording = Error (*)(const Error& cause);

    /// Hides files under construction with `staging`, which has to outlive this.
    explicit ItemCopier(Staging& staging, Wording not_placed = move_error)
        : not_placed_(not_placed), staging_(staging)
    {
    }

    /// Receives the finished part of a file, 0 to 1. An exception from it ends the copy.
    using OnProgress = FunctionRef<void(float part_done)>;

    /// Copies any item but a folder. `mode` is that of the item at first sight.
    void copy(const SourceItem& source, mode_t mode, const DestinationItem& destination,
              OnProgress on_progress);

    /// Builds the copy of a file without a name, out of sight, with the help of `content`. No value
    /// where the file system has no such files.
    ///
    /// Threading: any, several at once with a `content` each.
    static std::optional<PartialFile>
    build(const SourceItem& source, const DestinationItem& destination, FileContent& content);

    /// Puts the result of `build` for `source` into its place. Copies a file that could not be
    /// built so, or belongs on another volume.
    void place(std::optional<PartialFile> built, const SourceItem& source,
               const DestinationItem& destination);

    /// True if `build` has a chance.
    [[nodiscard]] bool can_build() const { return staging_.is_unnamed(); }

    /// See `Staging::hide_in`.
    void hide_in(const Staging::HidingPlace& place) { staging_.hide_in(place); }

    /// Creates a folder for its owner alone.
    static void create_folder(const DestinationItem& destination);

private:
    [[nodiscard]] Error placing_error(int code, const DestinationItem& destination) const;
    template <class Make>
    void copy_whole(Make make, const SourceItem& source, const DestinationItem& destination) const;
    void copy_file(const SourceItem& source, const DestinationItem& destination,
                   OnProgress on_progress);
    PartialFile create_partial(const DestinationFolder& destination, mode_t mode);

    Wording not_placed_;
    Staging& staging_;
    FileContent content_{chunk_pause_in_test_mode()};
};

} // namespace orv
