#include "Commands.hpp"
#include "Conflicts.hpp"
#include "Failure.hpp"
#include "HumanText.hpp"
#include "Json.hpp"
#include "LargeOutput.hpp"
#include "SelfNames.hpp"
#include "Terminal.hpp"
#include "Text.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <algorithm>
#include <chrono>

namespace orv::app {
namespace {

OrvFileManager& manager()
{
    return OrvFileManager::singleton();
}

void tell_of_unused(const std::vector<Error>& unused)
{
    for (const Error& error : unused)
        print_failure(error);
}

void put(const TrashCommand& command, const Surroundings& surroundings)
{
    std::vector<Url> urls;
    for (const std::string& path : command.paths) {
        urls.emplace_back(path);
        refuse_self_name(urls.back(), "moved to the trash");
    }
    const auto status = final_status<MoveToTrashOperation>(
        [&](auto closure) { return manager().move_to_trash(urls, std::move(closure)); },
        show_activity("Moving to the trash", surroundings.shows_progress));
    match(
        status, [](const MoveToTrashOperation::success& done) { tell_of_unused(done.unused); },
        [&](const status::error& failed) { throw told_of(urls.front(), failed.error); },
        [](const status::cancelled&) { throw Interrupted(); });
}

FetchTrashedOperation::success trashed(const Surroundings& surroundings)
{
    const auto status = final_status<FetchTrashedOperation>(
        [](auto closure) { return manager().fetch_trashed_items(std::move(closure)); },
        show_activity("Listing", surroundings.shows_progress));
    return match(
        status, [](const FetchTrashedOperation::success& found) { return found; },
        [](const status::error& failed) -> FetchTrashedOperation::success { throw failed.error; },
        [](const status::cancelled&) -> FetchTrashedOperation::success { throw Interrupted(); });
}

std::string line_of(const TrashedItem& item)
{
    const std::string date =
        item.deletion_date ? local_date(*item.deletion_date) : "unknown date    ";
    const bool is_known = !item.original_url.empty();
    const std::string path = is_known ? item.original_url.path() : item.url.path() + " (unknown)";
    return date + "  " + (is_output_terminal() ? printable(path) : path) + "\n";
}

void list(const TrashCommand& command, const Surroundings& surroundings)
{
    const auto found = trashed(surroundings);
    tell_of_unused(found.unused);
    LargeOutput output;
    if (!command.json) {
        for (const TrashedItem& item : found.items)
            output.write(line_of(item));
    } else {
        const char* before = "[";
        for (const TrashedItem& item : found.items) {
            output.write(before + app::json(item));
            before = ",\n";
        }
        output.write(found.items.empty() ? "[]\n" : "]\n");
    }
    output.finish();
}

/// The latest of the trashed items from `path`.
TrashedItem item_that_was_at(const std::string& path, const FetchTrashedOperation::success& found)
{
    const Url url = Url(path).standardized();
    const Url resolved = url.deleting_last_path_component().resolving_symlinks().appending(
        url.last_path_component());
    const auto item = std::ranges::find_if(found.items, [&](const TrashedItem& one) {
        return one.original_url == url || one.original_url == resolved;
    });
    if (item != found.items.end())
        return *item;
    throw found.unused.empty() ? Error("No item in the trash was there.").at(url)
                               : found.unused.front();
}

void restore(const TrashCommand& command, const Surroundings& surroundings)
{
    const auto found = trashed(surroundings);
    std::vector<TrashedItem> items;
    items.reserve(command.paths.size());
    for (const std::string& path : command.paths)
        items.push_back(item_that_was_at(path, found));
    Conflicts conflicts(command.on_conflict, surroundings.can_ask);
    Meanwhile meanwhile = show_activity("Restoring", surroundings.shows_progress);
    meanwhile.question = &conflicts.question();
    const auto status = final_status<RestoreOperation>(
        [&](auto closure) {
            return manager().restore(items, [&conflicts, closure](const auto& now) {
                if (const auto* conflict = std::get_if<status::conflict_occured>(&now))
                    conflicts.settle(conflict->resolver);
                closure(now);
            });
        },
        meanwhile);
    if (const auto* failed = std::get_if<status::error>(&status))
        throw told_of(items.front().original_url, failed->error);
    if (std::holds_alternative<status::cancelled>(status))
        conflicts.throw_cancelled();
}

void empty(const TrashCommand& command, const Surroundings& surroundings)
{
    std::optional<std::chrono::seconds> older_than;
    if (command.older_than_days)
        older_than = std::chrono::days(*command.older_than_days);
    const auto status = final_status<EmptyTrashOperation>(
        [&](auto closure) { return manager().empty_trash(older_than, std::move(closure)); },
        show_activity("Emptying the trash", surroundings.shows_progress));
    if (const auto* failed = std::get_if<status::error>(&status))
        throw failed->error;
    if (std::holds_alternative<status::cancelled>(status))
        throw Interrupted();
}

} // namespace

void run(const TrashCommand& command, const Surroundings& surroundings)
{
    switch (command.kind) {
    case TrashCommand::Kind::put:
        return put(command, surroundings);
    case TrashCommand::Kind::list:
        return list(command, surroundings);
    case TrashCommand::Kind::restore:
        return restore(command, surroundings);
    case TrashCommand::Kind::empty:
        return empty(command, surroundings);
    }
}

} // namespace orv::app
