#include "Operations/transfer/CopyTarget.hpp"

#include "Operations/frame/TakenName.hpp"
#include "Operations/transfer/TransferErrors.hpp"
#include "files/Place.hpp"
#include "files/SameItem.hpp"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

using Outcome = TransferReport::Outcome;

bool is_lost_write(const Error& error)
{
    return error.code() == EIO || error.code() == ENOSPC || error.code() == EDQUOT;
}

DestinationFolders opened_destination(const Url& folder)
{
    const Place place = Place::of(folder);
    return DestinationFolders({place.folder(), folder.deleting_last_path_component()}, place.path,
                              folder, {});
}

FileDescriptor second_descriptor(int fd)
{
    return FileDescriptor(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
}

/// Takes a file built ahead but no longer wanted.
void discard_first(FilesAhead& built)
{
    try {
        (void)built.take();
    } catch (const Error&) {
        return; // nothing of it is there
    }
}

} // namespace

CopyTarget::CopyTarget(TransferRun& run)
    : run_(run), records_(run.folder), folders_(opened_destination(run.folder)),
      destination_(second_descriptor(folders_.innermost().fd))
{
    levels_.emplace_back();
    copier_.hide_in({{destination_.get(), run_.folder}});
}

std::optional<ItemFacts> CopyTarget::facts_at_destination(const CopyItem& item) const
{
    return facts_in(innermost().fd, item.new_name, url_of(item));
}

bool CopyTarget::handle(CopyItem item, const SourceItem& source, std::optional<ItemFacts> there,
                        FilesAhead* built)
{
    entry_.reset();
    if (dead_levels_ > 0) {
        if (built)
            discard_first(*built);
        return false;
    }
    run_.meter.begin(item.url);
    for (;;) {
        const bool was_built = built != nullptr;
        try {
            return attempt(item, source, std::exchange(there, {}), std::exchange(built, nullptr));
        } catch (const Error& error) {
            if (error.kind() == Error::Kind::database) // the item is there, but not its row
                throw;
            // A copy in its turn reports the obstacle, and its place. A volume that failed once
            // to take the content may say nothing the second time.
            if (was_built && !is_lost_write(error))
                continue;
            if (error.code() == EEXIST)
                there = facts_at_destination(item);
            if (there)
                continue;
            if (run_.questions.settle(item.url, error) == FailureChoice::retry)
                continue;
            leave_out(item, error);
            return false;
        }
    }
}

/// Copies the item, or settles the fate of the one in its place first.
bool CopyTarget::attempt(CopyItem& item, const SourceItem& source, std::optional<ItemFacts> there,
                         FilesAhead* built)
{
    Way way = Way::keep_both; // beside all existing items
    while (there) {
        const auto chosen =
            way_for(item, taken_name(source, item.facts, destination_of(item), *there));
        if (!chosen)
            return false;
        way = *chosen == Way::other_name ? Way::keep_both : *chosen;
        there = *chosen == Way::other_name ? facts_at_destination(item) : std::nullopt;
    }
    copy(item, source, way, built);
    finish_item(item);
    if (!item.is_folder() && way != Way::replace)
        note_for_undo(item);
    return item.is_folder();
}

/// The way to copy the item, perhaps under another name. No value if it stays out.
std::optional<TakenChoice::Way> CopyTarget::way_for(CopyItem& item, const TakenName& taken)
{
    const TakenChoice choice = run_.questions.settle(taken);
    switch (choice.way) {
    case Way::skip:
        leave_out(item, std::nullopt);
        return std::nullopt;
    case Way::leave_unchanged:
        leave_unchanged(item);
        return std::nullopt;
    case Way::merge:
    case Way::replace:
        if (!taken.are_same_item())
            break;
        leave_unchanged(item);
        return std::nullopt;
    case Way::keep_both: {
        const int folder = innermost().fd;
        item.new_name = levels_.back().free_names.next(
            item.new_name, item.is_folder(), [&](const std::string& name) {
                return facts_in(folder, name, innermost().url.appending(name)).has_value();
            });
        break;
    }
    case Way::other_name:
        item.new_name = choice.new_name;
        break;
    }
    return choice.way;
}

