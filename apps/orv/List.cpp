#include "Commands.hpp"
#include "Failure.hpp"
#include "LargeOutput.hpp"
#include "Listing.hpp"
#include "Waiting.hpp"
#include "Watch.hpp"

#include <orv/Operations/FetchItemListOpr.hpp>
#include <orv/orv.hpp>

#include <algorithm>
#include <numeric>

namespace orv::app {
namespace {

ItemList fetch(const ListCommand& command, const Url& folder, const Surroundings& surroundings)
{
    const auto remembered = command.remember ? command.sort : std::nullopt;
    auto status = final_status<FetchItemListOperation>(
        [&](auto closure) {
            return fetch_item_list(folder, command.recursive, remembered, command.all,
                                   std::move(closure));
        },
        show_activity("Listing", surroundings.shows_progress));
    return match(
        std::move(status),
        [](FetchItemListOperation::success&& found) { return std::move(found.content); },
        [&](status::error&& failed) -> ItemList { throw told_of(folder, failed.error); },
        [](status::cancelled&&) -> ItemList { throw Interrupted(); });
}

/// Every folder stands before its contents.
void sort_by_path(ItemList& items)
{
    std::vector<std::string> paths;
    paths.reserve(items.size());
    for (std::size_t i = 0; i < items.size(); ++i)
        paths.push_back(items.relative_path(i));
    std::vector<std::size_t> order(items.size());
    std::iota(order.begin(), order.end(), std::size_t{0});

    const auto rank = [](char c) { return c == '/' ? 0 : static_cast<unsigned char>(c); };
    const auto before = [&](char a, char b) { return rank(a) < rank(b); };
    std::sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) {
        return std::lexicographical_compare(paths[a].begin(), paths[a].end(), paths[b].begin(),
                                            paths[b].end(), before);
    });
    items.arrange(order);
}

/// The stored order of the folder.
SortType stored_sort(const Url& folder)
{
    const auto attributes = CustomAttributes::fetch(folder);
    return attributes && attributes->is_custom_sorted ? SortType::by_custom_order()
                                                      : SortType::by_name(SortOrder::asc);
}

void sort(ItemList& items, const ListCommand& command, const Url& folder)
{
    if (command.sort)
        items.sort(*command.sort);
    else if (command.recursive)
        sort_by_path(items);
    else
        items.sort(stored_sort(folder));
}

} // namespace

void run(const ListCommand& command, const Surroundings& surroundings)
{
    const Url folder(command.folder);
    if (command.watch)
        return watch(folder, command, stored_sort(folder), surroundings);
    if (command.unsorted)
        return write_unsorted(folder, command, surroundings);
    ItemList items = fetch(command, folder, surroundings);
    if (!command.remember)
        sort(items, command, folder);
    LargeOutput output;
    write_listing(output, items, command.form);
    output.finish();
}

} // namespace orv::app
