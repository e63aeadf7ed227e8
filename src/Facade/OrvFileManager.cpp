#include "CustomAttributes/FollowedItems.hpp"
#include "CustomAttributes/ReplacedRecords.hpp"
#include "Database/DBManager.hpp"
#include "Global/TestMode.hpp"
#include "Operations/CopyOpr.hpp"
#include "Operations/DataToFileOpr.hpp"
#include "Operations/DeleteOpr.hpp"
#include "Operations/EmptyTrashOpr.hpp"
#include "Operations/FetchByAttrOpr.hpp"
#include "Operations/FetchItemsOpr.hpp"
#include "Operations/FetchTrashedOpr.hpp"
#include "Operations/FolderSizeOpr.hpp"
#include "Operations/MoveOpr.hpp"
#include "Operations/MoveToTrashOpr.hpp"
#include "Operations/MultiCopyOpr.hpp"
#include "Operations/MultiDeleteOpr.hpp"
#include "Operations/MultiMoveOpr.hpp"
#include "Operations/NewFolderOpr.hpp"
#include "Operations/RenameOpr.hpp"
#include "Operations/ReserveFileUrlOpr.hpp"
#include "Operations/RestoreOpr.hpp"
#include "Operations/SearchItemsOpr.hpp"
#include "Operations/SnglCopyOpr.hpp"
#include "Operations/ThumbGenerateOpr.hpp"
#include "Operations/TransferOpr.hpp"
#include "Operations/UndoOpr.hpp"
#include "Operations/UnzipOpr.hpp"
#include "Operations/ZipOpr.hpp"
#include "Operations/frame/RunningOperations.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "Tool/Tool.hpp"
#include "archive/Zip.hpp"
#include "files/Leftovers.hpp"
#include "files/ProcessedFiles.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/Facade/OrvFileManager.hpp>
#include <orv/utility/Error.hpp>

#include <algorithm>
#include <future>
#include <iostream>

