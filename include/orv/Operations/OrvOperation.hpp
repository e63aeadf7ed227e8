#pragma once

#include <atomic>
#include <functional>

namespace orv {

/// A request that was made: whether it is still under way, and the way to cancel it.
///
/// Operations come from the facades. An operation serves one request; dropping the pointer to it
/// changes nothing.
class OrvOperation {
public:
    virtual ~OrvOperation() = default;
    OrvOperation(const OrvOperation&) = delete;
    OrvOperation& operator=(const OrvOperation&) = delete;

    /// True from the moment the request is accepted until just before its final status is
    /// delivered.
    ///
    /// Threading: any; off the main thread it waits for it.
    [[nodiscard]] virtual bool is_busy() const;

    /// True once `cancel()` was called; never reset.
    ///
    /// Threading: any; off the main thread it waits for it.
    [[nodiscard]] virtual bool is_cancelled() const;

    /// Asks the request to stop, and returns. It ends with the status `cancelled` at its next
    /// check; a request that has no such status goes on to its end.
    ///
    /// Threading: any; off the main thread it waits for it.
    virtual void cancel();

protected:
    OrvOperation() = default;

private:
    friend class OperationAccess;

    bool is_busy_ = false;                   // main thread only
    std::atomic<bool> is_cancelled_ = false; // set on the main thread only
    /// Stops what does a part of the work at this moment.
    std::function<void()> cancel_part_; // main thread only
};

} // namespace orv
