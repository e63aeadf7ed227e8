#include "Operations/FetchItemsOpr.hpp"

#include "Database/DBManager.hpp"
#include "Global/TestMode.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Tool/Tool.hpp"

#include <vector>

namespace orv {
namespace {

constexpr ErrorPlace fetch_place{
    "src/Operations/FetchItemsOpr",
    "fetch_items(inside:recursive:sort:include_hidden_files:status_closure:)"};

std::vector<FileItem> collect(Request<FetchItemsOperation>& request, const Url& folder,
                              bool recursive, bool include_hidden_files)
{
    std::vector<FileItem> items;
    const auto collect_item = [&](FileItem item) {
        request.check_cancelled();
        request.tally().add_items(1);
        items.push_back(std::move(item));
        pause_in_test_mode(std::chrono::milliseconds(200));
        return true;
    };
    Tool::iterate_contents(folder, false, recursive, std::nullopt, include_hidden_files,
                           collect_item, failures_of(request));
    return items;
}

/// Notes at a folder that has stored attributes whether its listing is in custom order now.
void remember_sort(const Url& folder, SortType sort)
{
    shared_db_manager().db().sync([&] {
        auto attributes = CustomAttributes::fetch(folder);
        if (!attributes)
            return;
        attributes->is_custom_sorted = sort.key() == SortType::Key::custom_order;
        if (attributes->is_custom_sorted)
            attributes->was_custom_sorted_at_least_once = true;
        save_all({*attributes}, false);
    });
}

} // namespace

std::shared_ptr<FetchItemsOperation> fetch_items(Url inside, bool recursive,
                                                 std::optional<SortType> sort,
                                                 bool include_hidden_files,
                                                 FetchItemsOperation::StatusClosure status_closure)
{
    return start_request<FetchItemsOperation>(
        std::move(status_closure),
        [=](Request<FetchItemsOperation>& request) -> FetchItemsOperation::Status {
            check_is_folder(inside, fetch_place("No item exists at given url.", 54),
                            fetch_place("Given url must point to a folder.", 50));
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
            std::vector<FileItem> items = collect(request, inside, recursive, include_hidden_files);
            load_all_custom_attrs(items);
            if (sort) {
                orv_sort(items, *sort);
                remember_sort(inside, *sort);
            }
            return FetchItemsOperation::success{std::move(items)};
        });
}

} // namespace orv
