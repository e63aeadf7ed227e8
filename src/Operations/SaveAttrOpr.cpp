#include "Operations/frame/Request.hpp"
#include "Operations/undo/AttributeSteps.hpp"

#include <orv/Operations/SaveAttrOpr.hpp>

namespace orv {

std::shared_ptr<SaveAttrOperation>
save_all_custom_attrs(const std::vector<FileItem>& items, bool auto_update_order_numbers,
                      SaveAttrOperation::StatusClosure status_closure)
{
    std::vector<CustomAttributes> attributes;
    attributes.reserve(items.size());
    for (const FileItem& item : items)
        attributes.push_back(item.custom_attributes);
    return start_request<SaveAttrOperation>(
        std::move(status_closure),
        [attributes = std::move(attributes), auto_update_order_numbers](
            Request<SaveAttrOperation>& request) -> SaveAttrOperation::Status {
            const auto count = static_cast<std::int64_t>(attributes.size());
            request.tally().expect(-1, count);
            const AttributesBefore before(attributes);
            save_all(attributes, auto_update_order_numbers);
            for (UndoStep& step : before.changes())
                request.add_undo_step(std::move(step));
            request.tally().add_items(count);
            return status::success{};
        });
}

} // namespace orv
