#include "Operations/FetchByAttrOpr.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "Global/TestMode.hpp"
#include "Operations/Request.hpp"

#include <string_view>

namespace orv {
namespace {

using Attribute = FetchByAttrOperation::Attribute;

/// What holds for the records of the items that carry the attribute.
std::string_view condition_of(Attribute attribute)
{
    switch (attribute) {
    case Attribute::is_protected:
        break;
    }
    return "is_protected = 1";
}

std::vector<FileItem> items_with(Attribute attribute)
{
    std::vector<FileItem> items;
    for (const auto& [url, attributes] : RecCustomAttr::fetch_all_by_url(condition_of(attribute))) {
        items.emplace_back(url);
        items.back().custom_attributes = attributes;
    }
    return items;
}

} // namespace

std::shared_ptr<FetchByAttrOperation>
fetch_items_by_attribute(Attribute attribute, std::optional<SortType> sort,
                         FetchByAttrOperation::StatusClosure status_closure)
{
    return start_request<FetchByAttrOperation>(
        std::move(status_closure),
        [=](Request<FetchByAttrOperation>&) -> FetchByAttrOperation::Status {
            std::vector<FileItem> items = items_with(attribute);
            pause_in_test_mode(std::chrono::milliseconds(200));
            if (sort)
                orv_sort(items, *sort);
            return FetchByAttrOperation::success{std::move(items)};
        });
}

} // namespace orv
