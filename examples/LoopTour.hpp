#pragma once

#include <orv/utility/MainQueue.hpp>

#include <functional>
#include <stdexcept>
#include <thread>

namespace orv::example {

/// What a request does to an application's event loop, without a request: a background thread
/// queues closures, hands some over and waits for them, one of them runs a nested loop as a dialog
/// would, and one throws.
class LoopTour {
public:
    /// `run_once` runs the loop until it has handled something; `quit` ends it.
    LoopTour(std::function<void()> run_once, std::function<void()> quit)
        : run_once_(std::move(run_once)), quit_(std::move(quit)),
          background_([this] { post_closures(); })
    {
    }

    ~LoopTour() { background_.join(); }
    LoopTour(const LoopTour&) = delete;
    LoopTour& operator=(const LoopTour&) = delete;

    /// Everything came about on the main thread, in its order.
    [[nodiscard]] bool is_complete() const { return is_complete_; }

private:
    void post_closures()
    {
        main_async([this] { next_is(1); });
        const int answer = main_sync([this] {
            next_is(2);
            return 42;
        });
        main_async([this] { ask_in_nested_loop(); });
        main_sync([this] { next_is(4); });
        main_sync([this] { is_answered_ = true; });
        main_async([] { throw std::runtime_error("thrown on purpose"); });
        main_async([this, answer] {
            next_is(6);
            is_complete_ = is_in_order_ && answer == 42;
            quit_();
        });
    }

    void ask_in_nested_loop()
    {
        next_is(3);
        while (!is_answered_)
            run_once_();
        next_is(5);
    }

    void next_is(int step)
    {
        is_in_order_ = is_in_order_ && MainQueue::instance().is_main_thread() && step == ++step_;
    }

    std::function<void()> run_once_;
    std::function<void()> quit_;
    int step_ = 0;
    bool is_in_order_ = true;
    bool is_answered_ = false;
    bool is_complete_ = false;
    std::thread background_;
};

} // namespace orv::example
