#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <chrono>
#include <functional>
#include <string>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// Takes back the last request that changed something.
///
/// New items go to the trash. Without a trash, untouched ones are deleted. Moved and thrown-away
/// items go back to their former places, and attributes get their former values. A replaced or
/// deleted item does not come back, so nothing else of its step is taken back either.
///
/// Cancel: between two items. The next undo takes back the rest.
/// Errors: a sentence about a change since the request, before anything happens; those of the
/// moves; "There is nothing to undo."
class UndoOperation final : public OrvOperation {
public:
    struct success {
        std::string done; ///< the work taken back, such as "moving 3 items"
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

/// A request that can be taken back.
struct UndoableRequest {
    std::string sentence; ///< for a menu, such as "Undo moving 3 items"
    std::chrono::sys_seconds date;
    /// An undo was refused, because something has changed. It is tried again; if it is refused
    /// again, the next undo takes the request before back.
    bool was_refused = false;
};

} // namespace orv

#pragma pop_macro("Status")
