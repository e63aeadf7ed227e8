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

namespace orv {
namespace {

constexpr ErrorPlace delete_place{"src/Operations/DeleteOpr", "delete(url:status_closure:)"};

void remove_item(const Url& url)
{
    try {
        Tool::remove_item(url);
    } catch (const Error& cause) {
        throw delete_place("Couldn't delete the item.").because_of(cause);
    }
}

/// A power cut must not bring the item back without its records.
void delete_records(const RecordKey& key, const Url& url)
{
    Database& database = shared_db_manager().db();
    if (!database.sync([&] { return RecCustomAttr::any_records_below(key); }))
        return;
    try_to_flush_folder_of(url);
    database.sync([&] { RecCustomAttr::delete_records(key); });
}

} // namespace

void delete_item_and_records(const Url& url, Tally& tally)
{
    check_path(url, "Given", delete_place);
    const UrlLock lock(write(url));
    if (!Tool::item_exists(url))
        throw missing_item(delete_place("Couldn't delete the item, because it doesn't exist."),
                           url);
    pause_in_test_mode(std::chrono::seconds(1));

    const RecordKey key = record_key_of_entry(url);
    remove_item(url);
    delete_records(key, url);
    tally.add_done(url);
}

std::shared_ptr<DeleteOperation> delete_item(Url url, DeleteOperation::StatusClosure status_closure)
{
    return start_request<DeleteOperation>(
        std::move(status_closure),
        [url = std::move(url)](Request<DeleteOperation>& request) -> DeleteOperation::Status {
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
            delete_item_and_records(url, request.tally());
            return status::success{};
        });
}

} // namespace orv
