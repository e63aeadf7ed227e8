#pragma once

#include <orv/Operations/Progress.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace orv::app {

/// How far a copy has come, drawn on one line of the terminal: percentage, bytes, rate, remaining
/// time and the item being copied. Draws at most ten times a second.
class ProgressBar {
public:
    /// One that is not `shown` never draws.
    explicit ProgressBar(bool shown) : shown_(shown) {}

    /// The copy is measured from now on; nothing is drawn before.
    void start();

    /// How many bytes the whole copy has; without it no bytes are told.
    void set_total(std::int64_t bytes) { total_ = bytes; }

    void set_progress(const CopyProgress& progress) { progress_ = progress; }

    /// Draws, unless it has just done so.
    void draw_if_due();

    /// Draws the finished copy, and leaves it on the terminal.
    void finish();

private:
    using Clock = std::chrono::steady_clock;

    void draw() const;
    [[nodiscard]] std::string line(std::size_t columns) const;
    [[nodiscard]] std::string amounts() const;
    [[nodiscard]] double elapsed_seconds() const;
    void update_speed(Clock::time_point now);

    bool shown_;
    std::optional<Clock::time_point> start_;
    std::optional<std::int64_t> total_;
    CopyProgress progress_;
    Clock::time_point drawn_;
    float value_when_drawn_ = 0;
    double speed_ = 0; ///< of the whole copy, per second
};

} // namespace orv::app
