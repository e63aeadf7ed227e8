#include "Operations/FolderSizeOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/frame/BatchedWalk.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Tool/Tool.hpp"
#include "Tool/WalkedFolder.hpp"

#include <limits>

namespace orv {
namespace {

constexpr ErrorPlace size_place{"src/Operations/FolderSizeOpr",
                                "calc_folder_size(for:status_closure:)"};

/// An item's part of the size of its folder.
std::int64_t size_of(const struct statx& facts)
{
    return S_ISREG(facts.stx_mode) ? static_cast<std::int64_t>(facts.stx_size) : 0;
}

void check_is_measurable(const Url& url)
{
    check_is_folder(url, size_place("No item exists at given url."),
                    size_place("Given url must point to a folder."));
}

/// Adds each item to `size` and then calls `added`.
void measure(TreeWalk& walk, TreeSize& size, FunctionRef<void(std::int64_t bytes)> added)
{
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        if (event != TreeWalk::Event::item)
            continue;
        const std::int64_t bytes = size_of(walk.facts());
        size += {bytes, 1};
        added(bytes);
        pause_in_test_mode(std::chrono::milliseconds(200));
    }
}

TreeSize sum_of(const EntryBatch& batch)
{
    TreeSize sum;
    batch.for_each([&](EntryBatch::Entry& entry) {
        if (!entry.is_regular())
            sum += {0, 1};
        else if (const struct statx* facts = entry.facts(STATX_TYPE | STATX_SIZE))
            sum += {size_of(*facts), 1};
    });
    return sum;
}

/// The same on all cores.
TreeSize measure(Request<FolderSizeOperation>& request, TreeWalk& walk,
                 const DescriptorLease& descriptors)
{
    TreeSize size;
    const auto add = [&](const TreeSize& sum) {
        size += sum;
        request.tally().add_bytes(sum.bytes);
        for (std::int64_t i = 0; i < sum.items; ++i) {
            request.tally().add_items(1);
            request.check_cancelled();
            pause_in_test_mode(std::chrono::milliseconds(200));
        }
    };
    walk_in_batches(
        request, walk, descriptors, [](const EntryBatch& batch) { return sum_of(batch); }, add);
    return size;
}

} // namespace

TreeSize& TreeSize::operator+=(const TreeSize& other)
{
    if (__builtin_add_overflow(bytes, other.bytes, &bytes))
        bytes = std::numeric_limits<std::int64_t>::max();
    items += other.items;
    return *this;
}

TreeSize folder_size(const Url& url, FunctionRef<void()> check_cancelled)
{
    check_is_measurable(url);
    TreeWalk walk(url);
    TreeSize size;
    measure(walk, size, [&](std::int64_t) { check_cancelled(); });
    return size;
}

TreeSize item_size(const Url& url, FunctionRef<void()> check_cancelled)
{
    if (!Tool::is_directory(url))
        return {Tool::file_size(url).value_or(0), 1};
    check_cancelled();
    TreeSize size = folder_size(url, check_cancelled);
    ++size.items;
    return size;
}

std::shared_ptr<FolderSizeOperation>
calc_folder_size(Url url, FolderSizeOperation::StatusClosure status_closure)
{
    return start_request<FolderSizeOperation>(
        std::move(status_closure),
        [url =
             std::move(url)](Request<FolderSizeOperation>& request) -> FolderSizeOperation::Status {
            check_is_measurable(url);
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_batched_walk);
            TreeWalk walk = item_walk(url, batched_walk_options(request));
            return FolderSizeOperation::success{measure(request, walk, descriptors).bytes};
        });
}

} // namespace orv
