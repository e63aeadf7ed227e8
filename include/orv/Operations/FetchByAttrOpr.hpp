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

/// The listing of all items that carry an attribute, wherever they lie.
///
/// It cannot be cancelled. An item that was deleted outside of the library while its attributes
/// are still stored makes it fail, or is left out if that is asked for.
class FetchByAttrOperation final : public OrvOperation {
public:
    enum class Attribute { is_protected };

    enum class IfGone { fail, leave_out };

    struct success {
        std::vector<FileItem> content;
        std::vector<Url> gone = {}; ///< items that were left out
    };

    using Status = std::variant<success, status::error>;
    /// Is given the status for good, so that a long list need not be copied.
    using StatusClosure = std::function<void(Status)>;
};

} // namespace orv

#pragma pop_macro("Status")