void CopyTarget::copy(const CopyItem& item, const SourceItem& source, Way way, FilesAhead* built)
{
    const DestinationItem destination = destination_of(item);
    if (way == Way::replace)
        return copy_replacing(item, source);
    if (way == Way::merge)
        return set_entry(item, item.new_name, {});
    if (item.is_folder()) {
        ItemCopier::create_folder(destination);
        set_entry(item, item.new_name, ModeAndTimes(item.facts));
    } else if (built) {
        copier_.place(built->take(), source, destination);
    } else {
        copy_file(item, source, destination);
    }
}

/// Builds the copy under a hidden name. A file takes its place at once, a folder when it is
/// complete.
void CopyTarget::copy_replacing(const CopyItem& item, const SourceItem& source)
{
    if (levels_.back().is_new) // all items in it are fresh copies
        throw two_of_a_name(item.url);
    const Url url = url_of(item);
    check_can_be_replaced(item.url, url, transfer_place);
    auto replacing = std::make_unique<OpenedDestination>(url, item.is_folder(), true);
    if (!item.is_folder()) {
        copy_file(item, source, replacing->item());
        return replacing->publish();
    }
    ItemCopier::create_folder(replacing->item());
    std::string hidden = replacing->item().name;
    set_entry(item, std::move(hidden), ModeAndTimes(item.facts), std::move(replacing));
}

void CopyTarget::copy_file(const CopyItem& item, const SourceItem& source,
                           const DestinationItem& destination)
{
    std::int64_t told = 0;
    copier_.copy(source, item.facts.stx_mode, destination, [&](float part_done) {
        const auto done = static_cast<std::int64_t>(static_cast<double>(item.size()) * part_done);
        run_.meter.add_bytes(done - std::exchange(told, done));
    });
}

void CopyTarget::set_entry(const CopyItem& item, std::string name, DestinationFolders::Kept kept,
                           std::unique_ptr<OpenedDestination> replacing)
{
    const bool is_new = kept.has_value();
    entry_.emplace(Entry{std::move(name), kept,
                         Level{path_of(item.new_name), is_new, item, std::move(replacing)}});
}

void CopyTarget::finish_item(const CopyItem& item)
{
    run_.meter.end_item(item.size());
    if (item.is_folder())
        return; // the rest follows at its entry
    if (!item.is_link())
        add_row(item);
    if (item.is_file() && run_.finish.copied())
        run_.finish.copied()->add({item.source, item.url, url_of(item)});
    if (item.is_source)
        run_.log.end(item.source, Outcome::done, url_of(item));
}

/// An undo takes a new item away, a new folder as a whole.
void CopyTarget::note_for_undo(const CopyItem& item)
{
    if (levels_.back().is_new)
        return;
    if (const auto identity = UndoIdentity::of(innermost().fd, item.new_name.c_str()))
        run_.request.add_undo_step(UndoStep{.verb = UndoVerb::copying,
                                            .action = UndoAction::discard,
                                            .url = url_of(item),
                                            .identity = *identity,
                                            .noted = undo_time()});
}

void CopyTarget::add_row(const CopyItem& item)
{
    records_.add(item.path, path_of(item.new_name),
                 levels_.back().is_new ? TransferRecords::Before::no_rows
                                       : TransferRecords::Before::maybe_rows);
}

void CopyTarget::leave_unchanged(const CopyItem& item)
{
    run_.meter.end_item(item.size());
    if (item.is_source)
        run_.log.end(item.source, Outcome::unchanged, url_of(item));
}

void CopyTarget::leave_out(const CopyItem& item, std::optional<Error> error)
{
    run_.meter.end_item(item.size());
    if (item.is_source)
        run_.log.end(item.source, error ? Outcome::failed : Outcome::skipped);
    run_.log.leave_out(item.source, item.url, std::move(error));
}

void CopyTarget::enter()
{
    if (!entry_) {
        ++dead_levels_;
        return;
    }
    const CopyItem& original = *entry_->level.original;
    folders_.enter(entry_->name, entry_->kept, original.new_name);
    if (original.is_source)
        run_.log.begin(original.source, folders_.innermost().url);
    if (entry_->level.replacing)
        records_.hold();
    if (entry_->level.is_new)
        add_row(original);
    levels_.push_back(std::move(entry_->level));
    entry_.reset();
    hide_in_entered_folder();
}

