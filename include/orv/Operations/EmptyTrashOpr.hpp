#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <cstdint>
#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The deletion of the contents of the trash folders of all mounted volumes, for good.
///
/// An item that cannot be deleted stays, the others go all the same, and the request ends with the
/// first error. After a cancel the rest stays.
class EmptyTrashOperation final : public OrvOperation {
public:
    struct success {
        std::int64_t count; ///< of the deleted items
    };

    using Status =
        std::variant<status::progress<GeneralProgress>, success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
