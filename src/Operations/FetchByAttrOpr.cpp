#include "Operations/FetchByAttrOpr.hpp"

#include "CustomAttributes/CustomAttributes.hpp"
#include "CustomAttributes/FollowedItems.hpp"
#include "Global/TestMode.hpp"
#include "Operations/frame/Request.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <string_view>

namespace orv {
namespace {

using Attribute = FetchByAttrOperation::Attribute;

/// The condition on the records of the items with the attribute.
std::string_view condition_of(Attribute attribute)
{
    switch (attribute) {
    case Attribute::is_protected:
        break;
    }
    return "is_protected = 1";
}

bool is_gone(const Error& error)
{
    return error.code() == ENOENT || error.code() == ENOTDIR;
}

/// The item with the attributes stored for `url`, there or where another program has moved it.
FileItem item_at_or_near(const Url& url)
{
    try {
        return FileItem(url);
    } catch (const Error& error) {
        const auto place = is_gone(error) && follows_items() ? found_again(url) : std::nullopt;
        if (!place)
            throw;
        return FileItem(*place);
    }
}

FetchByAttrOperation::success items_with(Attribute attribute, FetchByAttrOperation::IfGone if_gone,
                                         Tally& tally)
{
    FetchByAttrOperation::success found;
    for (const auto& [url, attributes] : fetch_attributes_where(condition_of(attribute))) {
        try {
            found.content.push_back(item_at_or_near(url));
        } catch (const Error& error) {
            if (if_gone == FetchByAttrOperation::IfGone::fail || !is_gone(error))
                throw;
            found.gone.push_back(url);
            tally.add_failure({url, error});
            continue;
        }
        FileItem& item = found.content.back();
        item.custom_attributes = attributes;
        item.custom_attributes.url = item.url;
        tally.add_items(1);
    }
    return found;
}

} // namespace

std::shared_ptr<FetchByAttrOperation>
fetch_items_by_attribute(Attribute attribute, std::optional<SortType> sort,
                         FetchByAttrOperation::IfGone if_gone,
                         FetchByAttrOperation::StatusClosure status_closure)
{
    return start_request<FetchByAttrOperation>(
        std::move(status_closure),
        [=](Request<FetchByAttrOperation>& request) -> FetchByAttrOperation::Status {
            FetchByAttrOperation::success found = items_with(attribute, if_gone, request.tally());
            pause_in_test_mode(std::chrono::milliseconds(200));
            if (sort)
                orv_sort(found.content, *sort);
            return found;
        });
}

} // namespace orv
