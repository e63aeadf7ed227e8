#include "Operations/ZipOpr.hpp"

#include "Global/TestMode.hpp"
#include "Operations/ZipErrors.hpp"
#include "Operations/copying/BuiltFile.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/PathChecks.hpp"
#include "Operations/frame/Replacing.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Operations/frame/ZipWatch.hpp"
#include "Tool/Tool.hpp"
#include "archive/Zip.hpp"
#include "files/ItemStatus.hpp"
#include "files/SameItem.hpp"

namespace orv {
namespace {

using ZipRequest = Request<ZipOperation>;

constexpr ErrorPlace zip_place{"src/Operations/ZipOpr",
                               "zip(item_urls:to:password:on_conflict:status_closure:)"};

/// The items to pack, and the options.
struct Content {
    std::vector<Url> items;
    std::optional<std::string> password;
};

void check_items(const std::vector<Url>& items, const Url& archive)
{
    if (items.empty())
        throw zip_place("Item urls cannot be empty.", 81).known_as(Cause::invalid);
    for (const Url& item : items) {
        if (item.standardized().empty())
            throw zip_place("Item url points to an undefined path. \n" + item.description(), 85)
                .known_as(Cause::invalid);
        if (item == archive)
            throw zip_place("Item url cannot be the same with archive url.", 88)
                .known_as(Cause::invalid)
                .at(item);
    }
}

/// The place of the archive, and if it replaces an item.
struct Target {
    Url url;
    bool replaces = false;
};

Target settle_conflict(const Url& archive, ConflictBehaviour on_conflict)
{
    if (!Tool::item_exists(archive))
        return {archive};
    switch (on_conflict) {
    case ConflictBehaviour::merge:
        break;
    case ConflictBehaviour::replace:
        return {.url = archive, .replaces = true};
    case ConflictBehaviour::keep_both:
        return {free_url(archive, zip_place("Couldn't generate a non-conflicting url.", 115))};
    case ConflictBehaviour::stop:
        throw zip_place("Destination item already exists.", 120).known_as(Cause::taken).at(archive);
    }
    return {archive};
}

std::vector<LockType> read_locks(const std::vector<Url>& items)
{
    std::vector<LockType> locks;
    locks.reserve(items.size());
    for (const Url& item : items)
        locks.push_back(read(item));
    return locks;
}

void check_items_exist(const std::vector<Url>& items)
{
    for (const Url& item : items)
        if (!Tool::item_exists(item))
            throw missing_item(zip_place("Source item doesn't exist. \n" + item.description(), 138),
                               item);
}

/// Under another spelling, the item to replace may be one to pack.
void check_replaces_no_item(const std::vector<Url>& items, const Url& archive)
{
    for (const Url& item : items)
        if (are_same_item(item, archive) || lies_inside(item, archive))
            throw zip_place("Item url cannot be the same with archive url.", 88)
                .known_as(Cause::invalid)
                .at(item);
}

/// Packs into `file`, out of sight. Errors name the final archive.
void pack(ZipRequest& request, const std::shared_ptr<Zip::Canceller>& canceller,
          const Content& content, const Url& file, const Url& archive)
try {
    request.do_part([canceller] { canceller->cancel(); },
                    [&] {
                        Zip::zipFiles(content.items, file, content.password,
                                      ZipCompression::default_compression, canceller,
                                      intr_test_mode(), told_by(request));
                    });
} catch (const Zip::Error& error) {
    if (error.cause().path() != file)
        throw;
    throw Zip::Error(error.kind(), error.cause().at(archive));
}

/// `folder` is the archive's folder from the beginning of the request.
void build_archive(ZipRequest& request, const Content& content, const Target& target,
                   const Url& folder)
{
    const Url archive = folder.appending(target.url.last_path_component());
    const Error failure = zip_place("Zip operation failed.", 191);
    const std::shared_ptr<Zip::Canceller> canceller = watched_by(request);
    build_file(archive, target.replaces,
               {.not_created = failure,
                .not_finalized = zip_place("Couldn't finalize zipping operation.", 209)},
               [&](const PartialFile& file) {
                   with_zip_errors(Zip::Error::Case::zip_failed, failure, [&] {
                       pack(request, canceller, content, file.reachable_url(), archive);
                   });
               });
}

ZipOperation::Status run(ZipRequest& request, const Content& content, const Url& archive,
                         ConflictBehaviour on_conflict)
{
    check_items(content.items, archive);
    check_path(archive, "Archive", zip_place, {.undefined = 98, .root = 101});
    const Url folder = archive.deleting_last_path_component().resolving_symlinks();
    const Target target = settle_conflict(archive, on_conflict);

    const auto lock = std::make_shared<UrlLock>(read_locks(content.items), write(target.url));
    check_items_exist(content.items);
    const DescriptorLease descriptors = lease_descriptors(request, needed_by_archive);
    if (target.replaces) {
        check_replaces_no_item(content.items, target.url);
        check_can_be_replaced(
            target.url,
            zip_place("Destination item couldn't be deleted while being overwritten.", 145));
    }
    build_archive(request, content, target, folder);
    request.tally().add_result(target.url);
    if (!target.replaces)
        request.add_undo_step(undo_step(UndoVerb::packing, UndoAction::discard, target.url));
    // Keeps the lock for it: it must not delete another request's archive. One in the place of an
    // old item stays, because the old item is gone.
    if (target.replaces) {
        request.set_done();
        delete_records_of_replaced(target.url);
    } else {
        request.set_undo([url = target.url, lock] { Tool::delete_item(url); });
    }
    return status::success{};
}

} // namespace

std::shared_ptr<ZipOperation> zip_items(std::vector<Url> item_urls, Url archive_url,
                                        std::optional<std::string> password,
                                        ConflictBehaviour on_conflict,
                                        ZipOperation::StatusClosure status_closure)
{
    return start_request<ZipOperation>(
        std::move(status_closure),
        [content = Content{std::move(item_urls), std::move(password)},
         archive = std::move(archive_url),
         on_conflict](ZipRequest& request) { return run(request, content, archive, on_conflict); });
}

} // namespace orv
