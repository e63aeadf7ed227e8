#include "Facade/ExampleFiles.hpp"
#include "Global/ThumbPlaceholder.hpp"
#include "Tool/Tool.hpp"

#include <orv/Facade/OrvFileBrowser.hpp>

#include <mutex>
#include <utility>

namespace orv {
namespace {

struct BrowserPlaceholder {
    std::mutex mutex;
    std::optional<Picture> picture; ///< none: the library's own
};

// Never destroyed: a browser may ask for it while the process ends.
BrowserPlaceholder& browser_placeholder()
{
    static auto* the_placeholder = new BrowserPlaceholder;
    return *the_placeholder;
}

} // namespace

OrvFileBrowser::OrvFileBrowser() : fm_(OrvFileManager::singleton()), curr_dir_(Tool::docs_dir()) {}

Picture OrvFileBrowser::thumb_placeholder()
{
    BrowserPlaceholder& placeholder = browser_placeholder();
    const std::lock_guard lock(placeholder.mutex);
    return placeholder.picture ? *placeholder.picture : intr_thumb_placeholder();
}

void OrvFileBrowser::set_thumb_placeholder(Picture picture)
{
    BrowserPlaceholder& placeholder = browser_placeholder();
    const std::lock_guard lock(placeholder.mutex);
    placeholder.picture = std::move(picture);
}

void OrvFileBrowser::change_dir(const Url& url)
{
    curr_dir_ = url.resolving_symlinks();
}

std::vector<std::shared_ptr<OrvOperation>> OrvFileBrowser::running() const
{
    return fm_.running();
}

void OrvFileBrowser::cancel_all()
{
    fm_.cancel_all();
}

std::shared_ptr<FetchItemsOperation>
OrvFileBrowser::fetch_curr_dir_items(std::optional<SortType> sort, bool include_hidden_files,
                                     FetchItemsOperation::StatusClosure status_closure)
{
    return fm_.fetch_items(curr_dir_, false, sort, include_hidden_files, std::move(status_closure));
}

std::shared_ptr<FetchItemsOperation>
OrvFileBrowser::fetch_items(Url inside, bool recursive, std::optional<SortType> sort,
                            bool include_hidden_files,
                            FetchItemsOperation::StatusClosure status_closure)
{
    return fm_.fetch_items(std::move(inside), recursive, sort, include_hidden_files,
                           std::move(status_closure));
}

std::shared_ptr<ZipOperation> OrvFileBrowser::zip_to(std::vector<Url> item_urls, Url to,
                                                     std::optional<std::string> password,
                                                     ConflictBehaviour on_conflict,
                                                     ZipOperation::StatusClosure status_closure)
{
    return fm_.zip(std::move(item_urls), std::move(to), std::move(password), on_conflict,
                   std::move(status_closure));
}

std::shared_ptr<UnzipOperation>
OrvFileBrowser::unzip_to(Url archive_url, Url to, std::optional<std::string> password,
                         UnzipOperation::StatusClosure status_closure)
{
    return fm_.unzip(std::move(archive_url), std::move(to), std::move(password),
                     std::move(status_closure));
}

std::shared_ptr<ZipOperation> OrvFileBrowser::zip(std::vector<Url> item_urls, std::string zip_name,
                                                  std::optional<std::string> password,
                                                  ZipOperation::StatusClosure status_closure)
{
    if (!zip_name.ends_with(".zip"))
        zip_name += ".zip";
    return fm_.zip(std::move(item_urls), curr_dir_.appending(zip_name), std::move(password),
                   ConflictBehaviour::keep_both, std::move(status_closure));
}

std::shared_ptr<UnzipOperation> OrvFileBrowser::unzip(Url archive_url,
                                                      std::optional<std::string> password,
                                                      UnzipOperation::StatusClosure status_closure)
{
    return fm_.unzip(std::move(archive_url), curr_dir_, std::move(password),
                     std::move(status_closure));
}

std::shared_ptr<CopyOperation> OrvFileBrowser::copy(Url src_url, Url dest_url,
                                                    CopyOperation::StatusClosure status_closure)
{
    return fm_.copy(std::move(src_url), std::move(dest_url), std::move(status_closure));
}

std::shared_ptr<MultiCopyOperation>
OrvFileBrowser::copy(std::vector<Url> src_urls, Url dest_folder_url,
                     MultiCopyOperation::StatusClosure status_closure)
{
    return fm_.copy(std::move(src_urls), std::move(dest_folder_url), std::move(status_closure));
}

std::shared_ptr<MultiCopyOperation>
OrvFileBrowser::copy(std::initializer_list<Url> src_urls, Url dest_folder_url,
                     MultiCopyOperation::StatusClosure status_closure)
{
    return fm_.copy(src_urls, std::move(dest_folder_url), std::move(status_closure));
}

std::shared_ptr<MoveOperation> OrvFileBrowser::move(Url src_url, Url dest_url,
                                                    MoveOperation::StatusClosure status_closure)
{
    return fm_.move(std::move(src_url), std::move(dest_url), std::move(status_closure));
}

std::shared_ptr<MultiMoveOperation>
OrvFileBrowser::move(std::vector<Url> src_urls, Url dest_folder_url,
                     MultiMoveOperation::StatusClosure status_closure)
{
    return fm_.move(std::move(src_urls), std::move(dest_folder_url), std::move(status_closure));
}

std::shared_ptr<MultiMoveOperation>
OrvFileBrowser::move(std::initializer_list<Url> src_urls, Url dest_folder_url,
                     MultiMoveOperation::StatusClosure status_closure)
{
    return fm_.move(src_urls, std::move(dest_folder_url), std::move(status_closure));
}

std::shared_ptr<DeleteOperation>
OrvFileBrowser::delete_item(Url at, DeleteOperation::StatusClosure status_closure)
{
    return fm_.delete_item(std::move(at), std::move(status_closure));
}

std::shared_ptr<MultiDeleteOperation>
OrvFileBrowser::delete_items(std::vector<Url> at,
                             MultiDeleteOperation::StatusClosure status_closure)
{
    return fm_.delete_items(std::move(at), std::move(status_closure));
}

std::shared_ptr<TransferOperation>
OrvFileBrowser::transfer(TransferPlan plan, TransferOperation::StatusClosure status_closure)
{
    return fm_.transfer(std::move(plan), std::move(status_closure));
}

std::shared_ptr<MoveToTrashOperation>
OrvFileBrowser::move_to_trash(std::vector<Url> urls,
                              MoveToTrashOperation::StatusClosure status_closure)
{
    return fm_.move_to_trash(std::move(urls), std::move(status_closure));
}

std::shared_ptr<UndoOperation>
OrvFileBrowser::undo_last(UndoOperation::StatusClosure status_closure)
{
    return fm_.undo_last(std::move(status_closure));
}

std::optional<std::string> OrvFileBrowser::undoable() const
{
    return fm_.undoable();
}

std::shared_ptr<FetchTrashedOperation>
OrvFileBrowser::fetch_trashed_items(FetchTrashedOperation::StatusClosure status_closure)
{
    return fm_.fetch_trashed_items(std::move(status_closure));
}

std::shared_ptr<RestoreOperation>
OrvFileBrowser::restore(std::vector<TrashedItem> items,
                        RestoreOperation::StatusClosure status_closure)
{
    return fm_.restore(std::move(items), std::move(status_closure));
}

std::shared_ptr<EmptyTrashOperation>
OrvFileBrowser::empty_trash(std::optional<std::chrono::seconds> older_than,
                            EmptyTrashOperation::StatusClosure status_closure)
{
    return fm_.empty_trash(older_than, std::move(status_closure));
}

std::shared_ptr<RenameOperation>
OrvFileBrowser::rename(Url url, std::string new_name, RenameOperation::StatusClosure status_closure)
{
    return fm_.rename(std::move(url), std::move(new_name), std::move(status_closure));
}

std::shared_ptr<NewFolderOperation>
OrvFileBrowser::create_new_folder(Url at, bool also_create_intermediates,
                                  NewFolderOperation::StatusClosure status_closure)
{
    return fm_.create_new_folder(std::move(at), also_create_intermediates,
                                 std::move(status_closure));
}

std::shared_ptr<FolderSizeOperation>
OrvFileBrowser::calculate_folder_size(Url for_url,
                                      FolderSizeOperation::StatusClosure status_closure)
{
    return fm_.calculate_folder_size(std::move(for_url), std::move(status_closure));
}

std::shared_ptr<FetchByAttrOperation>
OrvFileBrowser::fetch_items_by_attribute(FetchByAttrOperation::Attribute attribute,
                                         std::optional<SortType> sort,
                                         FetchByAttrOperation::StatusClosure status_closure)
{
    return fetch_items_by_attribute(attribute, sort, FetchByAttrOperation::IfGone::fail,
                                    std::move(status_closure));
}

std::shared_ptr<FetchByAttrOperation> OrvFileBrowser::fetch_items_by_attribute(
    FetchByAttrOperation::Attribute attribute, std::optional<SortType> sort,
    FetchByAttrOperation::IfGone if_gone, FetchByAttrOperation::StatusClosure status_closure)
{
    return fm_.fetch_items_by_attribute(attribute, sort, if_gone, std::move(status_closure));
}

std::shared_ptr<SearchItemsOperation>
OrvFileBrowser::search_items(Url inside, std::string keyword, bool recursive,
                             bool include_hidden_files,
                             std::vector<SearchItemsOperation::Criteria> criterias,
                             SearchItemsOperation::StatusClosure status_closure)
{
    return fm_.search_items(std::move(inside), std::move(keyword), recursive, include_hidden_files,
                            std::move(criterias), std::move(status_closure));
}

std::shared_ptr<DataToFileOpr>
OrvFileBrowser::generate_file(std::vector<std::byte> from, Url in,
                              DataToFileOpr::StatusClosure status_closure)
{
    return fm_.generate_file(std::move(from), std::move(in), std::move(status_closure));
}

std::shared_ptr<ReserveFileUrlOpr>
OrvFileBrowser::reserve_file_url(Url url, ReserveFileUrlOpr::StatusClosure status_closure)
{
    return fm_.reserve_file_url(std::move(url), std::move(status_closure));
}

void OrvFileBrowser::release_file_url(
    const std::shared_ptr<ReserveFileUrlOpr::Ticket>& reservation_ticket)
{
    fm_.release_file_url(reservation_ticket);
}

std::shared_ptr<ThumbGenerateOpr>
OrvFileBrowser::generate_thumb(Url from, std::optional<std::uint32_t> resize_width,
                               std::optional<std::uint32_t> resize_height,
                               ThumbGenerateOpr::StatusClosure status_closure)
{
    return fm_.generate_thumb(std::move(from), resize_width, resize_height,
                              std::move(status_closure));
}

void OrvFileBrowser::create_example_files(Url at, bool log_status, std::function<void()> completion)
{
    orv::create_example_files(std::move(at), log_status, std::move(completion));
}

std::vector<Url> OrvFileBrowser::missing_example_files(const Url& at)
{
    return orv::missing_example_files(at);
}

} // namespace orv
