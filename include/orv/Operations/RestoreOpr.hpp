#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>
#include <orv/utility/Url.hpp>

#include <functional>
#include <variant>
#include <vector>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The way back of items out of the trash, each to its `original_url`, one after the other, up to
/// the first failure.
///
/// Makes missing folders above it. Asks about a taken name; never merges. After a cancel the rest
/// stays in the trash.
class RestoreOperation final : public OrvOperation {
public:
    struct success {
        std::vector<Url> urls; ///< of the items, in the order asked for
    };

    using Status =
        std::variant<status::conflict_occured, success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
