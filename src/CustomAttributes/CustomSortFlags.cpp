#include "CustomAttributes/CustomSortFlags.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "CustomAttributes/RecordTree.hpp"
#include "Database/DBManager.hpp"

#include <algorithm>

namespace orv {
namespace {

bool has_order_no(const CustomAttributes& attributes)
{
    return attributes.order_no.has_value();
}

bool any_item_inside_has_order_no(const Url& folder)
{
    const RecordTree tree(record_key(folder));
    std::vector<Argument> arguments;
    for (const Argument& value : tree.ranges())
        arguments.push_back(value);
    for (const Argument& value : tree.direct())
        arguments.push_back(value);

    bool found = false;
    const auto take = [&](const Row&) {
        found = true;
        return false;
    };
    std::string sql = "SELECT 1 FROM custom_attributes WHERE order_no IS NOT NULL AND ";
    sql.append(RecordTree::condition).append(" AND ").append(RecordTree::is_direct);
    shared_db_manager().db().query(sql.append(" LIMIT 1"), arguments, take);
    return found;
}

} // namespace

void update_custom_sort_flags(const Url& folder, const std::vector<CustomAttributes>& attributes)
{
    const bool is_sorted = std::any_of(attributes.begin(), attributes.end(), has_order_no);
    CustomAttributes flags = CustomAttributes::fetch(folder).value_or(CustomAttributes{folder});
    if (is_sorted)
        flags.is_custom_sorted = flags.was_custom_sorted_at_least_once = true;
    else if (flags.is_custom_sorted && !any_item_inside_has_order_no(folder))
        flags.is_custom_sorted = false;
    else
        return;
    save_all({flags}, false);
}

} // namespace orv
