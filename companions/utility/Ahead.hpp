#pragma once

#include <exception>
#include <functional>
#include <memory>

namespace orv {

/// Work that is begun before its result is needed, on threads of the worker pool. When those are
/// busy elsewhere, whoever needs the result does the work.
///
/// Threading: one thread adds and waits.
class Ahead {
public:
    class Task;
    using Handle = std::shared_ptr<Task>;

    /// Works on up to `threads` threads besides the one that waits.
    explicit Ahead(unsigned threads);
    /// Gives up what nobody has begun, and waits for the rest.
    ~Ahead();
    Ahead(const Ahead&) = delete;
    Ahead& operator=(const Ahead&) = delete;

    Handle add(std::function<void()> work);

    /// Whether the work is done, after waiting for no longer than 20 ms unless it is done here.
    /// Throws what the work threw.
    bool done_in_a_moment(const Handle& task);

private:
    class Shop;
    std::shared_ptr<Shop> shop_;
};

} // namespace orv
