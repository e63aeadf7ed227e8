#pragma once

#include "archive/Zip.hpp"
#include "utility/StopWatch.hpp"

#include <atomic>
#include <cstdint>
#include <exception>
#include <memory>
#include <thread>

namespace orv::archive {

/// An exception of the application's progress callback, on its way out.
struct CallbackThrew {
    std::exception_ptr what;
};

/// One request from its caller's side: its progress, and its end.
///
/// Threading: any thread for `check` and `add`, the caller's for everything else.
class Job {
public:
    Job(std::shared_ptr<Zip::Canceller> canceller, bool test_mode, const Zip::Progress& progress);

    [[nodiscard]] bool test_mode() const { return test_mode_; }

    /// Waits while the request is paused. Then throws an `Exception` if it was cancelled.
    void check() const;

    void set_total(std::uint64_t bytes, std::uint64_t items)
    {
        bytes_total_ = bytes;
        items_total_ = items;
    }
    /// Makes the end of the work, at a call of `add_end`, a part of the progress.
    void expect_end() { ends_total_ = 1; }
    void add_end() { ends_ = 1; }

    void add_bytes(std::uint64_t count) { bytes_.fetch_add(count, std::memory_order_relaxed); }
    void add_item() { items_.fetch_add(1, std::memory_order_relaxed); }

    /// Tells the caller about a left-out item.
    void leave_out(const Error& reason) const;

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
    std::uint64_t bytes_total_ = 0;
    std::uint64_t items_total_ = 0;
    std::uint64_t ends_total_ = 0;
    std::uint64_t ends_ = 0;
    std::atomic<std::uint64_t> bytes_ = 0;
    std::atomic<std::uint64_t> items_ = 0;
    float reported_ = 0;
    StopWatch since_report_;
};

} // namespace orv::archive
