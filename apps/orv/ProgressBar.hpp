#pragma once

#include "PausingClock.hpp"

#include <orv/Operations/Progress.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace orv::app {

/// The progress of a copy or write, on one line of the terminal: percentage, bytes, rate, remaining
/// time and the current item. Draws at most ten times a second.
class ProgressBar {
public:
    /// One that is not `shown` never draws.
    explicit ProgressBar(bool shown) : shown_(shown) {}

    /// Starts the measurement; nothing is drawn before.
    void start();

    /// The bytes of the whole copy; without them the line shows none.
    void set_total(std::int64_t bytes) { total_ = bytes; }

    void set_progress(const CopyProgress& progress) { progress_ = progress; }

    /// Draws, unless it has just done so.
    void draw_if_due();

    /// Draws for the bar, and the bar must outlive it; empty if the bar never draws.
    [[nodiscard]] std::function<void()> ticker();

    /// Draws the finished copy, if it was started, and leaves it on the terminal.
    void finish();

private:
    void draw() const;
    [[nodiscard]] std::string line(std::size_t columns) const;
    [[nodiscard]] std::string amounts() const;
    [[nodiscard]] double elapsed_seconds() const;
    void update_speed();

    bool shown_;
    PausingClock clock_;
    PausingClock::TimePoint now_; ///< the latest request to draw
    std::optional<PausingClock::TimePoint> start_;
    std::optional<std::int64_t> total_;
    CopyProgress progress_;
    PausingClock::TimePoint drawn_;
    float value_when_drawn_ = 0;
    double speed_ = 0; ///< of the whole copy, per second
};

} // namespace orv::app
