#include "Operations/CopyOpr.hpp"

#include "Operations/FolderSizeOpr.hpp"
#include "Operations/copying/TreeCopy.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Replacing.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/SameItem.hpp"

namespace orv {
namespace {

using CopyRequest = Request<CopyOperation>;

constexpr ErrorPlace copy_place{"src/Operations/CopyOpr", "copy(src_url:dest_url:status_closure:)"};

// More steps ahead than keep the second thread at work while the first one makes folders and waits
// for the caller only cost descriptors.
constexpr DescriptorNeed needed_by_copy = needed_ahead(needed_by_transfer, 32);

/// How the copy goes on after the question about a taken name, if there was one.
struct CopyAnswer {
    Url destination;
    bool merges = false;
    bool replaces = false;
    bool nothing_to_do = false;
};

CopyAnswer settle_conflict(CopyRequest& request, const Url& source, const Url& destination,
                           FreeUrls& free_urls)
{
    if (!Tool::item_exists(destination))
        return {destination};
    const bool is_mergeable = Tool::is_directory(source) && Tool::is_directory(destination);
    switch (ask_about(request, destination, is_mergeable)) {
    case ConflictBehaviour::merge:
        return {.destination = destination, .merges = true};
    case ConflictBehaviour::replace:
        if (are_same_item(source, destination))
            return {.destination = destination, .nothing_to_do = true};
        return {.destination = destination, .replaces = true};
    case ConflictBehaviour::keep_both:
        return {
            free_urls.next(destination, copy_place("Couldn't generate a non-conflicting url."))};
    case ConflictBehaviour::stop:
        break;
    }
    throw Exception();
}

/// The locks compare paths. This compares items, since a volume may know one under two spellings.
void check_is_not_inside(const Url& source, const CopyAnswer& answer)
{
    if (!Tool::is_directory(source))
        return;
    if (lies_inside(answer.destination, source) ||
        (answer.merges && are_same_item(source, answer.destination)))
        throw copy_place("Source path conflicts with destination path.")
            .known_as(Cause::invalid)
            .at(source);
}

/// Deletes the old item if both have no room on its volume. True if it did.
bool makes_room(CopyRequest& request, const Url& source, const Url& destination, std::int64_t size)
{
    const auto poll = [&] { request.check_cancelled(); };
    if (!only_fits_alone(source, destination, size, poll))
        return false;
    poll();
    remove_replaced(destination, not_replaced(copy_place));
    return true;
}

/// Leases the descriptors of a copy, unless its batch has done so.
std::optional<DescriptorLease> leased(CopyRequest& request, const CopySupport& support)
{
    if (support.built)
        return std::nullopt;
    return lease_descriptors(request, needed_by_copy);
}

void copy(CopyRequest& request, const Url& source, const Url& destination, CopySupport& support)
{
    const CopyProgress nothing_copied{source.last_path_component(), Tool::is_directory(source), 1};
    check_source_and_destination(source, destination, copy_place);
    const CopyAnswer answer = settle_conflict(request, source, destination, support.free_urls);
    if (answer.nothing_to_do)
        return request.report(status::progress<CopyProgress>{nothing_copied});

    const UrlLock lock({read(source)}, write(answer.destination));
    request.check_cancelled();
    check_is_not_inside(source, answer);
    if (answer.replaces)
        check_can_be_replaced(source, answer.destination, copy_place);
    request.report(status::preparing{});
    const auto descriptors = leased(request, support);
    const auto between_items = [&] {
        request.check_cancelled();
        request.report_held();
    };
    const TreeSize total = item_size(source, between_items);
    request.tally().expect(total.bytes, total.items);
    const bool goes_first =
        answer.replaces && makes_room(request, source, answer.destination, total.bytes);
    const CopyPlan plan{
        source,        answer.destination,
        answer.merges, answer.replaces && !goes_first,
        total.bytes,   descriptors ? steps_ahead(*descriptors, needed_by_transfer) : 1,
        support.built, support.staging};
    CopyProgress progress =
        told_of_removal(goes_first, [&] { return copy_tree(request, plan, nothing_copied); });
    request.tally().add_result(answer.destination);
    if (!answer.merges && !answer.replaces)
        request.add_undo_step(
            undo_step(UndoVerb::copying, UndoAction::discard, answer.destination));
    progress.value = 1;
    support.has_replaced = support.has_replaced || answer.replaces;
    // A replaced item cannot come back, so a cancel after it is too late; at the end of a batch,
    // too.
    if (answer.replaces || (support.is_last && support.has_replaced))
        request.set_done();
    request.check_cancelled();
    request.report_soon(status::progress<CopyProgress>{progress});
    request.report_all_held();
}

} // namespace

CopyOperation::Status copy_item(Request<CopyOperation>& request, const Url& src_url,
                                const Url& dest_url, CopySupport& support)
{
    copy(request, src_url, dest_url, support);
    return status::success{};
}

std::shared_ptr<CopyOperation> copy_item(const Url& src_url, const Url& dest_url,
                                         CopyOperation::StatusClosure status_closure)
{
    return start_request<CopyOperation>(
        std::move(status_closure),
        // Resolves links in the background: on a dead volume it may take for ever.
        [src_url, dest_url](CopyRequest& request) {
            CopySupport alone;
            return copy_item(request, src_url.resolving_symlinks(), dest_url.resolving_symlinks(),
                             alone);
        });
}

} // namespace orv
