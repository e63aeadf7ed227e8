#include "Misc/OrderKey.hpp"

#include "utility/NaturalOrder.hpp"
#include "utility/Text.hpp"

#include <cstdint>
#include <limits>
#include <optional>
#include <utility>

namespace orv {
namespace {

/// Eight bytes in the order of the numbers.
std::string bytes_of(std::int64_t number)
{
    const std::uint64_t from_zero =
        static_cast<std::uint64_t>(number) + (std::uint64_t{1} << 63U); // the least becomes 0
    std::string bytes(8, '\0');
    for (std::size_t i = 0; i < bytes.size(); ++i)
        bytes[i] = static_cast<char>(from_zero >> (56 - 8 * i));
    return bytes;
}

std::string date_rank(const std::optional<FileItem::Date>& date)
{
    return date ? "1" + bytes_of(date->time_since_epoch().count()) : "0";
}

/// Numbered items come first.
std::string custom_rank(const std::optional<std::int64_t>& order_no)
{
    return order_no ? "0" + bytes_of(*order_no) : "1";
}

} // namespace

OrderKey OrderKey::of(const FileItem& item, SortType sort)
{
    OrderKey key;
    key.exact_name = item.name;
    key.name = fold_key(item.name);
    key.is_behind_folders = sort.puts_folders_first() && !item.is_plain_dir();
    switch (sort.key()) {
    case SortType::Key::name:
    case SortType::Key::folders_first:
        key.rank = std::exchange(key.name, {}); // it says all
        break;
    case SortType::Key::natural_name:
        key.rank = natural_key(item.name);
        break;
    case SortType::Key::size:
        key.rank = bytes_of(item.size.value_or(0));
        break;
    case SortType::Key::modification_date:
        key.rank = date_rank(item.modification_date);
        break;
    case SortType::Key::extension:
        // Within an extension, names are in the same order.
        key.rank = fold_key(item.ext) + '\0' + key.name;
        break;
    case SortType::Key::custom_order:
        key.rank = custom_rank(item.custom_attributes.order_no);
        break;
    }
    return key;
}

bool comes_before(const OrderKey& one, const OrderKey& other, SortType sort)
{
    if (one.is_behind_folders != other.is_behind_folders)
        return other.is_behind_folders;
    if (const int order = one.rank.compare(other.rank); order != 0)
        return sort.order() == SortOrder::asc ? order < 0 : order > 0;
    if (const int order = one.name.compare(other.name); order != 0)
        return order < 0;
    return one.exact_name < other.exact_name;
}

} // namespace orv
