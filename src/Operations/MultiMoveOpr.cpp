#include "Operations/MultiMoveOpr.hpp"

#include "Operations/MoveOpr.hpp"
#include "Operations/frame/BatchAnswers.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "files/LinkResolver.hpp"

namespace orv {
namespace {

using MoveBatch = Request<MultiMoveOperation>;

constexpr ErrorPlace multi_move_place{"src/Operations/MultiMoveOpr",
                                      "move(src_urls:dest_folder_url:status_closure:)"};

/// State shared by the moves of a batch.
struct BatchSupport {
    BatchAnswers answers;
    LinkResolver source_links = {};
    LinkResolver destination_links = {};
    MoveSupport each = {};
};

MoveOperation::Status move_one(MoveBatch& batch, BatchSupport& support, const Url& source,
                               const Url& folder)
{
    const Url destination = folder.appending(source.last_path_component());
    const auto pass_on = [&](const MoveOperation::Status& status) {
        const auto& conflict = std::get<status::conflict_occured>(status);
        support.answers.settle(conflict.resolver, [&] { batch.put(conflict.resolver); });
    };
    return batch.run_child<MoveOperation>(pass_on, [&](Request<MoveOperation>& request) {
        return move_item(request, support.source_links.resolve(source),
                         support.destination_links.resolve(destination), support.each);
    });
}

MultiMoveOperation::Status run(MoveBatch& batch, const std::vector<Url>& sources, const Url& folder)
{
    check_destination_folder(folder, multi_move_place);
    check_sources(sources, folder, multi_move_place);
    batch.tally().expect(-1, static_cast<std::int64_t>(sources.size()));
    BatchSupport support{BatchAnswers(how_many_conflicts_occur(sources, folder))};
    for (const Url& source : sources) {
        const auto outcome = move_one(batch, support, source, folder);
        if (!std::holds_alternative<status::success>(outcome))
            return outcome;
        support.answers.item_done();
    }
    return status::success{};
}

} // namespace

std::shared_ptr<MultiMoveOperation> move_items(std::vector<Url> src_urls, Url dest_folder_url,
                                               MultiMoveOperation::StatusClosure status_closure)
{
    return start_request<MultiMoveOperation>(
        std::move(status_closure),
        [sources = std::move(src_urls), folder = std::move(dest_folder_url)](MoveBatch& batch) {
            return run(batch, sources, folder);
        });
}

} // namespace orv
