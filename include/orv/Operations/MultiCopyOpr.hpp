#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The copy of several items into one folder, one after the other, up to the first failure. It
/// measures all of them before it copies the first.
///
/// Statuses: `preparing`, any number of `progress` over the whole batch and of `conflict_occured`,
/// the final status. After a cancel or an error the complete items stay at the destination. With
/// all items copied, a batch that has replaced one is done, and a cancel comes too late.
class MultiCopyOperation final : public OrvOperation {
public:
    using Status =
        std::variant<status::progress<CopyProgress>, status::conflict_occured, status::error,
                     status::preparing, status::success, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
