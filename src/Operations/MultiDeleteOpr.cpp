#include "Operations/MultiDeleteOpr.hpp"

#include "Operations/DeleteOpr.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/Request.hpp"

namespace orv {
namespace {

void delete_one(const Url& url, Tally& tally)
{
    try {
        delete_item_and_records(url, tally);
    } catch (const Error& error) {
        throw error
            .with_message("An error occured while deleting item at url: \n" + url.description() +
                          " \n" + error.message())
            .at(error.path().value_or(url));
    }
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
            request.tally().expect(-1, static_cast<std::int64_t>(urls.size()));
            for (const Url& url : urls)
                delete_one(url, request.tally());
            return status::success{};
        });
}

} // namespace orv
