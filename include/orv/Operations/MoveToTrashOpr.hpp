#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>
#include <orv/Operations/TrashedItem.hpp>
#include <orv/utility/Error.hpp>

#include <functional>
#include <variant>
#include <vector>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The throwing away of items: each goes to the trash of its volume, and comes back by a restore.
///
/// Never deletes an item instead. If an item is missing or its volume has no trash, the request
/// fails before any change. After a later failure or a cancel the earlier items are in the trash.
class MoveToTrashOperation final : public OrvOperation {
public:
    struct success {
        std::vector<TrashedItem> items; ///< as they lie in the trash now, in the order asked for
        std::vector<Error> unused;      ///< trash folders passed over, and why
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
