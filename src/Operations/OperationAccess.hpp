#pragma once

#include <orv/Operations/OrvOperation.hpp>

#include <memory>

namespace orv {

/// The parts of an operation that only the library uses.
class OperationAccess {
public:
    /// Marks the operation as accepted.
    ///
    /// Threading: any; off the main thread it waits for it.
    static void activate(OrvOperation& operation);

    /// Marks the operation as done, just before its final status.
    ///
    /// Threading: main thread.
    static void free(OrvOperation& operation);

    /// Accepts `child` as what does a part of the work of `parent`: from now on it is cancelled
    /// with it. False, and nothing happens, when `parent` was cancelled before.
    ///
    /// Threading: any; off the main thread it waits for it.
    static bool start_child(OrvOperation& parent, std::shared_ptr<OrvOperation> child);
    static void end_child(OrvOperation& parent);

    /// Whether the operation was cancelled, without asking the main thread.
    ///
    /// Threading: any.
    [[nodiscard]] static bool was_cancelled(const OrvOperation& operation) noexcept
    {
        return operation.is_cancelled_;
    }
};

} // namespace orv
