#pragma once

#include <orv/Facade/OrvFileManager.hpp>
#include <orv/picture/Picture.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace orv {

/// The engine of one file-browser screen: a current folder, and the requests of `OrvFileManager`.
///
/// A request keeps the folder current at the time of the call. Any number of browsers may exist.
/// All use the one manager, and its descriptions of the requests hold here, too.
///
/// Threading: one browser is for one thread at a time.
class OrvFileBrowser {
public:
    /// Starts in the documents folder.
    OrvFileBrowser();

    /// The picture every browser of the process shows while a thumbnail is on its way; at first the
    /// library's own placeholder.
    ///
    /// Threading: any.
    [[nodiscard]] static Picture thumb_placeholder();
    static void set_thumb_placeholder(Picture picture);

    [[nodiscard]] const Url& curr_dir() const { return curr_dir_; }

    /// Makes `url` the current folder, with symbolic links resolved. Does not ask if it exists.
    void change_dir(const Url& url);

    /// The same for a folder inside the current one: a text is always such a name.
    template <class Text>
    requires std::is_convertible_v<const Text&, std::string_view>
    void change_dir(const Text& sub_folder) { change_dir(curr_dir_.appending(sub_folder)); }

    /// The requests under way, this browser's and all others.
    ///
    /// Threading: any.
    [[nodiscard]] std::vector<std::shared_ptr<OrvOperation>> running() const;

    /// Cancels them; see `OrvOperation::cancel`.
    ///
    /// Threading: any; off the main thread it waits for it.
    void cancel_all();

    /// Lists the current folder.
    std::shared_ptr<FetchItemsOperation>
    fetch_curr_dir_items(std::optional<SortType> sort, bool include_hidden_files,
                         FetchItemsOperation::StatusClosure status_closure);

    std::shared_ptr<FetchItemsOperation>
    fetch_items(Url inside, bool recursive, std::optional<SortType> sort, bool include_hidden_files,
                FetchItemsOperation::StatusClosure status_closure);

    /// Packs the items into an archive in the current folder, named `zip_name`, ".zip" added where
    /// it is missing, or with a free name.
    std::shared_ptr<ZipOperation> zip(std::vector<Url> item_urls, std::string zip_name,
                                      std::optional<std::string> password,
                                      ZipOperation::StatusClosure status_closure);

    /// Packs the items into an archive anywhere.
    std::shared_ptr<ZipOperation> zip_to(std::vector<Url> item_urls, Url to,
                                         std::optional<std::string> password,
                                         ConflictBehaviour on_conflict,
                                         ZipOperation::StatusClosure status_closure);

    /// Unpacks the archive into a new folder inside the current one.
    std::shared_ptr<UnzipOperation> unzip(Url archive_url, std::optional<std::string> password,
                                          UnzipOperation::StatusClosure status_closure);

    /// Unpacks the archive into a new folder inside `to`.
    std::shared_ptr<UnzipOperation> unzip_to(Url archive_url, Url to,
                                             std::optional<std::string> password,
                                             UnzipOperation::StatusClosure status_closure);

