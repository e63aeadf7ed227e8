#include "Operations/EmptyTrashOpr.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Operations/trash/TrashedItems.hpp"
#include "trash/Trashes.hpp"

#include <algorithm>
#include <utility>

namespace orv {
namespace {

using EmptyRequest = Request<EmptyTrashOperation>;

constexpr ErrorPlace empty_place{"src/Operations/EmptyTrashOpr",
                                 "empty_trash(older_than:status_closure:)"};

/// One emptying of all trash folders.
class Emptying {
public:
    Emptying(EmptyRequest& request, std::optional<std::chrono::seconds> older_than)
        : request_(request)
    {
        if (older_than)
            limit_ = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now()) -
                     *older_than;
    }

    void empty(TrashFolder& trash)
    {
        std::vector<TrashEntry> entries = trash.entries();
        if (limit_)
            note_unreadable(entries);
        std::erase_if(entries, [&](const TrashEntry& entry) { return !is_meant(entry); });
        for (std::size_t i = 0; i < entries.size(); ++i) {
            request_.check_cancelled();
            request_.report_soon(status::progress<GeneralProgress>{
                {trash.url_of(entries[i].name),
                 static_cast<float>(i) / static_cast<float>(entries.size())}});
            destroy(trash, entries[i]);
        }
        keep_sizes_of_folders_in(trash);
        trash.remove_stray_infos();
    }

    /// A trash folder that did not open is not empty. Folders of other users were not meant.
    [[nodiscard]] EmptyTrashOperation::Status outcome(const Trashes::Unused& unused)
    {
        for (const Error& error : unused)
            if (error.kind() == Error::Kind::platform && !first_failure_)
                first_failure_ = empty_place("Couldn't open a trash folder.").because_of(error);
        if (first_failure_)
            throw *first_failure_;
        return EmptyTrashOperation::success{count_};
    }

private:
    /// With a limit, items without a date stay.
    [[nodiscard]] bool is_meant(const TrashEntry& entry) const
    {
        return !limit_ || (entry.info && entry.info->date && *entry.info->date < *limit_);
    }

    void note_unreadable(const std::vector<TrashEntry>& entries)
    {
        for (const TrashEntry& entry : entries)
            if (entry.failure && !first_failure_)
                first_failure_ = empty_place("Couldn't read the date of an item in the trash.")
                                     .because_of(*entry.failure);
    }

    void destroy(TrashFolder& trash, const TrashEntry& entry)
    try {
        const Url url = trash.url_of(entry.name);
        const UrlLock lock(write(url));
        const RecordKey key = record_key_of_entry(url);
        trash.destroy(entry);
        RecCustomAttr::delete_records(key);
        ++count_;
        request_.tally().add_items(1);
        request_.tally().add_result(url);
    } catch (const Error& cause) {
        if (!first_failure_)
            first_failure_ = empty_place("Couldn't delete an item in the trash.").because_of(cause);
    }

    EmptyRequest& request_;
    std::optional<TrashInfo::Date> limit_;
    std::int64_t count_ = 0;
    std::optional<Error> first_failure_;
};

EmptyTrashOperation::Status run(EmptyRequest& request,
                                std::optional<std::chrono::seconds> older_than)
{
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
    Emptying emptying(request, older_than);
    Trashes trashes;
    trashes.for_each([&](TrashFolder& trash) { emptying.empty(trash); });
    request.report_all_held();
    request.set_done();
    return emptying.outcome(trashes.unused());
}

} // namespace

std::shared_ptr<EmptyTrashOperation> empty_trash(std::optional<std::chrono::seconds> older_than,
                                                 EmptyTrashOperation::StatusClosure status_closure)
{
    return start_request<EmptyTrashOperation>(
        std::move(status_closure),
        [older_than](EmptyRequest& request) { return run(request, older_than); });
}

} // namespace orv
