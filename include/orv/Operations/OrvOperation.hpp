#pragma once

#include <atomic>
#include <functional>

namespace orv {

/// A request at work: its state, and the way to cancel it.
///
/// Operations come from the facades. An operation serves one request; dropping the pointer to it
/// changes nothing.
class OrvOperation {
public:
    virtual ~OrvOperation() = default;
    OrvOperation(const OrvOperation&) = delete;
    OrvOperation& operator=(const OrvOperation&) = delete;

    /// True from the start of the request until just before its final status.
    ///
    /// Threading: any; off the main thread it waits for it.
    [[nodiscard]] virtual bool is_busy() const;

    /// True after a call of `cancel()`; stays true.
    ///
    /// Threading: any; off the main thread it waits for it.
    [[nodiscard]] virtual bool is_cancelled() const;

    /// Asks the request to stop, and returns at once. The request ends with the status `cancelled`
    /// at its next check. A request without such a status runs to its end.
    ///
    /// Threading: any; off the main thread it waits for it.
    virtual void cancel();

protected:
    OrvOperation() = default;

private:
    friend class OperationAccess;

    bool is_busy_ = false;                   // main thread only
    std::atomic<bool> is_cancelled_ = false; // set on the main thread only
    /// Stops the part of the work now under way.
    std::function<void()> cancel_part_; // main thread only
};

} // namespace orv
