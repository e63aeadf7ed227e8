#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>
#include <vector>

namespace orv {

/// The listing of a folder, or of the whole tree below it.
///
/// A cancel yields no part of the list.
class FetchItemsOperation final : public OrvOperation {
public:
    struct success {
        std::vector<FileItem> content;
    };

    using Status = std::variant<success, status::error, status::cancelled>;
    using StatusClosure = std::function<void(const Status&)>;
};

} // namespace orv
