#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <variant>
#include <vector>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The listing of all items with an attribute, wherever they lie.
///
/// It cannot be cancelled. It fails at an item deleted by another program while its attributes are
/// still stored, or leaves the item out on request.
class FetchByAttrOperation final : public OrvOperation {
public:
    enum class Attribute { is_protected };

    enum class IfGone { fail, leave_out };

    struct success {
        std::vector<FileItem> content;
        std::vector<Url> gone = {}; ///< the items left out
    };

    using Status = std::variant<success, status::error>;
    /// Hands over the status itself, to spare a copy of a long list.
    using StatusClosure = std::function<void(Status)>;
};

} // namespace orv

#pragma pop_macro("Status")
