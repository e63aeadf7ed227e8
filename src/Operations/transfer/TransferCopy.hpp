#pragma once

#include "Operations/copying/FilesAhead.hpp"
#include "Operations/transfer/CopyTarget.hpp"
#include "Operations/transfer/TransferRun.hpp"
#include "files/Identity.hpp"
#include "files/TreeWalk.hpp"
#include "utility/FileDescriptor.hpp"

#include <cstddef>
#include <deque>
#include <memory>
#include <optional>
#include <variant>
#include <vector>

namespace orv {

/// Copies the sources of a transfer into its folder, and the attribute rows of each item after the
/// item. The walk runs ahead of the copy, and small files are built ahead of their turn, also
/// across sources. With an existing item at the destination, the walk waits for the copy.
///
/// Threading: one background thread.
/// Cancel: between items and within files. Complete items stay.
/// Errors: those of `CopyTarget`.
class TransferCopy {
public:
    /// `steps_ahead` is how far the walk may go ahead, with two descriptors for each step.
    TransferCopy(TransferRun& run, std::size_t steps_ahead);

    void copy(const std::vector<TransferSource>& sources);

private:
    /// A folder of the sources, kept open for the steps ahead.
    using OpenedFolder = std::shared_ptr<const FileDescriptor>;

    /// The steps of the walk before their turn.
    struct ItemAhead {
        CopyItem item;
        OpenedFolder folder;
        bool is_built; ///< or on the way
    };
    struct EntryAhead {};
    struct EndAhead {
        OpenedFolder folder;
    };
    using StepAhead = std::variant<ItemAhead, EntryAhead, EndAhead>;

    /// A folder around the walk's place.
    struct Walked {
        Identity identity;
        bool is_new; ///< at the destination
    };

    void copy_source(const TransferSource& source);
    void open_folder_of(const Url& source);
    bool come_to(CopyItem item, int folder);
    [[nodiscard]] std::optional<ItemFacts> seen_at_destination(const CopyItem& item) const;
    void copy_contents_of_folder(int parent, const std::string& name, const CopyItem& top);
    void copy_contents(OpenFolder folder, const CopyItem& top);
    void walk(TreeWalk& walk, const CopyItem& top);
    void come_to_item(TreeWalk& walk, const CopyItem& top);
    void come_to_contents(const TreeWalk& walk);
    void come_to_end(const TreeWalk& walk);
    void come_to_unreadable(const CopyItem& top, const Error& error);
    bool is_tried_again(const CopyItem& folder, const Error& error);
    void follow(CopyItem link);
    void check_leads_elsewhere(const CopyItem& link) const;

    [[nodiscard]] bool is_in_new_folder() const { return walked_.back().is_new; }
    [[nodiscard]] bool can_go_ahead() const;
    bool keep_open(int folder);
    void go_ahead(CopyItem item);
    void add(StepAhead step);
    void take_next();
    void take_all();
    void take(ItemAhead& ahead);

    TransferRun& run_;
    const std::size_t steps_ahead_;
    CopyTarget target_;
    std::optional<Url> source_folder_; ///< of the last source
    OpenedFolder opened_source_folder_;
    OpenedFolder walked_folder_; ///< once something in it waits for its turn
    std::vector<Walked> walked_;
    /// The innermost folder at the destination from before: files built ahead inherit its
    /// properties.
    std::shared_ptr<const FileDescriptor> building_folder_;
    std::deque<StepAhead> steps_; ///< in the order of the walk
    FilesAhead files_ahead_;      ///< goes before the folders above
};

} // namespace orv
