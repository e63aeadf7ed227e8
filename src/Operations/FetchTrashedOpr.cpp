#include "Operations/FetchTrashedOpr.hpp"

#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/trash/TrashedItems.hpp"
#include "trash/Trashes.hpp"

#include <algorithm>
#include <iterator>

namespace orv {
namespace {

FetchTrashedOperation::Status list_trashes(Request<FetchTrashedOperation>& request)
{
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
    FetchTrashedOperation::success found;
    Trashes trashes;
    trashes.for_each([&](TrashFolder& trash) {
        const auto poll = [&] { request.check_cancelled(); };
        std::ranges::move(trashed_items(trash, found.unused, poll),
                          std::back_inserter(found.items));
    });
    // By location for equal dates: an order that changes by itself confuses.
    std::ranges::sort(found.items, {}, &TrashedItem::url);
    std::ranges::stable_sort(found.items, std::ranges::greater(), &TrashedItem::deletion_date);
    std::ranges::copy(trashes.unused(), std::back_inserter(found.unused));
    return found;
}

} // namespace

std::shared_ptr<FetchTrashedOperation>
fetch_trashed_items(FetchTrashedOperation::StatusClosure status_closure)
{
    return start_request<FetchTrashedOperation>(std::move(status_closure), list_trashes);
}

} // namespace orv
