#include "Operations/transfer/TransferLog.hpp"

#include <utility>

namespace orv {

TransferLog::TransferLog(const std::vector<Url>& sources, Tally& tally) : tally_(tally)
{
    report_.sources.reserve(sources.size());
    for (const Url& source : sources)
        report_.sources.push_back({source});
}

void TransferLog::begin(std::size_t source, const Url& destination)
{
    report_.sources[source].outcome = Outcome::partly_done;
    report_.sources[source].destination = destination;
}

void TransferLog::end(std::size_t source, Outcome outcome, std::optional<Url> destination)
{
    const bool is_partly = outcome == Outcome::done && is_partly_done(source);
    report_.sources[source].outcome = is_partly ? Outcome::partly_done : outcome;
    if (destination)
        tally_.add_result(*destination);
    report_.sources[source].destination = std::move(destination);
}

void TransferLog::leave_out(std::size_t source, const Url& item, std::optional<Error> error)
{
    partly_done_.insert(source);
    left_out_paths_.insert(item.path());
    if (error)
        tally_.add_failure({item, *error});
    report_.left_out.push_back({item, std::move(error)});
}

void TransferLog::fail_late(std::size_t source, const Url& item, const Error& error)
{
    TransferReport::Source& told = report_.sources[source];
    leave_out(source, item, error);
    const bool is_source = told.destination && error.path() == told.destination;
    told.outcome = is_source ? Outcome::failed : Outcome::partly_done;
}

bool TransferLog::has_left_out_below(const Url& folder) const
{
    const std::string beginning = folder.path() + "/";
    const auto first = left_out_paths_.lower_bound(beginning);
    return first != left_out_paths_.end() && first->starts_with(beginning);
}

bool TransferLog::is_partly_done(std::size_t source) const
{
    return partly_done_.contains(source);
}

} // namespace orv
