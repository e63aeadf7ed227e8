#pragma once

#include "files/HiddenName.hpp"
#include "files/PartialFile.hpp"

#include <memory>
#include <optional>

namespace orv {

/// The hidden place for the files of one request until it publishes them. Files have no name if the
/// volume offers that. Otherwise they stand in the processed-files folder, or, if they cannot be
/// moved from there, under a hidden name beside their destination, with a note to announce it.
///
/// Threading: one thread.
class Staging {
public:
    Staging() = default;

    /// A folder for files in need of a hidden name.
    struct HidingPlace {
        DestinationFolder folder;
        bool is_private = false; ///< closed to everybody but its owner
    };

    /// Hides files in need of a hidden name in the open folder `place`, if it takes them, instead
    /// of beside their destinations: so one note serves them all. `place` lies on the volume of
    /// most destinations, and must be open whenever a file is created.
    void hide_in(const HidingPlace& place) { hiding_place_ = place; }

    Staging(const Staging&) = delete;
    Staging& operator=(const Staging&) = delete;

    /// A new file for `destination`. Of those with a name there is one at a time. Where nobody else
    /// can open it, it gets `mode`, as far as the process gives such modes to new files; elsewhere
    /// 0600.
    ///
    /// Errors: the platform's.
    PartialFile create(const DestinationFolder& destination, mode_t mode = 0600);

    /// Gives the finished file its name, in the volume's way; see `PartialFile::publish`.
    [[nodiscard]] int publish(PartialFile& file, const DestinationFolder& folder,
                              const std::string& name)
    {
        return file.publish(folder, name, rename_);
    }

    /// Gives up what stays open between two files: descriptors and the hidden name. Nothing may be
    /// under construction.
    void close();

    /// True if a file with a failed publication, for the errno `code`, must be built anew in
    /// another way.
    bool can_do_otherwise(int code);

    /// True if files have no names, and any number of them can grow at once.
    [[nodiscard]] bool is_unnamed() const { return way_ == Way::unnamed; }

private:
    enum class Way { unnamed, in_processed_files, beside_destination };

    void open_processed_files(const DestinationFolder& destination);
    PartialFile create_hidden(const DestinationFolder& destination, mode_t mode);

    Way way_ = Way::unnamed;
    NoReplaceRename rename_;
    FileDescriptor processed_files_fd_;
    DestinationFolder processed_files_{-1, {}};
    std::optional<HidingPlace> hiding_place_; // none once it did not take a file
    std::shared_ptr<HiddenName> hidden_name_;
};

} // namespace orv
