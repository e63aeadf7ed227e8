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
    if (canceller_ && canceller_->is_cancelled())
        throw Exception();
}

void Job::report(const Url& item)
{
    since_report_.reset();
    if (!progress_)
        return;
    const auto done = static_cast<double>(done_.load(std::memory_order_relaxed));
    const auto fraction =
        total_ == 0 ? 1.0F : static_cast<float>(done / static_cast<double>(total_));
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
