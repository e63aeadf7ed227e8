#include "Operations/copying/RecordCopies.hpp"

#include "Database/DBManager.hpp"
#include "Global/TestMode.hpp"

#include <algorithm>
#include <iterator>
#include <unordered_set>

namespace orv {
namespace {

constexpr std::size_t max_waiting = 256;
constexpr double max_delay_s = 0.010;

RecordKey key_in(const RecordKey& folder, const std::string& relative_path)
{
    return relative_path.empty() ? folder : folder.appending(relative_path);
}

} // namespace

RecordCopies::RecordCopies(const Url& source, const Url& destination, Onto onto)
    : source_(record_key(source)), destination_(record_key_of_entry(destination)), onto_(onto),
      any_(RecCustomAttr::any_records_below(source_))
{
}

void RecordCopies::add(const std::string& relative_path)
{
    if (relative_path.empty() && onto_ != Onto::folder_to_merge_with)
        any_stale_ = RecCustomAttr::any_records_below(destination_);
    if (!any_)
        return;
    if (waiting_.empty())
        waiting_since_.reset();
    waiting_.push_back({key_in(source_, relative_path), key_in(destination_, relative_path)});
    const bool is_due = waiting_.size() >= max_waiting ||
                        waiting_since_.elapsed_time() > max_delay_s || intr_test_mode();
    if (!is_due)
        return;
    if (onto_ == Onto::replaced_item)
        keep_those_with_rows();
    else
        write();
}

void RecordCopies::write()
{
    if (any_stale_)
        shared_db_manager().db().save_point([&] {
            RecCustomAttr::delete_records(destination_);
            write_noted();
        });
    else
        write_noted();
    any_stale_ = false;
    kept_.clear();
    waiting_.clear();
}

void RecordCopies::write_noted()
{
    for (const std::vector<RecordCopy>* noted : {&kept_, &waiting_})
        if (!noted->empty())
            RecCustomAttr::duplicate_each_record(*noted);
}

/// Keeps the final writes as few as the rows, however many items there are.
void RecordCopies::keep_those_with_rows()
{
    std::vector<RecordCopy> found = those_with_rows(std::move(waiting_));
    std::move(found.begin(), found.end(), std::back_inserter(kept_));
    waiting_.clear();
}

std::vector<RecordCopy> those_with_rows(std::vector<RecordCopy> copies)
{
    std::vector<RecordKey> sources;
    sources.reserve(copies.size());
    for (const RecordCopy& copy : copies)
        sources.push_back(copy.from);
    std::unordered_set<std::string> found;
    for (const RecCustomAttr& record : RecCustomAttr::fetch_all(sources))
        found.insert(record.relative_path);
    std::erase_if(copies,
                  [&](const RecordCopy& copy) { return !found.contains(copy.from.text()); });
    return copies;
}

} // namespace orv
