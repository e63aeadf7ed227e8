#include "Operations/MultiDeleteOpr.hpp"

#include "Operations/DeleteOpr.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/Request.hpp"

namespace orv {
namespace {

using DeleteBatch = Request<MultiDeleteOperation>;

void delete_one(DeleteBatch& batch, const Url& url)
{
    try {
        delete_for(batch, url);
    } catch (const Error& error) {
        throw error
            .with_message("An error occured while deleting item at url: \n" + url.description() +
                          " \n" + error.message())
            .at(error.path().value_or(url));
    }
}

std::int64_t items_in_all(DeleteBatch& batch, const std::vector<Url>& urls)
{
    std::int64_t sum = 0;
    for (const Url& url : urls) {
        const std::int64_t items = items_to_delete(url, [&] { batch.wait_while_paused(); });
        if (items < 0)
            return -1;
        sum += items;
    }
    return sum;
}

} // namespace

std::shared_ptr<MultiDeleteOperation>
delete_items(std::vector<Url> urls, MultiDeleteOperation::StatusClosure status_closure)
{
    return start_request<MultiDeleteOperation>(
        std::move(status_closure),
        [urls = std::move(urls)](
            Request<MultiDeleteOperation>& request) -> MultiDeleteOperation::Status {
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
            request.tally().expect(-1, items_in_all(request, urls));
            for (const Url& url : urls)
                delete_one(request, url);
            return status::success{};
        });
}

} // namespace orv
