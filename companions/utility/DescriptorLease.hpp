#pragma once

#include <memory>
#include <optional>
#include <utility>

namespace orv {

struct DescriptorWaiter;

/// How many descriptors a piece of work opens at once: it gets on with `least`, and is no faster
/// with more than `most`.
struct DescriptorNeed {
    int least;
    int most;
};

/// A share of the descriptors that the process may open, so that all requests together stay within
/// the limit. A part of the limit is left to the application and to short work without a lease.
///
/// Whoever holds a lease must not wait for another one.
///
/// Threading: any one thread at a time.
class [[nodiscard]] DescriptorLease {
public:
    /// A share without waiting. None while others wait, or when too little is left. When nobody
    /// has a lease, it is granted however low the limit is.
    static std::optional<DescriptorLease> try_take(DescriptorNeed need);

    DescriptorLease(DescriptorLease&& other) noexcept : count_(std::exchange(other.count_, 0)) {}
    DescriptorLease& operator=(DescriptorLease&&) = delete;
    /// Gives the share to those who wait, in the order in which they came.
    ~DescriptorLease();

    /// How many descriptors it is for.
    [[nodiscard]] int count() const { return count_; }

private:
    friend class DescriptorTurn;
    explicit DescriptorLease(int count) : count_(count) {}

    int count_;
};

/// A place in the line of those who wait for a lease.
class DescriptorTurn {
public:
    explicit DescriptorTurn(DescriptorNeed need);
    ~DescriptorTurn();
    DescriptorTurn(const DescriptorTurn&) = delete;
    DescriptorTurn& operator=(const DescriptorTurn&) = delete;

    /// Waits for the share. None once `give_up` was called.
    std::optional<DescriptorLease> wait();

    /// Threading: any.
    void give_up();

private:
    std::unique_ptr<DescriptorWaiter> waiter_;
};

} // namespace orv