namespace orv {
namespace {

/// The location's lock for a synchronous method; none when another request holds it.
std::optional<UrlLock> lock_of(const Url& url)
{
    try {
        return std::optional<UrlLock>(std::in_place, write(url));
    } catch (const Error&) {
        return std::nullopt;
    }
}

} // namespace

void OrvFileManager::configure(Locations locations)
{
    configure_locations(std::move(locations));
}

OrvFileManager& OrvFileManager::singleton()
{
    static auto* manager = new OrvFileManager;
    return *manager;
}

void OrvFileManager::create_singleton()
{
    singleton().forced_singleton_creation_ = true;
}

OrvFileManager::OrvFileManager()
{
    if (create_processed_files_folder())
        remove_leftovers();
    else
        std::cerr << "⚠️ Couldn't create 'processed files' directory when initializing "
                     "`OrvFileManager`"
                  << std::endl;
    db_mngr_ = &shared_db_manager();
    restore_replaced_records();
}

bool OrvFileManager::test_mode()
{
    return intr_test_mode();
}

void OrvFileManager::set_test_mode(bool on)
{
    set_intr_test_mode(on);
}

void OrvFileManager::set_expansion_limits(const ExpansionLimits& limits)
{
    Zip::set_expansion_limits(limits);
}

ExpansionLimits OrvFileManager::expansion_limits()
{
    return Zip::expansion_limits();
}

void OrvFileManager::set_max_threads(int count)
{
    WorkerPool::instance().set_max_threads(count);
}

int OrvFileManager::max_threads()
{
    return WorkerPool::instance().max_threads();
}

void OrvFileManager::set_follows_items(bool on)
{
    orv::set_follows_items(on);
}

bool OrvFileManager::follows_items()
{
    return orv::follows_items();
}

std::vector<std::shared_ptr<OrvOperation>> OrvFileManager::running() const
{
    return RunningOperations::all();
}

void OrvFileManager::cancel_all()
{
    for (const auto& operation : RunningOperations::all())
        operation->cancel();
}

std::shared_ptr<SnglCopyOperation>
OrvFileManager::single_copy(Url src_url, Url dest_url, bool overwrite,
                            SnglCopyOperation::StatusClosure status_closure)
{
    if (test_mode())
        return orv::single_copy(std::move(src_url), std::move(dest_url), overwrite, true,
                                std::move(status_closure));
    std::cerr << "⚠️ single_copy() function is exposed for debug purposes and it can cause "
                 "unexpected behaviour.\n"
                 "So it should not be used under normal circumstances,\n"
                 "but if you are sure to use it please set `OrvFileManager.test_mode` to `true`."
              << std::endl;
    return inert_single_copy();
}

std::shared_ptr<CopyOperation> OrvFileManager::copy(Url src_url, Url dest_url,
                                                    CopyOperation::StatusClosure status_closure)
{
    return copy_item(src_url, dest_url, std::move(status_closure));
}

std::shared_ptr<MultiCopyOperation>
OrvFileManager::copy(std::vector<Url> src_urls, Url dest_folder_url,
                     MultiCopyOperation::StatusClosure status_closure)
{
    return copy_items(std::move(src_urls), std::move(dest_folder_url), std::move(status_closure));
}

// Braces around one location are a list, too.
std::shared_ptr<MultiCopyOperation>
OrvFileManager::copy(std::initializer_list<Url> src_urls, Url dest_folder_url,
                     MultiCopyOperation::StatusClosure status_closure)
{
    return copy_items(src_urls, std::move(dest_folder_url), std::move(status_closure));
}

bool OrvFileManager::bg_copy(const Url& src_url, const Url& dest_url, ConflictBehaviour on_conflict)
{
    assert_bg_thread("bg_copy(src_url:dest_url:on_conflict:)");
    const auto is_copied = std::make_shared<std::promise<bool>>();
    copy(src_url, dest_url, [=](const CopyOperation::Status& status) {
        match(
            status, [](const status::progress<CopyProgress>&) {}, [](const status::preparing&) {},
            [=](const status::conflict_occured& conflict) {
                conflict.resolver->resume(on_conflict, false);
            },
            [=](const status::success&) { is_copied->set_value(true); },
            [=](const status::error&) { is_copied->set_value(false); },
            [=](const status::cancelled&) { is_copied->set_value(false); });
    });
    const WorkerPool::Blocked blocked;
    return is_copied->get_future().get();
}

std::shared_ptr<MoveOperation> OrvFileManager::move(Url src_url, Url dest_url,
                                                    MoveOperation::StatusClosure status_closure)
{
    return move_item(src_url, dest_url, std::move(status_closure));
}

std::shared_ptr<MultiMoveOperation>
OrvFileManager::move(std::vector<Url> src_urls, Url dest_folder_url,
                     MultiMoveOperation::StatusClosure status_closure)
{
    return move_items(std::move(src_urls), std::move(dest_folder_url), std::move(status_closure));
}

std::shared_ptr<MultiMoveOperation>
OrvFileManager::move(std::initializer_list<Url> src_urls, Url dest_folder_url,
                     MultiMoveOperation::StatusClosure status_closure)
{
    return move_items(src_urls, std::move(dest_folder_url), std::move(status_closure));
}

std::shared_ptr<DeleteOperation>
OrvFileManager::delete_item(Url at, DeleteOperation::StatusClosure status_closure)
{
    return orv::delete_item(std::move(at), std::move(status_closure));
}

std::shared_ptr<MultiDeleteOperation>
OrvFileManager::delete_items(std::vector<Url> at,
                             MultiDeleteOperation::StatusClosure status_closure)
{
    return orv::delete_items(std::move(at), std::move(status_closure));
}

std::shared_ptr<TransferOperation>
OrvFileManager::transfer(TransferPlan plan, TransferOperation::StatusClosure status_closure)
{
    return orv::transfer(std::move(plan), std::move(status_closure));
}

std::shared_ptr<MoveToTrashOperation>
OrvFileManager::move_to_trash(std::vector<Url> urls,
                              MoveToTrashOperation::StatusClosure status_closure)
{
    return orv::move_to_trash(std::move(urls), std::move(status_closure));
}

std::shared_ptr<FetchTrashedOperation>
OrvFileManager::fetch_trashed_items(FetchTrashedOperation::StatusClosure status_closure)
{
    return orv::fetch_trashed_items(std::move(status_closure));
}

std::shared_ptr<RestoreOperation>
OrvFileManager::restore(std::vector<TrashedItem> items,
                        RestoreOperation::StatusClosure status_closure)
{
    return orv::restore(std::move(items), std::move(status_closure));
}

std::shared_ptr<EmptyTrashOperation>
OrvFileManager::empty_trash(std::optional<std::chrono::seconds> older_than,
                            EmptyTrashOperation::StatusClosure status_closure)
{
    return orv::empty_trash(older_than, std::move(status_closure));
}

std::shared_ptr<UndoOperation>
OrvFileManager::undo_last(UndoOperation::StatusClosure status_closure)
{
    return orv::undo_last(std::move(status_closure));
}

std::optional<std::string> OrvFileManager::undoable() const
{
    const auto requests = orv::undoable_requests();
    const auto next = std::ranges::find(requests, false, &UndoableRequest::was_refused);
    return next == requests.end() ? std::nullopt : std::optional(next->sentence);
}

std::vector<UndoableRequest> OrvFileManager::undoable_requests() const
{
    return orv::undoable_requests();
}

std::shared_ptr<NewFolderOperation>
OrvFileManager::create_new_folder(Url at, bool also_create_intermediates,
                                  NewFolderOperation::StatusClosure status_closure)
{
    return new_folder(std::move(at), also_create_intermediates, std::move(status_closure));
}

std::shared_ptr<RenameOperation>
OrvFileManager::rename(Url url, std::string new_name, RenameOperation::StatusClosure status_closure)
{
    return rename_item(std::move(url), std::move(new_name), std::move(status_closure));
}

std::shared_ptr<FolderSizeOperation>
OrvFileManager::calculate_folder_size(Url for_url,
                                      FolderSizeOperation::StatusClosure status_closure)
{
    return calc_folder_size(std::move(for_url), std::move(status_closure));
}

std::shared_ptr<FetchItemsOperation>
OrvFileManager::fetch_items(Url inside, bool recursive, std::optional<SortType> sort,
                            bool include_hidden_files,
                            FetchItemsOperation::StatusClosure status_closure)
{
    return orv::fetch_items(std::move(inside), recursive, sort, include_hidden_files,
                            std::move(status_closure));
}

std::shared_ptr<ZipOperation> OrvFileManager::zip(std::vector<Url> item_urls, Url to,
                                                  std::optional<std::string> password,
                                                  ConflictBehaviour on_conflict,
                                                  ZipOperation::StatusClosure status_closure)
{
    return zip_items(std::move(item_urls), std::move(to), std::move(password), on_conflict,
                     std::move(status_closure));
}

std::shared_ptr<UnzipOperation> OrvFileManager::unzip(Url archive_url, Url to,
                                                      std::optional<std::string> password,
                                                      UnzipOperation::StatusClosure status_closure)
{
    return unzip_archive(std::move(archive_url), std::move(to), std::move(password),
                         std::move(status_closure));
}

std::shared_ptr<DataToFileOpr>
OrvFileManager::generate_file(std::vector<std::byte> from, Url in,
                              DataToFileOpr::StatusClosure status_closure)
{
    return data_to_file(std::move(from), std::move(in), std::move(status_closure));
}

std::shared_ptr<ReserveFileUrlOpr>
OrvFileManager::reserve_file_url(Url url, ReserveFileUrlOpr::StatusClosure status_closure)
{
    return orv::reserve_file_url(std::move(url), std::move(status_closure));
}

void OrvFileManager::release_file_url(
    const std::shared_ptr<ReserveFileUrlOpr::Ticket>& reservation_ticket)
{
    orv::release_file_url(*reservation_ticket);
}

std::shared_ptr<FetchByAttrOperation>
OrvFileManager::fetch_items_by_attribute(FetchByAttrOperation::Attribute attribute,
                                         std::optional<SortType> sort,
                                         FetchByAttrOperation::StatusClosure status_closure)
{
    return fetch_items_by_attribute(attribute, sort, FetchByAttrOperation::IfGone::fail,
                                    std::move(status_closure));
}

std::shared_ptr<FetchByAttrOperation> OrvFileManager::fetch_items_by_attribute(
    FetchByAttrOperation::Attribute attribute, std::optional<SortType> sort,
    FetchByAttrOperation::IfGone if_gone, FetchByAttrOperation::StatusClosure status_closure)
{
    return orv::fetch_items_by_attribute(attribute, sort, if_gone, std::move(status_closure));
}

std::shared_ptr<SearchItemsOperation>
OrvFileManager::search_items(Url inside, std::string keyword, bool recursive,
                             bool include_hidden_files,
                             std::vector<SearchItemsOperation::Criteria> criterias,
                             SearchItemsOperation::StatusClosure status_closure)
{
    return orv::search_items(std::move(inside), std::move(keyword), recursive, include_hidden_files,
                             std::move(criterias), std::move(status_closure));
}

std::shared_ptr<ThumbGenerateOpr>
OrvFileManager::generate_thumb(Url from, std::optional<std::uint32_t> resize_width,
                               std::optional<std::uint32_t> resize_height,
                               ThumbGenerateOpr::StatusClosure status_closure)
{
    return orv::generate_thumb(std::move(from), resize_width, resize_height,
                               std::move(status_closure));
}

bool OrvFileManager::sync_delete_item(const Url& at)
{
    const auto lock = lock_of(at);
    return lock && Tool::delete_item(at);
}

bool OrvFileManager::sync_create_new_folder(const Url& at, bool also_create_intermediates)
{
    const std::string path = at.standardized().path();
    if (path.empty() || path == "/")
        return false;
    const auto lock = lock_of(at);
    if (!lock)
        return false;
    if (Tool::item_exists(at))
        return Tool::is_directory(at);
    return Tool::create_directory(at, also_create_intermediates);
}

bool OrvFileManager::file_exists(const Url& at) const
{
    return Tool::item_exists(at);
}

bool OrvFileManager::is_directory(const Url& url) const
{
    return Tool::is_directory(url);
}

} // namespace orv
