#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The move of one item, a folder with everything in it, and of its attributes.
///
/// Statuses: at most one `conflict_occured`, never mergeable, and the final status. A move runs to
/// its end once it has begun: after a late cancel it ends as `cancelled`, with the item at its new
/// place. After an error the item is where it was, or whole at its destination.
class MoveOperation final : public OrvOperation {
public:
    using Status =
        std::variant<status::conflict_occured, status::error, status::success, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
