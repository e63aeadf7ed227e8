#pragma once

#include "Operations/frame/OperationState.hpp"

#include <orv/Operations/OrvOperation.hpp>

#include <functional>
#include <memory>

namespace orv {

/// The parts of an operation for the library alone.
class OperationAccess {
public:
    /// Marks the operation as accepted.
    ///
    /// Threading: any; off the main thread it waits for it.
    static void activate(const std::shared_ptr<OrvOperation>& operation);

    /// Marks the operation as done, just before its final status.
    ///
    /// Threading: main thread.
    static void free(OrvOperation& operation);

    /// From now on a cancel of the operation also calls `cancel_part`, on the main thread. False,
    /// without effect, if the operation was cancelled before.
    ///
    /// Threading: any; off the main thread it waits for it.
    static bool begin_part(OrvOperation& operation, std::function<void()> cancel_part);
    static void end_part(OrvOperation& operation);

    /// True after a cancel, without a question to the main thread.
    ///
    /// Threading: any.
    [[nodiscard]] static bool was_cancelled(const OrvOperation& operation) noexcept
    {
        return operation.is_cancelled_;
    }

    /// Threading: any.
    [[nodiscard]] static OperationState& state(OrvOperation& operation)
    {
        return *operation.state_;
    }

    /// Makes `part` count and pause as `whole`, before anybody uses `part`.
    static void share_state(const OrvOperation& whole, OrvOperation& part)
    {
        part.state_ = whole.state_;
    }
};

} // namespace orv
