#include "Operations/MoveToTrashOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/copying/MoveWithRecords.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Operations/trash/TrashedItems.hpp"
#include "Tool/Tool.hpp"
#include "files/Place.hpp"
#include "trash/Trashes.hpp"

#include <cerrno>
#include <chrono>

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

/// Moves the item into `trash`. No value, without effect, if `trash` is on another volume.
std::optional<TrashedItem> moved_into(TrashFolder& trash, const Url& item)
{
    const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
    const std::string name = trash.reserve(item, now);
    try {
        const Url to = trash.url_of(name);
        const UrlLock lock({read(item)}, write(to));
        pause_in_test_mode(std::chrono::seconds(1));
        if (move_within_volume_with_records(item, to))
            if (const auto entry = trash.entry(name))
                return trashed_item(trash, *entry);
    } catch (const Error&) {
        if (!trash.entry(name))
            trash.remove_info(name);
        throw;
    }
    trash.remove_info(name);
    return std::nullopt;
}

TrashedItem moved(Trashes& trashes, const Url& item)
try {
    TrashFolder& first = trashes.for_item(item);
    if (auto trashed = moved_into(first, item))
        return *trashed;
    // Two mounts may share a device.
    TrashFolder& own = trashes.on_volume_of(item);
    check_can_go(item, own);
    if (&own != &first)
        if (auto trashed = moved_into(own, item))
            return *trashed;
    throw platform_error(EXDEV, item);
} catch (const Error& cause) {
    if (cause.kind() != Error::Kind::platform)
        throw;
    throw trash_place("Couldn't move the item to the trash.").because_of(cause);
}

MoveToTrashOperation::Status run(TrashRequest& request, const std::vector<Url>& urls)
{
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
    Trashes trashes;
    request.tally().expect(-1, static_cast<std::int64_t>(urls.size()));
    MoveToTrashOperation::success done;
    for (const Url& item : checked(urls, trashes)) {
        request.check_cancelled();
        done.items.push_back(moved(trashes, item));
        request.tally().add_done(done.items.back().url);
    }
    done.unused = trashes.unused();
    request.set_done();
    return done;
}

} // namespace

std::shared_ptr<MoveToTrashOperation>
move_to_trash(std::vector<Url> urls, MoveToTrashOperation::StatusClosure status_closure)
{
    return start_request<MoveToTrashOperation>(
        std::move(status_closure),
        [urls = std::move(urls)](TrashRequest& request) { return run(request, urls); });
}

} // namespace orv
