#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <cstdint>
#include <functional>
#include <variant>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The sum of the sizes of all files inside a folder, at every depth, hidden ones included.
class FolderSizeOperation final : public OrvOperation {
public:
    struct success {
        std::int64_t folder_size = 0; ///< bytes
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv

#pragma pop_macro("Status")
