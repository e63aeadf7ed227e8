#include "Operations/FetchItemsOpr.hpp"

#include "Database/DBManager.hpp"
#include "Global/TestMode.hpp"
#include "Operations/frame/BatchedWalk.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Tool/WalkedFolder.hpp"

#include <orv/Operations/FetchItemListOpr.hpp>

#include <algorithm>
#include <iterator>
#include <vector>

namespace orv {

template <>
struct IsFinalCase<FetchItemListOperation::success> : std::true_type {
};

namespace {

constexpr ErrorPlace fetch_place{
    "src/Operations/FetchItemsOpr",
    "fetch_items(inside:recursive:sort:include_hidden_files:status_closure:)"};

struct WantedItems {
    Url inside;
    bool recursive;
    std::optional<SortType> sort;
    bool include_hidden_files;
};

/// Adds the items of `batch`.
void add_items(std::vector<FileItem>& items, const EntryBatch& batch, const Url& resolved_root)
{
    items.reserve(batch.size());
    const EntryBatch::Folder* last = nullptr;
    ItemFolder folder;
    batch.for_each([&](EntryBatch::Entry& entry) {
        const struct statx* facts = entry.facts(item_facts_mask);
        if (!facts)
            return;
        if (last != &entry.folder())
            folder = item_folder(entry.folder(), resolved_root);
        last = &entry.folder();
        items.push_back(file_item(folder, entry.name(), *facts));
    });
}

void add_items(ItemList& items, const EntryBatch& batch, const Url& /*resolved_root*/)
{
    batch.for_each([&](EntryBatch::Entry& entry) {
        if (const struct statx* facts = entry.facts(item_facts_mask))
            items.add(entry.folder().relative_path, entry.folder().level, entry.name(), *facts);
    });
}

void append(std::vector<FileItem>& items, std::vector<FileItem>&& batch)
{
    std::move(batch.begin(), batch.end(), std::back_inserter(items));
}

void append(ItemList& items, const ItemList& batch)
{
    items.append(batch);
}

/// Adds the wanted items to the empty list `items`.
template <class Operation, class Items>
void collect(Request<Operation>& request, Items& items, const WantedItems& wanted,
             const Url& resolved_root, const DescriptorLease& descriptors)
{
    TreeWalkOptions options = batched_walk_options(request);
    options.recursive = wanted.recursive;
    options.include_hidden_files = wanted.include_hidden_files;
    TreeWalk walk = item_walk(wanted.inside, options);

    const Items none = items;
    const auto items_of = [&](const EntryBatch& batch) {
        Items found = none;
        add_items(found, batch, resolved_root);
        return found;
    };
    const auto keep = [&](Items&& batch) {
        for (std::size_t i = 0; i < batch.size(); ++i) {
            request.check_cancelled();
            request.tally().add_items(1);
            pause_in_test_mode(std::chrono::milliseconds(200));
        }
        append(items, std::move(batch));
    };
    walk_in_batches(request, walk, descriptors, items_of, keep);
}

void add_attributes(std::vector<FileItem>& items)
{
    load_all_custom_attrs(items);
}

void add_attributes(ItemList& items)
{
    items.load_attributes();
}

void sort_items(std::vector<FileItem>& items, SortType sort)
{
    orv_sort(items, sort);
}

void sort_items(ItemList& items, SortType sort)
{
    items.sort(sort);
}

/// Stores on a folder with attributes if its listing is in custom order now.
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

std::vector<FileItem> no_items(const FetchItemsOperation&, const Url&, const Url&)
{
    return {};
}

ItemList no_items(const FetchItemListOperation&, const Url& root, const Url& resolved_root)
{
    return ItemList(root, resolved_root);
}

template <class Operation>
std::shared_ptr<Operation> start_fetch(WantedItems wanted,
                                       typename Operation::StatusClosure status_closure)
{
    return start_request<Operation>(
        std::move(status_closure),
        [wanted = std::move(wanted)](Request<Operation>& request) -> typename Operation::Status {
            check_is_folder(wanted.inside, fetch_place("No item exists at given url.", 54),
                            fetch_place("Given url must point to a folder.", 50));
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_batched_walk);
            const Url resolved_root = wanted.inside.resolving_symlinks();
            auto items = no_items(request.operation(), wanted.inside, resolved_root);
            collect(request, items, wanted, resolved_root, descriptors);
            add_attributes(items);
            if (wanted.sort) {
                sort_items(items, *wanted.sort);
                remember_sort(wanted.inside, *wanted.sort);
            }
            return typename Operation::success{std::move(items)};
        });
}

} // namespace

std::shared_ptr<FetchItemsOperation> fetch_items(Url inside, bool recursive,
                                                 std::optional<SortType> sort,
                                                 bool include_hidden_files,
                                                 FetchItemsOperation::StatusClosure status_closure)
{
    return start_fetch<FetchItemsOperation>(
        {std::move(inside), recursive, sort, include_hidden_files}, std::move(status_closure));
}

std::shared_ptr<FetchItemListOperation>
fetch_item_list(Url inside, bool recursive, std::optional<SortType> sort, bool include_hidden_files,
                FetchItemListOperation::StatusClosure status_closure)
{
    return start_fetch<FetchItemListOperation>(
        {std::move(inside), recursive, sort, include_hidden_files}, std::move(status_closure));
}

} // namespace orv
