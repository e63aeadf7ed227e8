#pragma once

#include "utility/StopWatch.hpp"

#include <orv/utility/FunctionRef.hpp>

namespace orv {

/// Asks whether a request was cancelled, at most every half second, however often it is told to.
class CancelPoll {
public:
    /// `check_cancelled` throws when the request was cancelled.
    explicit CancelPoll(FunctionRef<void()> check_cancelled) : check_cancelled_(check_cancelled) {}

    void operator()()
    {
        if (since_last_.elapsed_time() <= interval_s)
            return;
        since_last_.reset();
        check_cancelled_();
    }

private:
    static constexpr double interval_s = 0.5;

    FunctionRef<void()> check_cancelled_;
    StopWatch since_last_;
};

} // namespace orv
