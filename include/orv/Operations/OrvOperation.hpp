#pragma once

#include <orv/Operations/Failure.hpp>
#include <orv/Operations/Progress.hpp>
#include <orv/utility/Url.hpp>

#include <atomic>
#include <functional>
#include <memory>
#include <vector>

namespace orv {

struct OperationState;

/// A request at work: its state, how far it has come, and the way to pause and to cancel it.
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

    /// The finished part, for a timer to poll. Every request fills in the figures it knows.
    ///
    /// Threading: any; never waits for the main thread.
    [[nodiscard]] Amount amount() const;

    /// The finished items of the request, in order: new and moved items under their new names,
    /// deleted items under their old ones. A list, a search and a measurement have no results, and
    /// a partial item is none either.
    ///
    /// Threading: any; never waits for the main thread.
    [[nodiscard]] std::vector<Url> results() const;

    /// The items the request passed over, in order: folders closed to a listing, a search or a sum,
    /// and items an archive cannot hold. The error at the end of a request is none of them.
    ///
    /// Threading: any; never waits for the main thread.
    [[nodiscard]] std::vector<Failure> failures() const;

    /// Stops the work between two items or two parts of a file, until `resume()` or `cancel()`. The
    /// request keeps its locks meanwhile. A request of a single step goes on to its end. Does
    /// nothing after a cancel or the end.
    ///
    /// Threading: any; never waits for the main thread.
    void pause();
    void resume();

    /// True from `pause()` on until `resume()`, a cancel or the end.
    ///
    /// Threading: any; never waits for the main thread.
    [[nodiscard]] bool is_paused() const;

protected:
    OrvOperation();

private:
    friend class OperationAccess;

    bool is_busy_ = false;                   // main thread only
    std::atomic<bool> is_cancelled_ = false; // set on the main thread only
    /// Stops the part of the work now under way.
    std::function<void()> cancel_part_;     // main thread only
    std::shared_ptr<OperationState> state_; // shared with the parts of the same request
};

} // namespace orv
