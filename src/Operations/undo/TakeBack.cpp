#include "Operations/undo/TakeBack.hpp"

#include "Operations/DeleteOpr.hpp"
#include "Operations/MoveToTrashOpr.hpp"
#include "Operations/copying/MoveWithRecords.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Operations/undo/AttributeSteps.hpp"
#include "Tool/Tool.hpp"
#include "files/Flush.hpp"
#include "files/ItemStatus.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/Place.hpp"
#include "files/SameItem.hpp"
#include "files/TreeWalk.hpp"

#include <algorithm>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr ErrorPlace undo_place{"src/Operations/undo/TakeBack", "undo_last(status_closure:)"};

Error refused(const std::string& reason, const Url& url)
{
    return undo_place("It can't be undone, because " + reason + ".").at(url);
}

constexpr std::int64_t ns_of_second = 1'000'000'000;

bool is_folder_there(const Url& url)
{
    const Place place = Place::of(url);
    return S_ISDIR(item_facts(place.folder(), place.name(), url).stx_mode);
}

/// Copies keep the dates of their originals, so a date not before the note is that of a change. The
/// entries of a folder change its date.
void check_contents_are_unchanged(const UndoStep& step, FunctionRef<void()> poll)
{
    TreeWalkOptions options;
    options.unreadable = TreeWalkOptions::Unreadable::fail;
    TreeWalk walk(step.url, options);
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        if (event != TreeWalk::Event::item)
            continue;
        poll();
        if (nanoseconds(walk.facts().stx_mtime) >= step.noted)
            throw refused("something in it was changed since", walk.path());
    }
}

/// Without a trash the item is deleted, so nothing may hint at a change. No program can set the
/// time of the last change of an item; but only the clock of this machine can be compared.
void check_is_untouched(const UndoStep& step, const Error& no_trash, FunctionRef<void()> poll)
{
    const auto check = [&](const struct statx& facts, const Url& url) {
        if (nanoseconds(facts.stx_ctime) > step.noted)
            throw refused("there is no trash for it, and it may have been changed since", url)
                .because_of(no_trash);
    };
    const Place place = Place::of(step.url);
    if (!reports_faults(place.folder()))
        throw refused("there is no trash for it", step.url).because_of(no_trash);
    check(item_facts(place.folder(), place.name(), step.url), step.url);
    if (!is_folder_there(step.url))
        return;
    TreeWalkOptions options;
    options.unreadable = TreeWalkOptions::Unreadable::fail;
    TreeWalk walk(step.url, options);
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        poll();
        if (event == TreeWalk::Event::item)
            check(walk.facts(), walk.path());
    }
}

/// The reason there is no trash for the item; no value if there is one.
std::optional<Error> lacks_trash(const Url& url, Trashes& trashes)
try {
    trashes.for_item(url);
    return std::nullopt;
} catch (const Error& error) {
    return error;
}

void check_can_be_discarded(const UndoStep& step, const UndoIdentity& now, Trashes& trashes,
                            FunctionRef<void()> poll)
{
    if (now != step.identity)
        throw refused("the item was changed since", step.url);
    if (is_folder_there(step.url))
        check_contents_are_unchanged(step, poll);
    if (const auto reason = lacks_trash(step.url, trashes))
        check_is_untouched(step, *reason, poll);
}

void check_place_is_free(const UndoStep& step)
{
    if (Tool::item_exists(step.origin) && !is_other_spelling(step.url, step.origin))
        throw refused("its name is taken", step.origin);
}

/// True if an earlier undo took the step back, and ended before it was through.
bool is_back(const UndoStep& step, const std::optional<UndoIdentity>& now)
{
    return step.action == UndoAction::set_attributes ? has_attributes_before(step) : !now;
}

/// A new folder may hold the folders made below it in the same request, and nothing else.
void check_holds_nothing_else(const UndoLine& line, const UndoStep& step)
{
    TreeWalkOptions options;
    options.recursive = false;
    TreeWalk walk(step.url, options);
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        const bool is_own = std::ranges::any_of(
            line.steps, [&](const UndoStep& other) { return other.url == Url(walk.path()); });
        if (event == TreeWalk::Event::item && !is_own)
            throw refused("the new folder isn't empty", step.url);
    }
}

