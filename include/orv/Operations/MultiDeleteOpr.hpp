#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The deletion of several items, one after the other, up to the first failure. It cannot be
/// cancelled.
class MultiDeleteOperation final : public OrvOperation {
public:
    using Status = std::variant<status::error, status::success>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
