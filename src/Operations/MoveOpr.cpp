#include "Operations/MoveOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/FolderSizeOpr.hpp"
#include "Operations/copying/MoveWithRecords.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Replacing.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/SameItem.hpp"

namespace orv {
namespace {

using MoveRequest = Request<MoveOperation>;

constexpr ErrorPlace move_place{"src/Operations/MoveOpr", "move(src_url:dest_url:status_closure:)"};

/// How the move goes on after the question about a taken name, if there was one.
struct MoveAnswer {
    Url destination;
    bool replaces = false;
    bool nothing_to_do = false;
};

MoveAnswer settle_conflict(MoveRequest& request, const Url& source, const Url& destination,
                           FreeUrls& free_urls)
{
    if (!Tool::item_exists(destination) || is_other_spelling(source, destination))
        return {destination};
    const ConflictBehaviour behaviour = ask_about(request, destination, false);
    if (behaviour == ConflictBehaviour::merge)
        return {destination};
    if (are_same_item(source, destination))
        return {.destination = destination, .nothing_to_do = true};
    if (behaviour == ConflictBehaviour::replace)
        return {.destination = destination, .replaces = true};
    return {free_urls.next(destination, move_place("Couldn't generate a non-conflicting url."))};
}

/// Deletes the old item if both have no room on its volume. True if it did.
bool makes_room(MoveRequest& request, const Url& source, const Url& destination)
{
    const auto poll = [&] { request.check_cancelled(); };
    if (!are_on_two_devices(source, destination.deleting_last_path_component()) ||
        !only_fits_alone(source, destination, item_size(source, poll).bytes, poll))
        return false;
    poll();
    remove_replaced(destination, not_replaced(move_place));
    delete_records_of_replaced(destination);
    return true;
}

} // namespace

MoveOperation::Status move_item(MoveRequest& request, const Url& src_url, const Url& dest_url,
                                MoveSupport& support)
{
    check_source_and_destination(src_url, dest_url, move_place);
    const MoveAnswer answer = settle_conflict(request, src_url, dest_url, support.free_urls);
    if (answer.nothing_to_do)
        return status::success{};

    const UrlLock lock({read(src_url)}, write(answer.destination));
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_transfer);
    if (answer.replaces)
        check_can_be_replaced(src_url, answer.destination, move_place);
    pause_in_test_mode(std::chrono::seconds(1));
    const bool goes_first = answer.replaces && makes_room(request, src_url, answer.destination);
    told_of_removal(goes_first, [&] {
        move_with_records(src_url, answer.destination, answer.replaces && !goes_first,
                          support.rename);
    });
    request.tally().add_done(answer.destination);
    if (!answer.replaces)
        request.add_undo_step(
            undo_step(UndoVerb::moving, UndoAction::move_back, answer.destination, src_url));
    return status::success{};
}

std::shared_ptr<MoveOperation> move_item(const Url& src_url, const Url& dest_url,
                                         MoveOperation::StatusClosure status_closure)
{
    return start_request<MoveOperation>(
        std::move(status_closure),
        // Resolves links in the background: on a dead volume it may take for ever.
        [src_url, dest_url](MoveRequest& request) {
            MoveSupport alone;
            return move_item(request, src_url.resolving_symlinks(), dest_url.resolving_symlinks(),
                             alone);
        });
}

} // namespace orv
