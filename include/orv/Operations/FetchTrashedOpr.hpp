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

/// The listing of the items in the trash folders of all mounted volumes.
class FetchTrashedOperation final : public OrvOperation {
public:
    struct success {
        std::vector<TrashedItem> items; ///< the ones thrown away last come first
        std::vector<Error> unused;      ///< trash folders and infos passed over, and why
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
