#include "Operations/FolderSizeOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/frame/CancelPoll.hpp"
#include "Operations/frame/Descriptors.hpp"
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

/// What an item adds to the size of the folder it lies in.
std::int64_t size_of(const struct statx& facts)
{
    return S_ISREG(facts.stx_mode) ? static_cast<std::int64_t>(facts.stx_size) : 0;
}

std::int64_t saturating_sum(std::int64_t a, std::int64_t b)
{
    std::int64_t sum = 0;
    return __builtin_add_overflow(a, b, &sum) ? std::numeric_limits<std::int64_t>::max() : sum;
}

void check_is_measurable(const Url& url)
{
    check_is_folder(url, size_place("No item exists at given url."),
                    size_place("Given url must point to a folder."));
}

std::int64_t sum_of(TreeWalk& walk, FunctionRef<void()> check_cancelled)
{
    std::int64_t total = 0;
    CancelPoll poll(check_cancelled);
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        if (event != TreeWalk::Event::item)
            continue;
        poll();
        total = saturating_sum(total, size_of(walk.facts()));
        pause_in_test_mode(std::chrono::milliseconds(200));
    }
    return total;
}

} // namespace

std::int64_t folder_size(const Url& url, FunctionRef<void()> check_cancelled)
{
    check_is_measurable(url);
    TreeWalk walk(url);
    return sum_of(walk, check_cancelled);
}

std::int64_t item_size(const Url& url, FunctionRef<void()> check_cancelled)
{
    if (!Tool::is_directory(url))
        return Tool::file_size(url).value_or(0);
    check_cancelled();
    return folder_size(url, check_cancelled);
}

std::shared_ptr<FolderSizeOperation>
calc_folder_size(Url url, FolderSizeOperation::StatusClosure status_closure)
{
    return start_request<FolderSizeOperation>(
        std::move(status_closure),
        [url =
             std::move(url)](Request<FolderSizeOperation>& request) -> FolderSizeOperation::Status {
            check_is_measurable(url);
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
            TreeWalk walk = item_walk(url, {});
            return FolderSizeOperation::success{sum_of(walk, [&] { request.check_cancelled(); })};
        });
}

} // namespace orv
