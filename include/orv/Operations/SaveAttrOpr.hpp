#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/Status.hpp>

#include <functional>
#include <memory>
#include <variant>
#include <vector>

#pragma push_macro("Status") // X11 has one
#undef Status

namespace orv {

/// The storing of custom attributes. It cannot be cancelled.
class SaveAttrOperation final : public OrvOperation {
public:
    using Status = std::variant<status::error, status::success>;
    using StatusClosure = std::function<void(const Status&)>;
};

/// Stores the attributes of all `items`, or of none; see `save_all`. Returns at once.
///
/// Threading: any.
std::shared_ptr<SaveAttrOperation>
save_all_custom_attrs(const std::vector<FileItem>& items, bool auto_update_order_numbers,
                      SaveAttrOperation::StatusClosure status_closure);

} // namespace orv

#pragma pop_macro("Status")
