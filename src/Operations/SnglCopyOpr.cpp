#include "Operations/SnglCopyOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/copying/ItemCopier.hpp"
#include "Operations/copying/OpenedDestination.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "files/ItemMetadata.hpp"
#include "files/ItemStatus.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"
#include "files/SameItem.hpp"

#include <cerrno>

#include <fcntl.h>

namespace orv {
namespace {

void check_paths(const Url& source, const Url& destination)
{
    check_path(source, "Source", single_copy_place);
    check_path(destination, "Destination", single_copy_place);
    if (source == destination)
        throw single_copy_place("Source and destination items cannot be the same.")
            .known_as(Cause::invalid)
            .at(source);
}

/// The lock is a momentary test: it goes back before the work begins.
void check_nobody_holds(const Url& source, const Url& destination)
{
    const UrlLock lock({read(source)}, write(destination));
}

/// True if an item at the destination is to be replaced.
bool must_replace(const Url& source, const Url& destination, bool overwrite)
{
    if (!Tool::item_exists(destination))
        return false;
    if (!overwrite)
        throw single_copy_place("Destination item already exists.")
            .known_as(Cause::taken)
            .at(destination);
    if (are_same_item(source, destination))
        throw single_copy_place("Source and destination items cannot be the same.")
            .known_as(Cause::invalid)
            .at(source);
    // Links may hide from the lock that one lies in the other.
    if (UrlLocker::do_urls_conflict(source.resolving_symlinks(), destination.resolving_symlinks()))
        throw single_copy_place("Source path conflicts with destination path.")
            .known_as(Cause::invalid)
            .at(source);
    check_can_be_replaced(source, destination, single_copy_place);
    return true;
}

struct stat facts_of(const SourceItem& source)
{
    struct stat status {};
    if (::fstatat(source.folder, source.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        throw platform_error(errno, source.url);
    return status;
}

void copy_empty_folder(const SourceItem& source, const DestinationItem& destination)
{
    pause_in_test_mode(std::chrono::milliseconds(500));
    ItemCopier::create_folder(destination);
    const OpenFolder from = open_folder(source.folder, source.name.c_str());
    const OpenFolder to = open_folder(destination.folder.fd, destination.name.c_str());
    if (from.error != 0 || to.error != 0)
        return;
    const Url url = destination.url();
    keep_extended_attributes(from.descriptor.get(), to.descriptor.get(), url);
    keep_mode_and_times(to.descriptor.get(), ModeAndTimes(from.facts), url);
}

void copy_item(Request<SnglCopyOperation>& request, const Url& src_url, const Url& dest_url,
               bool replaces)
{
    const Place from = Place::in_opened_folder(src_url);
    const SourceItem source{from.folder(), from.path, src_url};
    const struct stat facts = facts_of(source);
    const mode_t mode = facts.st_mode;
    request.tally().expect(S_ISREG(facts.st_mode) ? facts.st_size : 0, 1);
    CopyProgress progress{dest_url.last_path_component(), S_ISDIR(mode), 0};
    request.report(status::progress<CopyProgress>{progress});

    OpenedDestination to(dest_url, S_ISDIR(mode), replaces);
    Staging staging;
    ProgressInterval interval;
    RunningSums sums(request.tally());
    const auto tell = [&](float part_done) {
        request.check_cancelled();
        sums.bytes_up_to(static_cast<std::int64_t>(static_cast<double>(facts.st_size) * part_done));
        if (!interval.is_due())
            return;
        progress.value = part_done;
        request.report(status::progress<CopyProgress>{progress});
    };
    if (S_ISDIR(mode))
        copy_empty_folder(source, to.item());
    else
        ItemCopier(staging).copy(source, mode, to.item(), tell);
    request.check_cancelled();
    to.publish();
    if (replaces)
        request.set_done();
    else
        request.check_cancelled();
    request.tally().add_done(dest_url);

    progress.value = 1;
    request.report_soon(status::progress<CopyProgress>{progress});
    request.report_all_held();
}

} // namespace

std::shared_ptr<SnglCopyOperation> single_copy(Url src_url, Url dest_url, bool overwrite,
                                               bool should_lock_urls,
                                               SnglCopyOperation::StatusClosure status_closure)
{
    return start_request<SnglCopyOperation>(
        std::move(status_closure),
        [=](Request<SnglCopyOperation>& request) -> SnglCopyOperation::Status {
            const DescriptorLease descriptors = lease_descriptors(request, needed_by_walk);
            check_paths(src_url, dest_url);
            const Url resolved = resolving_folders(dest_url);
            if (should_lock_urls)
                check_nobody_holds(src_url, dest_url);
            if (!Tool::item_exists(src_url))
                throw missing_item(single_copy_place("Source item doesn't exist."), src_url);
            copy_item(request, src_url, resolved, must_replace(src_url, dest_url, overwrite));
            return status::success{};
        });
}

std::shared_ptr<SnglCopyOperation> inert_single_copy()
{
    return std::make_shared<SnglCopyOperation>();
}

} // namespace orv