    std::shared_ptr<CopyOperation> copy(Url src_url, Url dest_url,
                                        CopyOperation::StatusClosure status_closure);
    std::shared_ptr<MultiCopyOperation> copy(std::vector<Url> src_urls, Url dest_folder_url,
                                             MultiCopyOperation::StatusClosure status_closure);
    std::shared_ptr<MultiCopyOperation> copy(std::initializer_list<Url> src_urls,
                                             Url dest_folder_url,
                                             MultiCopyOperation::StatusClosure status_closure);
    std::shared_ptr<MoveOperation> move(Url src_url, Url dest_url,
                                        MoveOperation::StatusClosure status_closure);
    std::shared_ptr<MultiMoveOperation> move(std::vector<Url> src_urls, Url dest_folder_url,
                                             MultiMoveOperation::StatusClosure status_closure);
    std::shared_ptr<MultiMoveOperation> move(std::initializer_list<Url> src_urls,
                                             Url dest_folder_url,
                                             MultiMoveOperation::StatusClosure status_closure);
    std::shared_ptr<TransferOperation> transfer(TransferPlan plan,
                                                TransferOperation::StatusClosure status_closure);
    std::shared_ptr<DeleteOperation> delete_item(Url at,
                                                 DeleteOperation::StatusClosure status_closure);
    std::shared_ptr<MultiDeleteOperation>
    delete_items(std::vector<Url> at, MultiDeleteOperation::StatusClosure status_closure);
    std::shared_ptr<MoveToTrashOperation>
    move_to_trash(std::vector<Url> urls, MoveToTrashOperation::StatusClosure status_closure);
    std::shared_ptr<UndoOperation> undo_last(UndoOperation::StatusClosure status_closure);
    [[nodiscard]] std::optional<std::string> undoable() const;
    std::shared_ptr<FetchTrashedOperation>
    fetch_trashed_items(FetchTrashedOperation::StatusClosure status_closure);
    std::shared_ptr<RestoreOperation> restore(std::vector<TrashedItem> items,
                                              RestoreOperation::StatusClosure status_closure);
    std::shared_ptr<EmptyTrashOperation>
    empty_trash(std::optional<std::chrono::seconds> older_than,
                EmptyTrashOperation::StatusClosure status_closure);
    std::shared_ptr<RenameOperation> rename(Url url, std::string new_name,
                                            RenameOperation::StatusClosure status_closure);
    std::shared_ptr<NewFolderOperation>
    create_new_folder(Url at, bool also_create_intermediates,
                      NewFolderOperation::StatusClosure status_closure);
    std::shared_ptr<FolderSizeOperation>
    calculate_folder_size(Url for_url, FolderSizeOperation::StatusClosure status_closure);
    std::shared_ptr<FetchByAttrOperation>
    fetch_items_by_attribute(FetchByAttrOperation::Attribute attribute,
                             std::optional<SortType> sort,
                             FetchByAttrOperation::StatusClosure status_closure);
    std::shared_ptr<FetchByAttrOperation>
    fetch_items_by_attribute(FetchByAttrOperation::Attribute attribute,
                             std::optional<SortType> sort, FetchByAttrOperation::IfGone if_gone,
                             FetchByAttrOperation::StatusClosure status_closure);
    std::shared_ptr<SearchItemsOperation>
    search_items(Url inside, std::string keyword, bool recursive, bool include_hidden_files,
                 std::vector<SearchItemsOperation::Criteria> criterias,
                 SearchItemsOperation::StatusClosure status_closure);
    std::shared_ptr<DataToFileOpr> generate_file(std::vector<std::byte> from, Url in,
                                                 DataToFileOpr::StatusClosure status_closure);
    std::shared_ptr<ReserveFileUrlOpr>
    reserve_file_url(Url url, ReserveFileUrlOpr::StatusClosure status_closure);
    void release_file_url(const std::shared_ptr<ReserveFileUrlOpr::Ticket>& reservation_ticket);
    std::shared_ptr<ThumbGenerateOpr>
    generate_thumb(Url from, std::optional<std::uint32_t> resize_width,
                   std::optional<std::uint32_t> resize_height,
                   ThumbGenerateOpr::StatusClosure status_closure);

    /// Fills the folder `at` with a fixed tree of example folders and files from the library's
    /// resources, then calls `completion`, if it is not empty, once on the main thread. Leaves
    /// existing items alone. With `log_status` every step prints a line to standard output.
    ///
    /// Threading: any.
    /// Errors: a failed step prints a line, and the next one follows.
    static void create_example_files(Url at, bool log_status, std::function<void()> completion);

    /// The folders and files of the example tree missing from the folder `at`, in the order of
    /// their creation.
    ///
    /// Threading: any.
    [[nodiscard]] static std::vector<Url> missing_example_files(const Url& at);

private:
    OrvFileManager& fm_;
    Url curr_dir_;
};

} // namespace orv
