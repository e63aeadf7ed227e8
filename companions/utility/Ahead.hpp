#pragma once

#include <exception>
#include <functional>
#include <memory>

namespace orv {

/// Work begun before its result is needed, on threads of the worker pool. If those are busy
/// elsewhere, the taker does the work.
///
/// Threading: one thread adds and waits.
class Ahead {
public:
    class Task;
    using Handle = std::shared_ptr<Task>;

    /// Works on up to `threads` threads besides the waiting one.
    explicit Ahead(unsigned threads);
    /// Gives up work not yet begun, and waits for the rest.
    ~Ahead();
    Ahead(const Ahead&) = delete;
    Ahead& operator=(const Ahead&) = delete;

    Handle add(std::function<void()> work);

    /// True if the work is done, after a wait of no longer than 20 ms, unless it is done here.
    /// Throws the work's exception.
    bool done_in_a_moment(const Handle& task);

private:
    class Shop;
    std::shared_ptr<Shop> shop_;
};

} // namespace orv
