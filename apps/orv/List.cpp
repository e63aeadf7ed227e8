#include "Commands.hpp"
#include "Failure.hpp"
#include "LargeOutput.hpp"
#include "Listing.hpp"
#include "Waiting.hpp"
#include "Watch.hpp"

#include <orv/orv.hpp>

#include <algorithm>

namespace orv::app {
namespace {

std::vector<FileItem> fetch(const ListCommand& command, const Url& folder,
                            const Surroundings& surroundings)
{
    const auto remembered = command.remember ? command.sort : std::nullopt;
    auto status = final_status<FetchItemsOperation>(
        [&](auto closure) {
            return OrvFileManager::singleton().fetch_items(folder, command.recursive, remembered,
                                                           command.all, std::move(closure));
        },
        show_activity("Listing", surroundings.shows_progress));
    return match(
        std::move(status),
        [](FetchItemsOperation::success&& found) { return std::move(found.content); },
        [&](status::error&& failed) -> std::vector<FileItem> {
            throw told_of(folder, failed.error);
        },
        [](status::cancelled&&) -> std::vector<FileItem> { throw Interrupted(); });
}

/// Every folder stands before what is in it.
void sort_by_path(std::vector<FileItem>& items)
{
    const auto rank = [](char c) { return c == '/' ? 0 : static_cast<unsigned char>(c); };
    const auto before = [&](char a, char b) { return rank(a) < rank(b); };
    std::sort(items.begin(), items.end(), [&](const FileItem& a, const FileItem& b) {
        return std::lexicographical_compare(a.relative_path.begin(), a.relative_path.end(),
                                            b.relative_path.begin(), b.relative_path.end(), before);
    });
}

/// The order that the folder is kept in.
SortType stored_sort(const Url& folder)
{
    const auto attributes = CustomAttributes::fetch(folder);
    return attributes && attributes->is_custom_sorted ? SortType::by_custom_order()
                                                      : SortType::by_name(SortOrder::asc);
}

void sort(std::vector<FileItem>& items, const ListCommand& command, const Url& folder)
{
    if (command.sort)
        orv_sort(items, *command.sort);
    else if (command.recursive)
        sort_by_path(items);
    else
        orv_sort(items, stored_sort(folder));
}

} // namespace

void run(const ListCommand& command, const Surroundings& surroundings)
{
    const Url folder(command.folder);
    if (command.watch)
        return watch(folder, command, stored_sort(folder), surroundings);
    if (command.unsorted)
        return write_unsorted(folder, command, surroundings);
    std::vector<FileItem> items = fetch(command, folder, surroundings);
    if (!command.remember)
        sort(items, command, folder);
    LargeOutput output;
    write_listing(output, items, command.form);
    output.finish();
}

} // namespace orv::app
