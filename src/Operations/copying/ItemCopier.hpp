#pragma once

#include "Global/TestMode.hpp"
#include "files/FileContent.hpp"
#include "files/PartialFile.hpp"
#include "files/Staging.hpp"
#include "files/TransferItems.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <optional>

#include <sys/types.h>

namespace orv {

/// Copies single items. Each is complete at its destination or not there at all, and none is
/// replaced. Links are copied as links, FIFOs and sockets are made anew.
///
/// Threading: one thread.
/// Errors: "Source item doesn't exist."; "Destination item already exists."; "Couldn't create
/// destination file."; "Couldn't create destination directory."; "Couldn't move the item"; that the
/// item is of a kind that is not copied; the platform's.
class ItemCopier {
public:
    /// Called while a file is copied with the part that is done, 0 to 1. What it throws ends the
    /// copy.
    using OnProgress = FunctionRef<void(float part_done)>;

    /// Copies what is no folder. `mode` is that of the item as it was seen.
    void copy(const SourceItem& source, mode_t mode, const DestinationItem& destination,
              OnProgress on_progress);

    /// Builds the copy of a file without a name, out of sight, with the help of `content`. No value
    /// where the file system has no such files.
    ///
    /// Threading: any, several at once with a `content` each.
    static std::optional<PartialFile>
    build(const SourceItem& source, const DestinationItem& destination, FileContent& content);

    /// Puts what `build` has made of `source` into its place; what could not be made so, or on
    /// another volume, is copied.
    void place(std::optional<PartialFile> built, const SourceItem& source,
               const DestinationItem& destination);

    /// Whether `build` has a chance.
    [[nodiscard]] bool can_build() const { return staging_.is_unnamed(); }

    /// See `Staging::hide_in`.
    void hide_in(const DestinationFolder& place) { staging_.hide_in(place); }

    /// Creates a folder that is accessible to its owner alone.
    static void create_folder(const DestinationItem& destination);

private:
    void copy_file(const SourceItem& source, const DestinationItem& destination,
                   OnProgress on_progress);
    PartialFile create_partial(const DestinationFolder& destination);

    Staging staging_;
    FileContent content_{chunk_pause_in_test_mode()};
};

} // namespace orv
