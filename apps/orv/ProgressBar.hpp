#pragma once

#include "PausingClock.hpp"

#include <orv/Operations/Progress.hpp>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace orv::app {

/// How far the copying or writing of data has come, drawn on one line of the terminal: percentage,
/// bytes, rate, remaining time and the item being worked on. Draws at most ten times a second.
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

    /// Does that in the name of the bar, which must outlive it; empty when nothing is ever drawn.
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
    PausingClock::TimePoint now_; ///< when it was asked to draw
    std::optional<PausingClock::TimePoint> start_;
    std::optional<std::int64_t> total_;
    CopyProgress progress_;
    PausingClock::TimePoint drawn_;
    float value_when_drawn_ = 0;
    double speed_ = 0; ///< of the whole copy, per second
};

} // namespace orv::app
