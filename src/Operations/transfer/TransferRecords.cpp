#include "Operations/transfer/TransferRecords.hpp"

#include "Database/DBManager.hpp"
#include "Global/TestMode.hpp"
#include "Operations/copying/RecordCopies.hpp"

#include <utility>

namespace orv {
namespace {

constexpr std::size_t max_rows_waiting = 256;
constexpr double max_row_delay_s = 0.010;

} // namespace

TransferRecords::TransferRecords(const Url& folder)
    : destination_(record_key(folder)),
      any_at_destination_(RecCustomAttr::any_records_below(destination_))
{
}

void TransferRecords::come_from(const Url& folder)
{
    if (source_folder_ == folder)
        return;
    source_folder_ = folder;
    source_ = record_key(folder);
    any_at_source_ = RecCustomAttr::any_records_below(*source_);
}

void TransferRecords::add(const std::string& from, const std::string& to, Before before)
{
    if (copies_.empty() && stale_.empty())
        waiting_since_.reset();
    if (before == Before::maybe_rows && !is_held_)
        add_stale(to);
    if (any_at_source_)
        copies_.push_back({source_->appending(from), destination_.appending(to)});
    write_if_due();
}

void TransferRecords::hold()
{
    write();
    is_held_ = true;
}

void TransferRecords::release(const std::string& to)
{
    is_held_ = false;
    add_stale(to);
    write();
}

void TransferRecords::drop()
{
    if (std::exchange(is_held_, false))
        copies_.clear();
}

void TransferRecords::write()
{
    if (!stale_.empty())
        shared_db_manager().db().save_point([&] {
            for (const RecordKey& key : stale_)
                RecCustomAttr::delete_records(key);
            RecCustomAttr::duplicate_each_record(copies_);
        });
    else if (!copies_.empty())
        RecCustomAttr::duplicate_each_record(copies_);
    any_at_destination_ = any_at_destination_ || !copies_.empty();
    stale_.clear();
    copies_.clear();
}

void TransferRecords::add_stale(const std::string& to)
{
    if (any_at_destination_)
        stale_.push_back(destination_.appending(to));
}

void TransferRecords::write_if_due()
{
    const std::size_t waiting = stale_.size() + copies_.size();
    if (waiting == 0 || (waiting < max_rows_waiting &&
                         waiting_since_.elapsed_time() < max_row_delay_s && !intr_test_mode()))
        return;
    if (is_held_)
        copies_ = those_with_rows(std::move(copies_));
    else
        write();
}

} // namespace orv
