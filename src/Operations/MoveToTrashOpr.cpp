#include "Operations/MoveToTrashOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/copying/MoveWithRecords.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/LockTurn.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/trash/TrashedItems.hpp"
#include "Tool/Tool.hpp"
#include "files/Place.hpp"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <utility>

namespace orv {
namespace {

using TrashRequest = Request<MoveToTrashOperation>;

constexpr ErrorPlace trash_place{"src/Operations/MoveToTrashOpr",
                                 "move_to_trash(urls:status_closure:)"};

/// Refuses items `trash` cannot take.
void check_can_go(const Url& url, const TrashFolder& trash)
{
    if (Tool::is_volume(url).value_or(false))
        throw trash_place("A volume can't be moved to the trash.").at(url);
    if (relative_path(url, trash.place().url))
        throw trash_place("The item is in the trash already.").at(url);
    if (relative_path(trash.place().url, url))
        throw trash_place("The item can't be moved to the trash, because the trash lies in it.")
            .at(url);
}

/// Checks everything that can be known before any change, and returns the locations without links.
std::vector<Url> checked(const std::vector<Url>& urls, Trashes& trashes)
{
    std::vector<Url> items;
    for (const Url& url : urls) {
        check_path(url, "Given", trash_place);
        const std::string name = url.last_path_component();
        if (name == "." || name == "..")
            throw trash_place("Given url must end in the name of an item, not in \".\" or \"..\".")
                .at(url);
        const Url item = resolving_folders(url);
        if (!Tool::item_exists(item))
            throw missing_item(
                trash_place("Couldn't move the item to the trash, because it doesn't exist."), url);
        check_can_go(item, trashes.for_item(item));
        items.push_back(item);
    }
    return items;
}

/// Items with infos in a trash folder. The infos of those that do not come go in the end.
class ReservedNames {
public:
    ReservedNames(TrashFolder& trash, std::span<const Url> items) : trash_(trash)
    {
        const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
        names_ = trash.reserve(items, now);
        has_come_.resize(names_.size());
    }
    ~ReservedNames()
    {
        for (std::size_t i = 0; i < names_.size(); ++i)
            if (!has_come_[i] && !trash_.entry(names_[i]))
                trash_.remove_info(names_[i]);
    }
    ReservedNames(const ReservedNames&) = delete;
    ReservedNames& operator=(const ReservedNames&) = delete;

    [[nodiscard]] Url url_of(std::size_t index) const { return trash_.url_of(names_[index]); }

    /// The item has come. No value if it has left already.
    std::optional<TrashedItem> come(std::size_t index)
    {
        has_come_[index] = true;
        const auto entry = trash_.entry(names_[index]);
        return entry ? std::optional(trashed_item(trash_, *entry)) : std::nullopt;
    }

private:
    TrashFolder& trash_;
    std::vector<std::string> names_;
    std::vector<bool> has_come_;
};

/// Moves items into trash folders.
class Trashing {
public:
    Trashing(Trashes& trashes, FunctionRef<void()> poll, TrashedClosure trashed)
        : trashes_(trashes), poll_(poll), trashed_(trashed)
    {
    }

    /// Moves items with one trash folder there.
    void move(std::span<const Url> items, TrashFolder& first)
    {
        for (const Url& item : left_behind(items, first)) {
            // Two mounts may share a device.
            TrashFolder& own = trashes_.on_volume_of(item);
            check_can_go(item, own);
            if (&own == &first || !left_behind({&item, 1}, own).empty())
                throw platform_error(EXDEV, item);
        }
    }

private:
    /// Moves the items into `trash`, and returns those on another volume, where they stay.
    std::vector<Url> left_behind(std::span<const Url> items, TrashFolder& trash)
    {
        ReservedNames names(trash, items);
        std::vector<MoveWithinVolume> moves;
        std::vector<LockType> locks;
        for (std::size_t i = 0; i < items.size(); ++i) {
            moves.push_back({items[i], names.url_of(i)});
            locks.push_back(read(items[i]));
            locks.push_back(write(names.url_of(i)));
        }
        const LocationLock lock(std::move(locks));
        pause_in_test_mode(std::chrono::seconds(1));
        std::vector<Url> elsewhere;
        move_within_volume_with_records(moves, poll_, [&](std::size_t i, bool has_moved) {
            if (!has_moved)
                elsewhere.push_back(items[i]);
            else if (const auto item = names.come(i))
                trashed_(items[i], *item);
        });
        return elsewhere;
    }

    Trashes& trashes_;
    FunctionRef<void()> poll_;
    TrashedClosure trashed_;
};

MoveToTrashOperation::Status run(TrashRequest& request, const std::vector<Url>& urls)
{
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_trashing);
    Trashes trashes;
    request.tally().expect(-1, static_cast<std::int64_t>(urls.size()));
    MoveToTrashOperation::success done;
    trash_items(
        trashes, checked(urls, trashes), [&] { request.check_cancelled(); },
        [&](const Url& from, const TrashedItem& item) {
            done.items.push_back(item);
            request.add_undo_step(
                undo_step(UndoVerb::trashing, UndoAction::restore, item.url, from));
            request.tally().add_done(item.url);
        });
    done.unused = trashes.unused();
    request.set_done();
    return done;
}

} // namespace

void trash_items(Trashes& trashes, std::span<const Url> items, FunctionRef<void()> poll,
                 TrashedClosure trashed)
try {
    Trashing trashing(trashes, poll, trashed);
    while (!items.empty()) {
        TrashFolder& trash = trashes.for_item(items.front());
        std::size_t count = 1;
        while (count < std::min(items.size(), trashed_at_once) &&
               &trashes.for_item(items[count]) == &trash)
            ++count;
        trashing.move(items.first(count), trash);
        items = items.subspan(count);
    }
} catch (const Error& cause) {
    if (cause.kind() != Error::Kind::platform)
        throw;
    throw trash_place("Couldn't move the item to the trash.").because_of(cause);
}

std::shared_ptr<MoveToTrashOperation>
move_to_trash(std::vector<Url> urls, MoveToTrashOperation::StatusClosure status_closure)
{
    return start_request<MoveToTrashOperation>(
        std::move(status_closure),
        [urls = std::move(urls)](TrashRequest& request) { return run(request, urls); });
}

} // namespace orv
