#pragma once

#include "Operations/copying/FilesAhead.hpp"
#include "Operations/copying/ItemCopier.hpp"
#include "Operations/copying/OpenedDestination.hpp"
#include "Operations/transfer/CopyItem.hpp"
#include "Operations/transfer/TransferErrors.hpp"
#include "Operations/transfer/TransferRecords.hpp"
#include "Operations/transfer/TransferRun.hpp"
#include "files/DestinationFolders.hpp"
#include "files/FreeName.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// The destination of a copy: gives each item its place, in the order of the walk, and settles
/// taken names and failures.
///
/// Threading: one background thread.
/// Cancel: between items and within files. Complete items stay.
/// Errors: `TransferEnd`, if the policy is to stop; an error if the destination folder moved away;
/// those of the database.
class CopyTarget {
public:
    explicit CopyTarget(TransferRun& run);
    CopyTarget(const CopyTarget&) = delete;
    CopyTarget& operator=(const CopyTarget&) = delete;

    /// The next sources lie in this folder.
    void come_from(const Url& folder) { records_.come_from(folder); }

    /// The item at the destination of the item.
    ///
    /// Errors: the platform's.
    [[nodiscard]] std::optional<ItemFacts> facts_at_destination(const CopyItem& item) const;

    /// Copies the item to the innermost folder, with `there` at its name, or leaves it out. A file
    /// may be the first in `built`. True if the item is a folder and its contents follow.
    bool handle(CopyItem item, const SourceItem& source, std::optional<ItemFacts> there,
                FilesAhead* built = nullptr);

    /// The contents of the latest folder follow, until `leave`.
    void enter();

    /// `source` is the original of the innermost folder.
    void leave(int source);

    /// Takes back the latest folder, because its original is unreadable.
    void give_up_folder();

    /// Leaves the item out, because of `error` or, without one, because its name is taken.
    void leave_out(const CopyItem& item, std::optional<Error> error);

    /// Writes the rows of all copied items.
    void finish() { records_.write(); }

    /// Finishes the items copied before a failure or a cancel.
    void abandon() noexcept;

    [[nodiscard]] DestinationFolder innermost() const { return folders_.innermost(); }

    /// True if the next folder to enter, or else the innermost one, holds only copies.
    [[nodiscard]] bool is_entry_new() const { return entry_ && entry_->level.is_new; }

    /// See `ItemCopier`.
    [[nodiscard]] bool can_build() const { return copier_.can_build(); }

private:
    using Way = TakenChoice::Way;

    /// A destination folder around the current place of the copy.
    struct Level {
        std::string path = {}; ///< relative to the destination; empty for that itself
        bool is_new = false;
        std::optional<CopyItem> original = {}; ///< none for the destination
        std::unique_ptr<OpenedDestination> replacing = {};
        FreeNames free_names{FreeNames::Numbers::in_brackets};
    };
    /// The next folder to enter.
    struct Entry {
        std::string name; ///< a hidden one if it replaces an item
        DestinationFolders::Kept kept;
        Level level;
    };

    bool attempt(CopyItem& item, const SourceItem& source, std::optional<ItemFacts> there,
                 FilesAhead* built);
    std::optional<Way> way_for(CopyItem& item, const TakenName& taken);
    void copy(const CopyItem& item, const SourceItem& source, Way way, FilesAhead* built);
    void copy_replacing(const CopyItem& item, const SourceItem& source);
    void copy_file(const CopyItem& item, const SourceItem& source,
                   const DestinationItem& destination);
    void set_entry(const CopyItem& item, std::string name, DestinationFolders::Kept kept,
                   std::unique_ptr<OpenedDestination> replacing = {});
    void finish_item(const CopyItem& item);
    void note_for_undo(const CopyItem& item);
    void note_partial_folder_for_undo();
    void add_row(const CopyItem& item);
    void leave_unchanged(const CopyItem& item);
    void keep_metadata(int source);
    void publish(Level level);
    void hide_in_entered_folder();

    [[nodiscard]] Url url_of(const CopyItem& item) const;
    [[nodiscard]] std::string path_of(const std::string& name) const;
    [[nodiscard]] DestinationItem destination_of(const CopyItem& item) const;

    TransferRun& run_;
    TransferRecords records_;
    Staging staging_;
    ItemCopier copier_{staging_, copy_error};
    DestinationFolders folders_;
    /// Of the destination and of a new folder in it: `folders_` may close its own.
    FileDescriptor destination_;
    FileDescriptor hiding_place_;
    std::vector<Level> levels_; // as many as there are folders
    std::optional<Entry> entry_;
    std::size_t dead_levels_ = 0; // below a folder that is not copied
};

} // namespace orv
