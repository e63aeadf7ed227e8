#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The move of several items into one folder, one after the other, up to the first failure.
///
/// Statuses: any number of `conflict_occured`, and the final status. Items moved before a cancel or
/// an error stay at their new places.
class MultiMoveOperation final : public OrvOperation {
public:
    using Status =
        std::variant<status::conflict_occured, status::error, status::success, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