void check(const UndoLine& line, const UndoStep& step, Trashes& trashes, FunctionRef<void()> poll)
{
    const auto now = UndoIdentity::at(step.url);
    if (line.state == UndoLine::State::begun && is_back(step, now))
        return;
    if (!now)
        throw refused("the item is gone", step.url);
    if (step.action != UndoAction::set_attributes && !now->is_same_item(step.identity))
        throw refused("another item has its place", step.url);
    switch (step.action) {
    case UndoAction::discard:
        return check_can_be_discarded(step, *now, trashes, poll);
    case UndoAction::remove_folder:
        return check_holds_nothing_else(line, step);
    case UndoAction::to_trash:
        return;
    case UndoAction::move_back:
    case UndoAction::restore:
        return check_place_is_free(step);
    case UndoAction::set_attributes:
        if (!has_attributes_after(step))
            throw refused("its attributes were changed since", step.url);
        return;
    }
    throw refused("a later version of this program noted it", step.url);
}

void remove_folder(const Url& url)
{
    const UrlLock lock(write(url));
    const Place place = Place::in_opened_folder(url);
    if (::unlinkat(place.folder(), place.name(), AT_REMOVEDIR) == 0)
        return;
    if (errno == ENOTEMPTY || errno == EEXIST)
        throw refused("the new folder isn't empty", url);
    throw undo_place("Couldn't remove the new folder.").because_of(platform_error(errno, url));
}

/// A renaming sets the date, which an earlier step would take for a change.
void set_date_back(const UndoStep& step)
{
    const auto now = UndoIdentity::at(step.origin);
    if (step.before.empty() || !now || now->modified != step.identity.modified)
        return;
    const std::int64_t date = std::stoll(step.before);
    const timespec date_only[2] = {{0, UTIME_OMIT}, {date / ns_of_second, date % ns_of_second}};
    const Place place = Place::of(step.origin);
    (void)::utimensat(place.folder(), place.name(), date_only, AT_SYMLINK_NOFOLLOW);
}

/// The folder above may be gone: a merge removes those it has emptied.
void move_back(const UndoStep& step)
{
    const UrlLock lock({read(step.url)}, write(step.origin));
    Tool::make_directory(step.origin.deleting_last_path_component(), true);
    NoReplaceRename rename;
    move_with_records(step.url, step.origin, false, rename);
    set_date_back(step);
}

void restore(const UndoStep& step, Trashes& trashes)
{
    TrashFolder& trash = trashes.holding(step.url);
    move_back(step);
    trash.remove_info(step.url.last_path_component());
}

bool goes_to_trash(const UndoStep& step, Trashes& trashes)
{
    return step.action == UndoAction::to_trash ||
           (step.action == UndoAction::discard && !lacks_trash(step.url, trashes));
}

/// Takes back a step that takes nothing to the trash.
void take_back(const UndoStep& step, Trashes& trashes)
{
    switch (step.action) {
    case UndoAction::discard:
        return delete_item_and_records(step.url, [] {});
    case UndoAction::to_trash:
        return;
    case UndoAction::remove_folder:
        return remove_folder(step.url);
    case UndoAction::move_back:
        return move_back(step);
    case UndoAction::restore:
        return restore(step, trashes);
    case UndoAction::set_attributes:
        return set_attributes_back(step);
    }
}

} // namespace

std::optional<Error> refusal_of(const UndoLine& line, Trashes& trashes, FunctionRef<void()> poll)
try {
    for (const UndoStep& step : line.steps) {
        poll();
        check(line, step, trashes, poll);
    }
    return std::nullopt;
} catch (const Error& error) {
    return error;
}

void take_back(const UndoLine& line, Trashes& trashes, FunctionRef<void()> poll)
{
    std::vector<Url> for_trash; // many go together
    const auto throw_away = [&] {
        trash_items(trashes, std::exchange(for_trash, {}), poll, [](const auto&, const auto&) {});
    };
    for (auto at = line.steps.rbegin(); at != line.steps.rend(); ++at) {
        const UndoStep& step = *at;
        poll();
        if (line.state == UndoLine::State::begun && is_back(step, UndoIdentity::at(step.url)))
            continue;
        if (goes_to_trash(step, trashes)) {
            for_trash.push_back(step.url);
            continue;
        }
        throw_away();
        take_back(step, trashes);
    }
    throw_away();
}

} // namespace orv
