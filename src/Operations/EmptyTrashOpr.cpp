#include "Operations/EmptyTrashOpr.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/LockTurn.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/trash/TrashedItems.hpp"
#include "trash/Trashes.hpp"

#include <algorithm>
#include <exception>
#include <span>
#include <utility>
#include <vector>

namespace orv {
namespace {

using EmptyRequest = Request<EmptyTrashOperation>;

constexpr ErrorPlace empty_place{"src/Operations/EmptyTrashOpr",
                                 "empty_trash(older_than:status_closure:)"};

constexpr std::size_t destroyed_at_once = 256;

/// The records of deleted items, which go in one write: at the latest with the end of its life.
class DestroyedRecords {
public:
    DestroyedRecords() = default;
    ~DestroyedRecords()
    {
        try {
            write();
        } catch (const std::exception&) {
            return; // a cancel ends the request anyway
        }
    }
    DestroyedRecords(const DestroyedRecords&) = delete;
    DestroyedRecords& operator=(const DestroyedRecords&) = delete;

    void add(RecordKey key) { keys_.push_back(std::move(key)); }

    /// Errors: those of the database.
    void write()
    {
        const auto keys = std::exchange(keys_, {});
        if (keys.empty() || !RecCustomAttr::any_records())
            return;
        shared_db_manager().db().save_point([&] {
            for (const RecordKey& key : keys)
                RecCustomAttr::delete_records(key);
        });
    }

private:
    std::vector<RecordKey> keys_;
};

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
        done_ = 0;
        expected_ = entries.size();
        for (std::span<const TrashEntry> rest = entries; !rest.empty();) {
            const std::size_t count = std::min(rest.size(), destroyed_at_once);
            destroy(trash, rest.first(count));
            rest = rest.subspan(count);
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

    /// Deletes some items, with one lock and one write to the database.
    void destroy(TrashFolder& trash, std::span<const TrashEntry> entries)
    {
        if (const auto lock = locked(trash, entries))
            return destroy_locked(trash, entries);
        if (entries.size() > 1) // a request uses one of them
            for (std::size_t i = 0; i < entries.size(); ++i)
                destroy(trash, entries.subspan(i, 1));
    }

    void destroy_locked(TrashFolder& trash, std::span<const TrashEntry> entries)
    {
        DestroyedRecords records;
        for (const TrashEntry& entry : entries) {
            request_.check_cancelled();
            report_next(trash, entry);
            destroy(trash, entry, records);
        }
        try {
            records.write();
        } catch (const Error& cause) {
            note(cause);
        }
    }

    std::optional<LocationLock> locked(const TrashFolder& trash,
                                       std::span<const TrashEntry> entries)
    try {
        std::vector<LockType> locks;
        for (const TrashEntry& entry : entries)
            locks.push_back(write(trash.url_of(entry.name)));
        return LocationLock(std::move(locks));
    } catch (const Error& cause) {
        if (entries.size() == 1)
            note(cause);
        return std::nullopt;
    }

    void report_next(const TrashFolder& trash, const TrashEntry& entry)
    {
        const auto part = static_cast<float>(done_++) / static_cast<float>(expected_);
        request_.report_soon(status::progress<GeneralProgress>{{trash.url_of(entry.name), part}});
    }

    void destroy(TrashFolder& trash, const TrashEntry& entry, DestroyedRecords& records)
    try {
        const Url url = trash.url_of(entry.name);
        RecordKey key = record_key_of_entry(url);
        trash.destroy(entry);
        records.add(std::move(key));
        ++count_;
        request_.tally().add_items(1);
        request_.tally().add_result(url);
    } catch (const Error& cause) {
        note(cause);
    }

    void note(const Error& cause)
    {
        if (!first_failure_)
            first_failure_ = empty_place("Couldn't delete an item in the trash.").because_of(cause);
    }

    EmptyRequest& request_;
    std::optional<TrashInfo::Date> limit_;
    std::int64_t count_ = 0;
    std::size_t done_ = 0; // in the current trash folder
    std::size_t expected_ = 0;
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
