#pragma once

#include "Operations/frame/UrlLocker.hpp"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace orv {

/// Any number of locations that are read and written, held for as long as it lives.
class [[nodiscard]] LocationLock {
public:
    /// Registers all of `wanted`, which may lie in each other, or none of them. The links among
    /// the folders of each are resolved already.
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

/// A place in the line of those who wait for locations. They are granted as soon as none of them
/// is held, or wanted by one who came before. Nobody in the line holds anything for it, so nobody
/// waits for ever.
class LockTurn {
public:
    /// `wanted` is as for `LocationLock`.
    explicit LockTurn(std::vector<LockType> wanted);
    ~LockTurn();
    LockTurn(const LockTurn&) = delete;
    LockTurn& operator=(const LockTurn&) = delete;

    /// Waits for the locations. None once `give_up` was called.
    ///
    /// Threading: background.
    std::optional<LocationLock> wait();

    /// Threading: any.
    void give_up();

    struct Waiter;

private:
    std::shared_ptr<Waiter> waiter_;
};

} // namespace orv
