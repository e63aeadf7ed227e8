#pragma once

#include "Operations/copying/FilesAhead.hpp"
#include "Operations/copying/ItemCopier.hpp"
#include "Operations/copying/OpenedDestination.hpp"
#include "Operations/transfer/CopyItem.hpp"
#include "Operations/transfer/TransferRecords.hpp"
#include "Operations/transfer/TransferRun.hpp"
#include "files/DestinationFolders.hpp"
#include "files/FreeName.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv {

/// The destination of a copy: gives each item its place, in the order in which a walk comes to
/// them, and has it settled what to do about taken names and failures.
///
/// Threading: one background thread.
/// Cancel: between items and within files. What is complete by then stays.
/// Errors: `TransferEnd`, if the policy is to stop; that the destination folder was moved away;
/// those of the database.
class CopyTarget {
public:
    explicit CopyTarget(TransferRun& run);
    CopyTarget(const CopyTarget&) = delete;
    CopyTarget& operator=(const CopyTarget&) = delete;

    /// The sources that follow lie in this folder.
    void come_from(const Url& folder) { records_.come_from(folder); }

    /// What stands at the destination of the item.
    ///
    /// Errors: the platform's.
    [[nodiscard]] std::optional<ItemFacts> facts_at_destination(const CopyItem& item) const;

    /// Copies the item to the innermost folder, where `there` has its name, or leaves it out. A
    /// file may be the first that waits in `built`. Says whether the item is a folder whose
    /// contents are to follow.
    bool handle(CopyItem item, const SourceItem& source, std::optional<ItemFacts> there,
                FilesAhead* built = nullptr);

    /// The contents of the folder that was handled last follow, until `leave`.
    void enter();

    /// `source` is the original of the innermost folder.
    void leave(int source);

    /// Takes back the folder that was handled last, since its original cannot be read.
    void give_up_folder();

    /// Leaves the item out, because of `error` or without one, since its name is taken.
    void leave_out(const CopyItem& item, std::optional<Error> error);

    /// Writes the rows of all that was copied.
    void finish() { records_.write(); }

    /// Gives what was copied before a failure or a cancel what belongs to it.
    void abandon() noexcept;

    [[nodiscard]] DestinationFolder innermost() const { return folders_.innermost(); }

    /// True if the folder to be entered next, or else the innermost one, holds nothing but what is
    /// copied to it.
    [[nodiscard]] bool is_entry_new() const { return entry_ && entry_->level.is_new; }

    /// See `ItemCopier`.
    [[nodiscard]] bool can_build() const { return copier_.can_build(); }

private:
    using Way = TakenChoice::Way;

    /// A folder at the destination that the copy is in.
    struct Level {
        std::string path = {}; ///< from the destination; empty for that itself
        bool is_new = false;
        std::optional<CopyItem> original = {}; ///< none for the destination
        std::unique_ptr<OpenedDestination> replacing = {};
        FreeNames free_names{FreeNames::Numbers::in_brackets};
    };
    /// A folder that the copy enters next.
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
    void add_row(const CopyItem& item);
    void leave_unchanged(const CopyItem& item);
    void keep_metadata(int source);
    void publish(Level level);

    [[nodiscard]] Url url_of(const CopyItem& item) const;
    [[nodiscard]] std::string path_of(const std::string& name) const;
    [[nodiscard]] DestinationItem destination_of(const CopyItem& item) const;

    TransferRun& run_;
    TransferRecords records_;
    ItemCopier copier_;
    DestinationFolders folders_;
    std::vector<Level> levels_; // as many as there are folders
    std::optional<Entry> entry_;
    std::size_t dead_levels_ = 0; // below a folder that is not copied
};

} // namespace orv
