#include "archive/Job.hpp"

#include <algorithm>
#include <chrono>

namespace orv::archive {
namespace {

constexpr double report_interval = 0.1; // seconds
constexpr double test_mode_pause = 0.2; // seconds

} // namespace

Job::Job(std::shared_ptr<Zip::Canceller> canceller, bool test_mode, const Zip::Progress& progress)
    : canceller_(std::move(canceller)), test_mode_(test_mode), progress_(progress)
{
}

void Job::check() const
{
    if (canceller_ && canceller_->watch().wait_while_paused)
        canceller_->watch().wait_while_paused();
    if (canceller_ && canceller_->is_cancelled())
        throw Exception();
}

void Job::leave_out(const Error& reason) const
{
    if (canceller_ && canceller_->watch().left_out)
        canceller_->watch().left_out(reason);
}

void Job::report(const Url& item)
{
    since_report_.reset();
    const Zip::Amount amount{bytes_.load(std::memory_order_relaxed), bytes_total_,
                             items_.load(std::memory_order_relaxed), items_total_};
    if (canceller_ && canceller_->watch().counted)
        canceller_->watch().counted(amount);
    if (!progress_)
        return;
    // One unit for every byte, every item and the end.
    const auto done = static_cast<double>(amount.bytes_done + amount.items_done + ends_);
    const auto total = static_cast<double>(amount.bytes_total + amount.items_total + ends_total_);
    const auto fraction = total == 0 ? 1.0F : static_cast<float>(done / total);
    reported_ = std::clamp(fraction, reported_, 1.0F);
    try {
        progress_(reported_, item);
    } catch (...) {
        throw CallbackThrew{std::current_exception()};
    }
}

void Job::report_if_due(const Url& item)
{
    if (std::this_thread::get_id() == thread_ && since_report_.elapsed_time() >= report_interval)
        report(item);
}

void Job::pause() const
{
    for (const StopWatch since; test_mode_ && since.elapsed_time() < test_mode_pause;) {
        check();
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
}

} // namespace orv::archive
