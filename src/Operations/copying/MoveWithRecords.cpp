#include "Operations/copying/MoveWithRecords.hpp"

#include "CustomAttributes/RecordMove.hpp"
#include "Database/DBManager.hpp"
#include "Tool/Tool.hpp"
#include "Tool/ToolErrors.hpp"
#include "Tool/VolumeMove.hpp"
#include "Tool/WatchedMove.hpp"
#include "files/Flush.hpp"
#include "files/ItemStatus.hpp"
#include "files/ItemVersion.hpp"
#include "files/SameItem.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <exception>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

void take_back(RecordMove& records, FunctionRef<bool()> is_there) noexcept
try {
    records.take_back(is_there);
} catch (const std::exception&) {
    return; // the request ends with the error of the move
}

/// True if the item with the status `then` is at `url`. Not known on a volume whose inode numbers
/// change; then it is taken for another one.
bool is_still(const std::optional<struct stat>& then, const Url& url)
{
    const auto now = item_status(url, AT_SYMLINK_NOFOLLOW);
    return then && now && ItemVersion(*then).is_same_item(ItemVersion(*now));
}

/// Renames the item back, but never copies it back to another volume.
bool moved_back(const Url& from, const Url& to) noexcept
try {
    if (are_on_two_devices(from.deleting_last_path_component(), to))
        return false;
    Tool::move_item(to, from);
    return true;
} catch (const std::exception&) {
    return false;
}

using RecordMoves = std::vector<std::unique_ptr<RecordMove>>;

/// Takes the records of the items that have moved from their old places, and those of the others
/// from the new ones. One flush and one transaction serve all.
void finish_records(std::span<const MoveWithinVolume> moves, const RecordMoves& records,
                    const std::vector<bool>& have_moved)
{
    bool is_durable = false;
    const auto make_durable = [&] {
        if (std::exchange(is_durable, true))
            return;
        try {
            flush_folder_of(moves.front().to);
        } catch (const Error& cause) {
            throw error_at_destination("a power cut may take it back", cause);
        }
    };
    const auto finish_all = [&] {
        for (std::size_t i = 0; i < moves.size(); ++i) {
            const auto is_there = [&] { return Tool::item_exists(moves[i].to); };
            const auto has_moved = [&] { return is_there() && !Tool::item_exists(moves[i].from); };
            if (have_moved[i])
                records[i]->finish(make_durable, has_moved);
            else
                take_back(*records[i], is_there);
        }
    };
    if (std::ranges::none_of(records, [](const auto& move) { return move->has_any(); }))
        return finish_all();
    make_durable(); // not in the turn of the database
    shared_db_manager().db().save_point(finish_all);
}

} // namespace

void move_with_records(const Url& from, const Url& to, bool replaces, NoReplaceRename& rename,
                       const MoveWatch& watch)
{
    // Another process may move the item at any moment.
    const auto check = [&] {
        if (replaces && !Tool::item_exists(from))
            throw move_error(platform_error(ENOENT, from));
        if (!replaces && Tool::item_exists(to) && !is_other_spelling(from, to))
            throw move_error(platform_error(EEXIST, to));
    };
    // The item may have left for elsewhere, so its absence says nothing while the old one is there.
    const auto old_item = replaces ? item_status(to, AT_SYMLINK_NOFOLLOW) : std::nullopt;
    const auto is_there = [&] {
        if (!replaces)
            return Tool::item_exists(to);
        return !is_still(old_item, to) && !Tool::item_exists(from);
    };
    const auto has_moved = [&] {
        return Tool::item_exists(to) && (!Tool::item_exists(from) || is_other_spelling(from, to));
    };

    check(); // the attributes of an existing item there must survive the attempt
    RecordMove records(record_key_of_entry(from), record_key_of_entry(to), replaces);
    const auto before = [&] { records.store_for_both(check); };
    const auto failed = [&] { take_back(records, is_there); };
    move_watched(from, to, replaces, rename, {before, failed}, watch);
    const auto make_durable = [&] {
        try {
            flush_folder_of(to);
        } catch (const Error& cause) {
            if (replaces || !moved_back(from, to))
                throw error_at_destination("a power cut may take it back", cause);
            take_back(records, is_there);
            throw move_error(cause);
        }
    };
    records.finish(make_durable, has_moved);
}

void move_within_volume_with_records(std::span<const MoveWithinVolume> moves,
                                     FunctionRef<void()> poll,
                                     FunctionRef<void(std::size_t index, bool has_moved)> ended)
{
    std::vector<std::unique_ptr<RecordMove>> records;
    for (const auto& [from, to] : moves) {
        if (Tool::item_exists(to))
            throw move_error(platform_error(EEXIST, to));
        records.push_back(
            std::make_unique<RecordMove>(record_key_of_entry(from), record_key_of_entry(to), true));
    }
    RecordMove::store_each_for_both(records);

    std::exception_ptr failure;
    std::vector<bool> have_moved(moves.size());
    try {
        for (std::size_t i = 0; i < moves.size(); ++i) {
            poll();
            have_moved[i] = Tool::move_item_within_volume(moves[i].from, moves[i].to,
                                                          {nothing_around, nothing_around});
            ended(i, have_moved[i]);
        }
    } catch (...) {
        failure = std::current_exception();
    }
    finish_records(moves, records, have_moved);
    if (failure)
        std::rethrow_exception(failure);
}

} // namespace orv
