#pragma once

#include "archive/Zip.hpp"
#include "utility/StopWatch.hpp"

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <thread>

namespace orv::archive {

/// What the application's progress callback threw, on its way out.
struct CallbackThrew {
    std::exception_ptr what;
};

/// One request as its caller sees it: how far it is, and whether it is to end.
///
/// Threading: `check` and `add` may be called on any thread, everything else on the caller's.
class Job {
public:
    Job(std::shared_ptr<Zip::Canceller> canceller, bool test_mode, const Zip::Progress& progress);

    [[nodiscard]] bool test_mode() const { return test_mode_; }

    /// Throws an `Exception` when the request was cancelled.
    void check() const;

    void set_total(std::uint64_t units) { total_ = units; }
    void add(std::uint64_t units) { done_.fetch_add(units, std::memory_order_relaxed); }

    /// Tells the caller how far the request is.
    void report(const Url& item);

    /// Reports, if the last time was long ago and this is the caller's thread.
    ///
    /// Threading: any.
    void report_if_due(const Url& item);

    /// The pause after an item in test mode.
    void pause() const;

private:
    const std::shared_ptr<Zip::Canceller> canceller_;
    const bool test_mode_;
    const Zip::Progress& progress_;
    const std::thread::id thread_ = std::this_thread::get_id();
    std::uint64_t total_ = 0;
    std::atomic<std::uint64_t> done_ = 0;
    float reported_ = 0;
    StopWatch since_report_;
};

} // namespace orv::archive
