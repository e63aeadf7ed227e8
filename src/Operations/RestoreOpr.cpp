#include "Operations/RestoreOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/copying/MoveWithRecords.hpp"
#include "Operations/frame/BatchAnswers.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/Place.hpp"
#include "trash/Trashes.hpp"

#include <algorithm>

namespace orv {
namespace {

using RestoreRequest = Request<RestoreOperation>;

constexpr ErrorPlace restore_place{"src/Operations/RestoreOpr", "restore(items:status_closure:)"};

/// Where an item goes.
struct Destination {
    Url url;
    bool replaces = false;
};

void check(const TrashedItem& item, Trashes& trashes)
{
    if (item.original_url.empty())
        throw restore_place("It isn't known where the item was.").at(item.url);
    check_path(item.original_url, "Original", restore_place);
    const TrashFolder& trash = trashes.holding(item.url);
    if (!trash.entry(item.url.last_path_component()))
        throw missing_item(restore_place("The item isn't in the trash any more."), item.url);
}

Destination destination_of(RestoreRequest& request, BatchAnswers& answers, const Url& wanted)
{
    if (!Tool::item_exists(wanted))
        return {wanted};
    const auto question = std::make_shared<ConflictResolver>(false, wanted);
    answers.settle(question, [&] { request.put(question); });
    switch (question->wait()) {
    case ConflictBehaviour::keep_both:
        return {free_url(wanted, restore_place("Couldn't generate a non-conflicting url."))};
    case ConflictBehaviour::replace:
        return {wanted, true};
    case ConflictBehaviour::merge:
        return {wanted}; // a taken one
    case ConflictBehaviour::stop:
        break;
    }
    request.cancel();
    throw Exception();
}

/// Makes the missing folders above the item.
void make_folders_above(const Url& url)
{
    try {
        Tool::make_directory(url.deleting_last_path_component(), true);
    } catch (const Error& cause) {
        throw restore_place("Couldn't create the folder that the item was in.").because_of(cause);
    }
}

Url restored(RestoreRequest& request, BatchAnswers& answers, const TrashedItem& item,
             Trashes& trashes)
{
    check(item, trashes);
    TrashFolder& trash = trashes.holding(item.url);
    const Destination to = destination_of(request, answers, resolving_folders(item.original_url));
    const UrlLock lock({read(item.url)}, write(to.url));
    if (to.replaces)
        check_can_be_replaced(item.url, to.url, restore_place);
    pause_in_test_mode(std::chrono::seconds(1));
    make_folders_above(to.url);
    NoReplaceRename rename; // the next item may go to another volume
    move_with_records(item.url, to.url, to.replaces, rename);
    trash.remove_info(item.url.last_path_component());
    if (!to.replaces)
        request.add_undo_step(undo_step(UndoVerb::restoring, UndoAction::to_trash, to.url));
    return to.url;
}

RestoreOperation::Status run(RestoreRequest& request, const std::vector<TrashedItem>& items)
{
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_transfer);
    Trashes trashes;
    for (const TrashedItem& item : items)
        check(item, trashes);
    BatchAnswers answers(static_cast<int>(std::ranges::count_if(
        items, [](const auto& item) { return Tool::item_exists(item.original_url); })));
    request.tally().expect(-1, static_cast<std::int64_t>(items.size()));
    RestoreOperation::success done;
    for (const TrashedItem& item : items) {
        request.check_cancelled();
        done.urls.push_back(restored(request, answers, item, trashes));
        request.tally().add_done(done.urls.back());
        answers.item_done();
    }
    request.set_done();
    return done;
}

} // namespace

std::shared_ptr<RestoreOperation> restore(std::vector<TrashedItem> items,
                                          RestoreOperation::StatusClosure status_closure)
{
    return start_request<RestoreOperation>(
        std::move(status_closure),
        [items = std::move(items)](RestoreRequest& request) { return run(request, items); });
}

} // namespace orv
