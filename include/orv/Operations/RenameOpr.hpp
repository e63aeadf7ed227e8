#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// A new name for an item in its folder. Its attributes and those of everything below follow, and
/// its modification date becomes the present time. It cannot be cancelled.
///
/// If the date alone cannot be set, it ends as an error, with the item under its new name.
class RenameOperation final : public OrvOperation {
public:
    using Status = std::variant<status::error, status::success>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
