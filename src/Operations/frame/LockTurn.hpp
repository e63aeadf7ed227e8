#pragma once

#include "Operations/frame/UrlLocker.hpp"

#include <cstddef>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace orv {

/// Locks on any number of locations, for its lifetime.
class [[nodiscard]] LocationLock {
public:
    /// Registers all of `wanted` or none. They may lie in each other. The links among the folders
    /// of each are resolved already.
    ///
    /// Errors: "Source item is being written by another operation."; "Source item is being read by
    /// another operation."
    explicit LocationLock(std::vector<LockType> wanted);
    ~LocationLock();
    LocationLock(LocationLock&& other) noexcept
        : registration_(std::exchange(other.registration_, UrlLocker::Registration{}))
    {
    }
    LocationLock& operator=(LocationLock&&) = delete;

private:
    friend class LockTurn;
    explicit LocationLock(UrlLocker::Registration registration) : registration_(registration) {}

    UrlLocker::Registration registration_;
};

/// A place in the line for locations. A turn comes once none of its locations is locked, or wanted
/// by an earlier one. The waiting lock nothing, so nobody waits for ever.
class LockTurn {
public:
    /// `wanted` is as for `LocationLock`.
    explicit LockTurn(std::vector<LockType> wanted);
    ~LockTurn();
    LockTurn(const LockTurn&) = delete;
    LockTurn& operator=(const LockTurn&) = delete;

    /// Waits for the locations. None after a call of `give_up`.
    ///
    /// Threading: background.
    std::optional<LocationLock> wait();

    /// Threading: any.
    void give_up();

    /// The number of those in the line.
    ///
    /// Threading: any.
    [[nodiscard]] static std::size_t count();

    struct Waiter;

private:
    std::shared_ptr<Waiter> waiter_;
};

} // namespace orv
