#include "Operations/DeleteOpr.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"
#include "Global/TestMode.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/Flush.hpp"
#include "files/ItemStatus.hpp"
#include "files/OpenFolder.hpp"
#include "files/TreeWalk.hpp"

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

constexpr ErrorPlace delete_place{"src/Operations/DeleteOpr", "delete(url:status_closure:)"};

Error not_deleted(const Error& cause, std::source_location where = std::source_location::current())
{
    return delete_place("Couldn't delete the item.", where).because_of(cause);
}

void remove_item(const Url& url, FunctionRef<void()> removed)
{
    try {
        Tool::remove_item(url, removed);
    } catch (const Error& cause) {
        throw not_deleted(cause);
    }
}

/// A power cut must not bring the item back without its records. Unless the flush succeeds, they
/// stay.
void delete_records(const RecordKey& key, const Url& url)
{
    Database& database = shared_db_manager().db();
    if (!database.sync([&] { return RecCustomAttr::any_records_below(key); }))
        return;
    try {
        flush_folder_of(url);
    } catch (const Error& cause) {
        throw not_deleted(cause).at(url);
    }
    database.sync([&] { RecCustomAttr::delete_records(key); });
}

bool is_folder(const Url& url)
{
    const auto status = item_status(url, AT_SYMLINK_NOFOLLOW);
    return status && S_ISDIR(status->st_mode);
}

} // namespace

std::int64_t items_to_delete(const Url& url, FunctionRef<void()> poll)
try {
    std::int64_t items = 1;
    const bool is_refused = url.standardized().path() == "/"; // and would take long to count
    if (is_refused || !is_folder(url))
        return items;
    TreeWalkOptions options;
    options.describes_all = false;
    TreeWalk walk(url, options);
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        if (event != TreeWalk::Event::item)
            continue;
        poll();
        ++items;
        // A mounted volume there stays, and the deletion fails at it.
        if (walk.is_folder() && is_mounted(walk.facts(), identity_of(walk.folder_facts())))
            walk.skip_contents();
    }
    return items;
} catch (const Error&) {
    return -1;
}

void delete_item_and_records(const Url& url, FunctionRef<void()> removed)
{
    check_path(url, "Given", delete_place);
    const UrlLock lock(write(url));
    if (!Tool::item_exists(url))
        throw missing_item(delete_place("Couldn't delete the item, because it doesn't exist."),
                           url);
    pause_in_test_mode(std::chrono::seconds(1));

    const RecordKey key = record_key_of_entry(url);
    remove_item(url, removed);
    delete_records(key, url);
}

std::shared_ptr<DeleteOperation> delete_item(Url url, DeleteOperation::StatusClosure status_closure)
{
    return start_request<DeleteOperation>(
        std::move(status_closure),
        [url = std::move(url)](Request<DeleteOperation>& request) -> DeleteOperation::Status {
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
            request.tally().expect(-1, items_to_delete(url, [&] { request.wait_while_paused(); }));
            delete_for(request, url);
            return status::success{};
        });
}

} // namespace orv
