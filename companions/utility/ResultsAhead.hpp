#pragma once

#include "utility/Ahead.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <algorithm>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <thread>
#include <utility>

namespace orv {

/// Results computed ahead on all cores, in the order of their work.
///
/// Threading: one thread adds and takes.
template <class Result>
class ResultsAhead {
public:
    /// Takes `most` pieces of work before it is full.
    explicit ResultsAhead(std::size_t most)
        : most_(most), ahead_(std::max(1U, std::thread::hardware_concurrency()) - 1)
    {
    }

    [[nodiscard]] bool is_empty() const { return drafts_.empty(); }
    [[nodiscard]] bool is_full() const { return drafts_.size() >= most_; }

    void add(std::function<Result()> work)
    {
        const auto result = std::make_shared<Result>();
        drafts_.push_back(
            {result, ahead_.add([result, work = std::move(work)] { *result = work(); })});
    }

    /// The first result; there must be one. Calls `meanwhile` now and then during a wait; an
    /// exception from it ends the wait.
    ///
    /// Errors: exceptions of the work.
    Result take(FunctionRef<void()> meanwhile)
    {
        while (!ahead_.done_in_a_moment(drafts_.front().task))
            meanwhile();
        const auto result = std::move(drafts_.front().result);
        drafts_.pop_front();
        return std::move(*result);
    }

private:
    struct Draft {
        std::shared_ptr<Result> result;
        Ahead::Handle task;
    };

    const std::size_t most_;
    std::deque<Draft> drafts_;
    Ahead ahead_; // last: no thread may work on destroyed members
};

} // namespace orv
