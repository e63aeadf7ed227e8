#include "CustomAttributes/CustomSortFlags.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"

#include <algorithm>

namespace orv {
namespace {

bool has_order_no(const CustomAttributes& attributes)
{
    return attributes.order_no.has_value();
}

} // namespace

void update_custom_sort_flags(const Url& folder, const std::vector<CustomAttributes>& attributes)
{
    const bool is_sorted = std::any_of(attributes.begin(), attributes.end(), has_order_no);
    CustomAttributes flags = CustomAttributes::fetch(folder).value_or(CustomAttributes{folder});
    if (is_sorted)
        flags.is_custom_sorted = flags.was_custom_sorted_at_least_once = true;
    else if (flags.is_custom_sorted && !RecCustomAttr::any_order_no_inside(record_key(folder)))
        flags.is_custom_sorted = false;
    else
        return;
    save_all({flags}, false);
}

} // namespace orv
