#include "Operations/RecordCopies.hpp"

#include "Global/TestMode.hpp"

namespace orv {
namespace {

constexpr std::size_t max_waiting = 256;
constexpr double max_delay_s = 0.010;

RecordKey key_in(const RecordKey& folder, const std::string& relative_path)
{
    return relative_path.empty() ? folder : folder.appending(relative_path);
}

} // namespace

RecordCopies::RecordCopies(const Url& source, const Url& destination, Pace pace)
    : source_(record_key(source)), destination_(record_key_of_entry(destination)),
      any_(RecCustomAttr::any_records_below(source_)), pace_(pace)
{
}

void RecordCopies::add(const std::string& relative_path)
{
    if (!any_)
        return;
    if (waiting_.empty())
        waiting_since_.reset();
    waiting_.push_back({key_in(source_, relative_path), key_in(destination_, relative_path)});
    if (pace_ == Pace::at_the_end)
        return;
    if (waiting_.size() >= max_waiting || waiting_since_.elapsed_time() > max_delay_s ||
        intr_test_mode())
        write();
}

void RecordCopies::write()
{
    if (waiting_.empty())
        return;
    RecCustomAttr::duplicate_each_record(waiting_);
    waiting_.clear();
}

} // namespace orv
