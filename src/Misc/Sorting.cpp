#include "Misc/Sorting.hpp"

#include "utility/Ahead.hpp"
#include "utility/NaturalOrder.hpp"
#include "utility/Text.hpp"

#include <orv/Misc/FileItem.hpp>

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>

// Every rule becomes one key per item, worked out before the sort, whose `<` is a strict weak
// order; so the standard stable sort stays within bounds and ends on any input. By their letter,
// two of the rules are no such orders, and this is how the keys keep them:
//
// - An undated item goes before any other, also before another undated one. Undated items may
//   therefore change places but need not: all have one key, below (descending: after) every date.
// - Items of equal extension are compared by name; items whose extensions differ in case only are
//   not compared at all. Not all of b.jpg, x.JPG, a.jpg can stand as compared and as they came:
//   what is compared wins, see `order_by_extension`.

namespace orv {
namespace {

/// The items' indices in their new order.
using Order = std::vector<std::size_t>;

/// The items to sort.
struct SortedItems {
    std::size_t count;
    FunctionRef<SortFacts(std::size_t)> facts;
};

/// A folded text behind its first bytes as one number: the number decides nearly every comparison.
struct FoldedText {
    std::uint64_t start = 0;
    std::string_view text;

    std::strong_ordering operator<=>(const FoldedText&) const = default;
};

/// The names of all items in the form for comparisons.
class FoldedNames {
public:
    explicit FoldedNames(const SortedItems& items,
                         std::string (*key_of)(std::string_view) = fold_key)
    {
        begins_.reserve(items.count + 1);
        for (std::size_t i = 0; i < items.count; ++i) {
            begins_.push_back(keys_.size());
            keys_ += key_of(items.facts(i).name);
        }
        begins_.push_back(keys_.size());
    }

