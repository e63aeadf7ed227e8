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

/// A share of the descriptors the process may open. All requests together stay within the limit.
/// The application and short work without a lease keep a part of it.
///
/// Whoever holds a lease must not wait for another one.
///
/// Threading: any one thread at a time.
class [[nodiscard]] DescriptorLease {
public:
    /// A share without a wait. None while others wait, or if too little is left. The first lease
    /// succeeds however low the limit is.
    static std::optional<DescriptorLease> try_take(DescriptorNeed need);

    DescriptorLease(DescriptorLease&& other) noexcept : count_(std::exchange(other.count_, 0)) {}
    DescriptorLease& operator=(DescriptorLease&&) = delete;
    /// Gives the share to the waiting, in order of arrival.
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

    /// Waits for the share. None after a call of `give_up`.
    std::optional<DescriptorLease> wait();

    /// Threading: any.
    void give_up();

private:
    std::unique_ptr<DescriptorWaiter> waiter_;
};

} // namespace orv