/// Only its owner can open a new folder until the copy leaves it. Each hiding place costs a note,
/// so one of many sources is none. A folder for a replacement may go before the note in it.
void CopyTarget::hide_in_entered_folder()
{
    if (levels_.size() != 2 || run_.plan.sources.size() != 1 || !levels_.back().is_new ||
        levels_.back().replacing)
        return;
    hiding_place_ = second_descriptor(folders_.innermost().fd);
    if (hiding_place_)
        copier_.hide_in({{hiding_place_.get(), folders_.innermost().url}, true});
}

void CopyTarget::leave(int source)
{
    entry_.reset();
    if (dead_levels_ > 0) {
        --dead_levels_;
        return;
    }
    keep_metadata(source);
    Level level = std::move(levels_.back());
    levels_.pop_back();
    const CopyItem& original = *level.original;
    if (level.replacing)
        return publish(std::move(level));
    if (level.is_new)
        note_for_undo(original);
    if (original.is_source)
        run_.log.end(original.source, Outcome::done, url_of(original));
}

/// Finishes the innermost folder. A property of its original it cannot keep is a failure of its
/// own.
void CopyTarget::keep_metadata(int source)
{
    for (;;) {
        try {
            return folders_.leave(source);
        } catch (const Error& error) {
            if (error.code() == ESTALE)
                throw;
            const CopyItem& original = *levels_.back().original;
            if (run_.questions.settle(original.url, error) == FailureChoice::retry)
                continue;
            run_.log.leave_out(original.source, original.url, error);
            folders_.keep_nothing();
        }
    }
}

/// Puts a complete folder in the place of the old item. A cancel up to here leaves the old item.
void CopyTarget::publish(Level level)
{
    run_.request.check_cancelled();
    const CopyItem& original = *level.original;
    for (;;) {
        try {
            level.replacing->publish();
            records_.release(level.path);
            if (original.is_source)
                run_.log.end(original.source, Outcome::done, url_of(original));
            return;
        } catch (const Error& error) {
            if (error.kind() == Error::Kind::database)
                throw;
            if (run_.questions.settle(original.url, error) == FailureChoice::retry)
                continue;
            records_.drop();
            return leave_out(original, error);
        }
    }
}

void CopyTarget::give_up_folder()
{
    if (!entry_)
        return;
    // A folder of a merge is not empty, or was there before.
    if (entry_->level.is_new && !entry_->level.replacing)
        ::unlinkat(innermost().fd, entry_->name.c_str(), AT_REMOVEDIR);
    entry_.reset();
}

void CopyTarget::abandon() noexcept
{
    const bool is_hidden =
        std::ranges::any_of(levels_, [](const Level& level) { return level.replacing != nullptr; });
    try {
        // A hidden folder never appears, also one that could not be published: no rows for it.
        records_.drop();
        if (!is_hidden)
            folders_.abandon();
        records_.write();
        note_partial_folder_for_undo();
    } catch (const std::exception&) {
        return; // the transfer already ends with an earlier error
    }
}

/// A folder that was to replace an item is gone, with everything in it.
void CopyTarget::note_partial_folder_for_undo()
{
    const auto first = std::ranges::find_if(
        levels_, [](const Level& level) { return level.is_new || level.replacing; });
    if (first != levels_.end() && !first->replacing)
        run_.request.add_undo_step(
            undo_step(UndoVerb::copying, UndoAction::discard, run_.folder.appending(first->path)));
}

Url CopyTarget::url_of(const CopyItem& item) const
{
    return innermost().url.appending(item.new_name);
}

DestinationItem CopyTarget::destination_of(const CopyItem& item) const
{
    return {innermost(), item.new_name};
}

std::string CopyTarget::path_of(const std::string& name) const
{
    const std::string& folder = levels_.back().path;
    return folder.empty() ? name : folder + "/" + name;
}

} // namespace orv