    FoldedText operator[](std::size_t index) const
    {
        const std::size_t begin = begins_[index];
        FoldedText result{0, std::string_view(keys_).substr(begin, begins_[index + 1] - begin)};
        for (std::size_t i = 0; i < sizeof(result.start); ++i) {
            const char byte = i < result.text.size() ? result.text[i] : '\0';
            result.start = result.start << 8 | static_cast<unsigned char>(byte);
        }
        return result;
    }

private:
    std::string keys_; // in one piece: a million texts of their own would take twice the memory
    std::vector<std::size_t> begins_;
};

/// `std::stable_sort`, on two cores if it is worth a thread.
template <class Entry, class Before>
void sort_stably(std::vector<Entry>& entries, const Before& before)
{
    constexpr std::size_t least_for_two = 10'000; // takes some 2 ms
    if (entries.size() < least_for_two)
        return std::stable_sort(entries.begin(), entries.end(), before);
    const auto middle = entries.begin() + static_cast<std::ptrdiff_t>(entries.size() / 2);
    Ahead ahead(1);
    const auto second = ahead.add([&] { std::stable_sort(middle, entries.end(), before); });
    std::stable_sort(entries.begin(), middle, before);
    while (!ahead.done_in_a_moment(second)) {
    }
    std::inplace_merge(entries.begin(), middle, entries.end(), before);
}

/// The stable order of `count` things by the key of each index from `key_of`.
template <class KeyOf>
Order order_by(std::size_t count, SortOrder order, const KeyOf& key_of)
{
    struct Entry {
        std::invoke_result_t<const KeyOf&, std::size_t> key;
        std::size_t index;
    };
    std::vector<Entry> entries;
    entries.reserve(count);
    for (std::size_t i = 0; i < count; ++i)
        entries.push_back({key_of(i), i});

    const auto before = [](const Entry& a, const Entry& b) { return a.key < b.key; };
    const auto after = [](const Entry& a, const Entry& b) { return b.key < a.key; };
    if (order == SortOrder::asc)
        sort_stably(entries, before);
    else
        sort_stably(entries, after);

    Order indices;
    indices.reserve(count);
    for (const Entry& entry : entries)
        indices.push_back(entry.index);
    return indices;
}

/// The items' extensions as numbers, in their order.
struct ExtensionRanks {
    std::vector<std::size_t> folded; ///< by item; equal for extensions with different case only
    std::vector<std::size_t> exact;  ///< by item
    std::size_t count = 0;           ///< of exact ones
};

ExtensionRanks extension_ranks(const SortedItems& items)
{
    struct Rank {
        std::size_t folded = 0;
        std::size_t exact = 0;
    };
    std::unordered_map<std::string_view, Rank> ranks;
    for (std::size_t i = 0; i < items.count; ++i)
        ranks.try_emplace(items.facts(i).ext);

    std::vector<std::pair<std::string, std::string_view>> distinct; // folded and exact
    distinct.reserve(ranks.size());
    for (const auto& entry : ranks)
        distinct.emplace_back(fold_key(entry.first), entry.first);
    std::sort(distinct.begin(), distinct.end());
    std::size_t folded = 0;
    for (std::size_t i = 0; i < distinct.size(); ++i) {
        if (i > 0 && distinct[i].first != distinct[i - 1].first)
            ++folded;
        ranks[distinct[i].second] = {folded, i};
    }

    ExtensionRanks result{{}, {}, distinct.size()};
    for (std::size_t i = 0; i < items.count; ++i) {
        const Rank& rank = ranks.at(items.facts(i).ext);
        result.folded.push_back(rank.folded);
        result.exact.push_back(rank.exact);
    }
    return result;
}

/// Groups by folded extension. Inside a group, the places of the items with one exact extension go
/// to these items by name: "b.jpg, x.JPG, a.jpg" becomes "a.jpg, x.JPG, b.jpg".
Order order_by_extension(const SortedItems& items, SortOrder order)
{
    const ExtensionRanks ranks = extension_ranks(items);
    const FoldedNames names(items);
    const Order grouped =
        order_by(items.count, order, [&](std::size_t i) { return ranks.folded[i]; });
    const Order compared = order_by(
        items.count, order, [&](std::size_t i) { return std::tuple(ranks.exact[i], names[i]); });

    std::vector<std::size_t> next(ranks.count); // of each exact extension, its next in `compared`
    for (std::size_t i = compared.size(); i-- > 0;)
        next[ranks.exact[compared[i]]] = i;

    Order result;
    result.reserve(items.count);
    for (const std::size_t item : grouped)
        result.push_back(compared[next[ranks.exact[item]]++]);
    return result;
}

Order order_by_custom_order(const SortedItems& items)
{
    const FoldedNames names(items);
    return order_by(items.count, SortOrder::asc, [&](std::size_t i) {
        const auto number = items.facts(i).order_no;
        return std::tuple(!number, number.value_or(0), number ? FoldedText() : names[i]);
    });
}

Order order_by_name(const FoldedNames& names, std::size_t count, SortOrder order)
{
    return order_by(count, order, [&](std::size_t i) { return names[i]; });
}

Order order_by_key(const SortedItems& items, SortType sort)
{
    switch (sort.key()) {
    case SortType::Key::name:
    case SortType::Key::folders_first:
        return order_by_name(FoldedNames(items), items.count, sort.order());
    case SortType::Key::natural_name:
        return order_by_name(FoldedNames(items, natural_key), items.count, sort.order());
    case SortType::Key::size:
        return order_by(items.count, sort.order(),
                        [&](std::size_t i) { return items.facts(i).size; });
    case SortType::Key::modification_date:
        return order_by(items.count, sort.order(),
                        [&](std::size_t i) { return items.facts(i).modification_date; });
    case SortType::Key::extension:
        return order_by_extension(items, sort.order());
    case SortType::Key::custom_order:
        break;
    }
    return order_by_custom_order(items);
}

/// Puts `items` into `order` in place, along the cycles of the permutation: a second list of
/// so many large items would cost more than the sort.
void arrange(std::vector<FileItem>& items, Order order)
{
    for (std::size_t start = 0; start < items.size(); ++start) {
        if (order[start] == start)
            continue;
        FileItem first = std::move(items[start]);
        std::size_t place = start;
        while (order[place] != start) {
            items[place] = std::move(items[order[place]]);
            place = std::exchange(order[place], place);
        }
        items[place] = std::move(first);
        order[place] = place;
    }
}

} // namespace

Order sorted_order(std::size_t count, FunctionRef<SortFacts(std::size_t)> facts_of, SortType sort)
{
    Order order = order_by_key({count, facts_of}, sort);
    if (sort.puts_folders_first())
        std::stable_partition(order.begin(), order.end(),
                              [&](std::size_t i) { return facts_of(i).is_plain_dir; });
    return order;
}

void orv_sort(std::vector<FileItem>& items, SortType sort)
{
    const auto facts_of = [&](std::size_t i) {
        const FileItem& item = items[i];
        return SortFacts{item.name,
                         item.ext,
                         item.size.value_or(0),
                         item.modification_date,
                         item.custom_attributes.order_no,
                         item.is_plain_dir()};
    };
    arrange(items, sorted_order(items.size(), facts_of, sort));
}

} // namespace orv
