#include "Operations/transfer/TransferMove.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "Operations/copying/MoveWithRecords.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/transfer/Abandonable.hpp"
#include "Operations/transfer/TransferErrors.hpp"
#include "Tool/Tool.hpp"
#include "files/Place.hpp"
#include "files/SameItem.hpp"
#include "files/TreeWalk.hpp"

#include <cerrno>
#include <functional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

/// The names of the folder's direct contents.
std::vector<std::string> names_in(const Url& folder)
{
    TreeWalkOptions options{.recursive = false, .describes_all = false};
    options.unreadable = TreeWalkOptions::Unreadable::fail;
    TreeWalk walk(folder, options);
    std::vector<std::string> names;
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next())
        if (event == TreeWalk::Event::item)
            names.emplace_back(walk.name());
    return names;
}

/// Looks at the item to move and the one in its place. No value if the place is free, or belongs to
/// the item itself under another spelling.
std::optional<TakenName> look_at_both(const Url& from, const Url& to)
{
    const Place source = Place::in_resolved_folder(from);
    const auto facts = facts_in(source.folder(), source.path, from);
    if (!facts)
        throw source_error(platform_error(ENOENT, from), from);
    const Place destination = Place::in_resolved_folder(to);
    const auto there = facts_in(destination.folder(), destination.path, to);
    if (!there || is_other_spelling(from, to))
        return std::nullopt;
    return taken_name({source.folder(), source.path, from}, *facts,
                      {{destination.folder(), to.deleting_last_path_component()}, destination.path},
                      *there);
}

/// Removes a folder after its contents have moved, and its row. A folder with a left-out item
/// stays.
void remove_if_empty(const Url& folder)
{
    const RecordKey key = record_key_of_entry(folder);
    const Place place = Place::in_resolved_folder(folder);
    if (::unlinkat(place.folder(), place.name(), AT_REMOVEDIR) == 0)
        return RecCustomAttr::delete_records(key);
    if (errno != ENOTEMPTY && errno != EEXIST)
        throw platform_error(errno, folder);
}

} // namespace

void TransferMove::move(const TransferSource& source)
{
    Item item{source.index, source.url, run_.folder.appending(source.new_name), free_names_};
    try {
        const Outcome outcome = move(item);
        const bool is_there = outcome != Outcome::skipped && outcome != Outcome::failed;
        run_.log.end(source.index, outcome, is_there ? std::optional(item.to) : std::nullopt);
    } catch (const Exception&) {
        // A cancel came when the copy on another volume was complete already.
        if (!Tool::item_exists(source.url) && Tool::item_exists(item.to)) {
            run_.log.end(source.index, Outcome::done, item.to);
            note_for_undo(source.url, item.to);
        }
        throw;
    }
}

TransferReport::Outcome TransferMove::move(Item& item)
{
    run_.meter.begin(item.from);
    for (;;) {
        try {
            return attempt(item);
        } catch (const Error& error) {
            if (run_.questions.settle(item.from, error) == FailureChoice::retry)
                continue;
            run_.log.leave_out(item.source, item.from, error);
            return Outcome::failed;
        }
    }
}

TransferReport::Outcome TransferMove::attempt(Item& item)
{
    for (;;) {
        const auto taken = look_at_both(item.from, item.to);
        if (taken)
            return attempt_taken(item, *taken);
        try {
            return place(item, false);
        } catch (const Error& error) {
            if (error.code() != EEXIST || !look_at_both(item.from, item.to))
                throw;
        }
    }
}

TransferReport::Outcome TransferMove::attempt_taken(Item& item, const TakenName& taken)
{
    if (taken.are_same_item())
        return Outcome::unchanged;
    TakenChoice choice = run_.questions.settle(taken);
    switch (choice.way) {
    case Way::skip:
        run_.log.leave_out(item.source, item.from, std::nullopt);
        return Outcome::skipped;
    case Way::leave_unchanged:
        return Outcome::unchanged;
    case Way::merge:
        return merge(item);
    case Way::replace:
        check_can_be_replaced(item.from, item.to, transfer_place);
        return place(item, true);
    case Way::keep_both: {
        const Url folder = item.to.deleting_last_path_component();
        choice.new_name = item.free_names.next(
            item.to.last_path_component(), S_ISDIR(taken.source_facts.stx_mode),
            [&](const std::string& name) { return Tool::item_exists(folder.appending(name)); });
        break;
    }
    case Way::other_name:
        break;
    }
    item.to = item.to.deleting_last_path_component().appending(choice.new_name);
    return attempt(item);
}

TransferReport::Outcome TransferMove::place(const Item& item, bool replaces)
{
    std::int64_t copied = 0;
    const auto progress = [&](std::int64_t bytes, std::int64_t items) {
        run_.request.check_cancelled();
        run_.meter.add(items, bytes);
        copied += items;
    };
    const auto on_failure = [&](const Url& url, const Error& error) {
        return settle_inside(item, url, error);
    };
    const auto holds_left_out = [&](const Url& folder) {
        return run_.log.has_left_out_below(folder);
    };
    const auto do_long = [&](std::function<void()> work) {
        do_abandonable(run_.request, std::move(work));
    };
    move_with_records(
        item.from, item.to, replaces, rename_,
        {progress, on_failure, holds_left_out, do_long, true, run_.plan.policy.verify});
    if (copied == 0) // a rename moved it
        run_.meter.add(1, 0);
    if (!replaces)
        note_for_undo(item.from, item.to);
    return Outcome::done;
}

void TransferMove::note_for_undo(const Url& from, const Url& to)
{
    run_.request.add_undo_step(undo_step(UndoVerb::moving, UndoAction::move_back, to, from));
}

/// Settles the fate of an item in a folder on its way to another volume.
MoveWatch::Choice TransferMove::settle_inside(const Item& item, const Url& url, const Error& error)
{
    const Error* refusal = run_.refusal_of(url);
    if (!refusal && run_.questions.settle(url, error) == FailureChoice::retry)
        return MoveWatch::Choice::retry;
    run_.log.leave_out(item.source, url, refusal ? *refusal : error);
    return MoveWatch::Choice::leave_out;
}

TransferReport::Outcome TransferMove::merge(const Item& folder)
{
    FreeNames free_names(FreeNames::Numbers::in_brackets);
    Outcome outcome = Outcome::done;
    for (const std::string& name : names_in(folder.from)) {
        Item item{folder.source, folder.from.appending(name), folder.to.appending(name),
                  free_names};
        if (move(item) != Outcome::done)
            outcome = Outcome::partly_done;
    }
    remove_if_empty(folder.from);
    return outcome;
}

} // namespace orv
