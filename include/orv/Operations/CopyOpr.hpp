#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The copy of one item, a folder with everything in it.
///
/// Statuses: at most one `conflict_occured`, `preparing`, any number of `progress`, the final
/// status. After a cancel or an error complete items stay. A copy that has replaced an item is
/// done.
class CopyOperation final : public OrvOperation {
public:
    using Status =
        std::variant<status::progress<CopyProgress>, status::conflict_occured, status::error,
                     status::preparing, status::success, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
