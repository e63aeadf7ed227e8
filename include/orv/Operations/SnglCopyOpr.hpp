#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The copy of one item: a regular file with its content, or a folder without its contents.
///
/// A cancel leaves nothing at the destination. A copy that has replaced an item is done.
class SnglCopyOperation final : public OrvOperation {
public:
    using Status = std::variant<status::progress<CopyProgress>, status::error, status::success,
                                status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
