#include "Operations/transfer/TransferMeter.hpp"

#include <algorithm>

namespace orv {
namespace {

constexpr double interval_s = 0.1;

// Making a file costs about as much as copying so many bytes.
constexpr double bytes_an_item = 32 * 1024;

float part_done(const TransferProgress& progress)
{
    const auto weight = [](std::int64_t bytes, std::int64_t items) {
        return static_cast<double>(bytes) + bytes_an_item * static_cast<double>(items);
    };
    const double total = weight(progress.bytes_total, progress.items_total);
    const double done = weight(progress.bytes_done, progress.items_done);
    return total > 0 ? static_cast<float>(std::clamp(done / total, 0.0, 1.0)) : 0;
}

} // namespace

void TransferMeter::expect(std::int64_t items, std::int64_t bytes)
{
    progress_.items_total += items;
    progress_.bytes_total += bytes;
    request_.tally().expect(progress_.bytes_total, progress_.items_total);
}

void TransferMeter::begin(const Url& item)
{
    request_.check_cancelled();
    bytes_of_item_ = 0;
    progress_.item = item;
    if (!was_told_ || since_told_.elapsed_time() >= interval_s)
        tell();
}

void TransferMeter::add_bytes(std::int64_t bytes)
{
    request_.check_cancelled();
    bytes_of_item_ += bytes;
    count(0, bytes);
    tell_if_due();
}

void TransferMeter::end_item(std::int64_t bytes)
{
    count(1, bytes - bytes_of_item_);
    bytes_of_item_ = 0;
}

void TransferMeter::add(std::int64_t items, std::int64_t bytes)
{
    count(items, bytes);
    tell_if_due();
}

void TransferMeter::count(std::int64_t items, std::int64_t bytes)
{
    progress_.items_done += items;
    progress_.bytes_done += bytes;
    request_.tally().add_items(items);
    request_.tally().add_bytes(bytes);
}

void TransferMeter::complete()
{
    progress_.bytes_done = progress_.bytes_total;
    progress_.items_done = progress_.items_total;
    tell();
}

void TransferMeter::tell()
{
    // Growth meanwhile must not show as more than the total.
    progress_.bytes_total = std::max(progress_.bytes_total, progress_.bytes_done);
    progress_.items_total = std::max(progress_.items_total, progress_.items_done);
    progress_.value = part_done(progress_);
    was_told_ = true;
    since_told_.reset();
    request_.report(status::progress<TransferProgress>{progress_});
}

void TransferMeter::tell_if_due()
{
    if (since_told_.elapsed_time() >= interval_s)
        tell();
}

} // namespace orv
