#pragma once

#include "Operations/FileContent.hpp"
#include "Operations/PartialFile.hpp"
#include "Operations/Staging.hpp"

#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <string>

#include <sys/types.h>

namespace orv {

/// An item that is to be copied: its name in an open folder, and where it is found, for the errors.
struct SourceItem {
    int folder;
    std::string name;
    Url url;
};

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

    /// Copies what is no folder to `name` in `destination`. `mode` is that of the item as it was
    /// seen.
    void copy(const SourceItem& source, mode_t mode, const DestinationFolder& destination,
              const std::string& name, OnProgress on_progress);

    /// Creates the folder `name` in `destination`, accessible to its owner alone.
    static void create_folder(const DestinationFolder& destination, const std::string& name);

private:
    void copy_file(const SourceItem& source, const DestinationFolder& destination,
                   const std::string& name, OnProgress on_progress);
    void fill(const OpenFile& file, const PartialFile& partial, const struct stat& status,
              const Url& destination_url, OnProgress on_progress);
    PartialFile create_partial(const DestinationFolder& destination);

    Staging staging_;
    FileContent content_;
};

} // namespace orv
