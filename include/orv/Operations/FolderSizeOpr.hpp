#pragma once

#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <cstdint>
#include <functional>
#include <variant>

namespace orv {

/// The sum of the sizes of all files inside a folder, at every depth, hidden ones included.
class FolderSizeOperation final : public OrvOperation {
public:
    struct success {
        std::int64_t folder_size; ///< bytes
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv
