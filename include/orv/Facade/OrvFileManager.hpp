#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/CopyOpr.hpp>
#include <orv/Operations/DataToFileOpr.hpp>
#include <orv/Operations/DeleteOpr.hpp>
#include <orv/Operations/EmptyTrashOpr.hpp>
#include <orv/Operations/FetchByAttrOpr.hpp>
#include <orv/Operations/FetchItemsOpr.hpp>
#include <orv/Operations/FetchTrashedOpr.hpp>
#include <orv/Operations/FolderSizeOpr.hpp>
#include <orv/Operations/MoveOpr.hpp>
#include <orv/Operations/MoveToTrashOpr.hpp>
#include <orv/Operations/MultiCopyOpr.hpp>
#include <orv/Operations/MultiDeleteOpr.hpp>
#include <orv/Operations/MultiMoveOpr.hpp>
#include <orv/Operations/NewFolderOpr.hpp>
#include <orv/Operations/OrvOperation.hpp>
#include <orv/Operations/RenameOpr.hpp>
#include <orv/Operations/ReserveFileUrlOpr.hpp>
#include <orv/Operations/RestoreOpr.hpp>
#include <orv/Operations/SearchItemsOpr.hpp>
#include <orv/Operations/SnglCopyOpr.hpp>
#include <orv/Operations/ThumbGenerateOpr.hpp>
#include <orv/Operations/TransferOpr.hpp>
#include <orv/Operations/UndoOpr.hpp>
#include <orv/Operations/UnzipOpr.hpp>
#include <orv/Operations/ZipOpr.hpp>
#include <orv/archive/ExpansionLimits.hpp>
#include <orv/utility/Locations.hpp>
#include <orv/utility/Url.hpp>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv {

class DBManager;

/// The library's entry point: starts every request on URLs.
///
/// Each method with a `status_closure` starts a request in the background and returns its operation
/// at once. The main thread runs the closure, the last time with the final status, and then
/// destroys it. The closure may be empty. Requests lock the items they read and write; the locks
/// hold within this process.
///
/// Threading: any, unless said otherwise.
/// Errors: a request's come with its final status. An unusable database ends the process.
class OrvFileManager {
public:
    /// Sets where the library keeps things.
    ///
    /// Threading: call it before anything else of the library. A later call ends the process.
    static void configure(Locations locations);

    /// The one manager, made on first use. It creates the folder for unfinished files, removes the
    /// leftovers of dead processes there, and opens the database.
    static OrvFileManager& singleton();

    /// Makes the manager now, to spare the first request the wait.
    static void create_singleton();

    /// True if requests pause on purpose, for tests to observe them at work. Off at first.
    [[nodiscard]] static bool test_mode();
    static void set_test_mode(bool on);

    /// How far archives may expand when unpacked from now on. A request refuses an archive above
    /// the limits.
    static void set_expansion_limits(const ExpansionLimits& limits);
    [[nodiscard]] static ExpansionLimits expansion_limits();

    /// Sets how many background threads requests may hold at once, at least one; 64 at first.
    /// Further requests wait their turn. A request does not count while it waits for an answer, for
    /// another request, or for a volume that does not respond, so it never stops the others.
    ///
    /// Threading: any.
    static void set_max_threads(int count);
    [[nodiscard]] static int max_threads();

    /// True if stored attributes follow an item that another program renames, moves, or replaces as
    /// editors do when they save; off at first. A listing that sees the item, or a search for it
    /// nearby, finds it again by its inode number and date of creation. A different item under the
    /// old name gets nothing if the former one is found. Where the volume keeps no dates of
    /// creation, attributes stay with the path.
    ///
    /// Threading: any.
    static void set_follows_items(bool on);
    [[nodiscard]] static bool follows_items();

    OrvFileManager(const OrvFileManager&) = delete;
    OrvFileManager& operator=(const OrvFileManager&) = delete;

    /// The requests under way, in order of their start.
    ///
    /// Threading: any.
    [[nodiscard]] std::vector<std::shared_ptr<OrvOperation>> running() const;

    /// Cancels all requests under way; see `OrvOperation::cancel`.
    ///
    /// Threading: any; off the main thread it waits for it.
    void cancel_all();

    /// Copies one file, or one folder without its contents. Works in test mode only; otherwise it
    /// prints a warning and returns an operation that never starts.
    std::shared_ptr<SnglCopyOperation> single_copy(Url src_url, Url dest_url, bool overwrite,
                                                   SnglCopyOperation::StatusClosure status_closure);

    /// Copies the item at `src_url` to `dest_url`, its full new location. Resolves symbolic links
    /// in both first.
    std::shared_ptr<CopyOperation> copy(Url src_url, Url dest_url,
                                        CopyOperation::StatusClosure status_closure);

    /// Copies the items into the folder, each under its own name, one after the other, and stops at
    /// the first failure. An empty list ends the process.
    std::shared_ptr<MultiCopyOperation> copy(std::vector<Url> src_urls, Url dest_folder_url,
                                             MultiCopyOperation::StatusClosure status_closure);
    std::shared_ptr<MultiCopyOperation> copy(std::initializer_list<Url> src_urls,
                                             Url dest_folder_url,
                                             MultiCopyOperation::StatusClosure status_closure);

    /// Copies like `copy`, answers a conflict with `on_conflict`, and waits for the end. True if
    /// the copy was made.
    ///
    /// Threading: background. The call needs the main thread, so a call on it ends the process.
    bool bg_copy(const Url& src_url, const Url& dest_url, ConflictBehaviour on_conflict);

    /// Moves the item at `src_url` and its attributes to `dest_url`, its full new location, across
    /// volumes if need be. Resolves symbolic links in both first.
    std::shared_ptr<MoveOperation> move(Url src_url, Url dest_url,
                                        MoveOperation::StatusClosure status_closure);

    /// Moves the items into the folder, each under its own name, one after the other, and stops at
    /// the first failure.
    std::shared_ptr<MultiMoveOperation> move(std::vector<Url> src_urls, Url dest_folder_url,
                                             MultiMoveOperation::StatusClosure status_closure);
    std::shared_ptr<MultiMoveOperation> move(std::initializer_list<Url> src_urls,
                                             Url dest_folder_url,
                                             MultiMoveOperation::StatusClosure status_closure);

    /// Deletes the item at `at`, a folder with everything in it, and its attributes.
    std::shared_ptr<DeleteOperation> delete_item(Url at,
                                                 DeleteOperation::StatusClosure status_closure);

    /// Copies or moves any number of items into a folder by the rules of `plan`: the request behind
    /// a paste and a drop. It goes on after a failed item if the policy says so, and reports the
    /// outcome of each.
    std::shared_ptr<TransferOperation> transfer(TransferPlan plan,
                                                TransferOperation::StatusClosure status_closure);

    /// Deletes the items one after the other, and stops at the first failure.
    std::shared_ptr<MultiDeleteOperation>
    delete_items(std::vector<Url> at, MultiDeleteOperation::StatusClosure status_closure);

    /// Moves the items to the trash the user's programs share: the home trash for items on its
    /// volume, else one on the item's volume. A symbolic link goes itself, not its target.
    /// Attributes go along.
    std::shared_ptr<MoveToTrashOperation>
    move_to_trash(std::vector<Url> urls, MoveToTrashOperation::StatusClosure status_closure);

    /// Lists the items in the trash folders of all mounted volumes, whoever threw them away.
    std::shared_ptr<FetchTrashedOperation>
    fetch_trashed_items(FetchTrashedOperation::StatusClosure status_closure);

    /// Moves the items out of the trash, each to its `original_url`. Attributes come back, too.
    std::shared_ptr<RestoreOperation> restore(std::vector<TrashedItem> items,
                                              RestoreOperation::StatusClosure status_closure);

    /// Deletes the contents of the trash folders of all mounted volumes for good: all of it, or
    /// items thrown away longer than `older_than` ago.
    std::shared_ptr<EmptyTrashOperation>
    empty_trash(std::optional<std::chrono::seconds> older_than,
                EmptyTrashOperation::StatusClosure status_closure);

    /// Takes back the last request that changed something, also after a restart: new items go to
    /// the trash, moved and thrown-away items back to their former places. If something has changed
    /// since, the request fails with a sentence, before it does anything; the next undo tries it
    /// again and, if it fails again, takes back the request before.
    std::shared_ptr<UndoOperation> undo_last(UndoOperation::StatusClosure status_closure);

    /// A sentence for a menu about the next undo, such as "Undo moving 3 items"; no value if there
    /// is nothing to undo.
    ///
    /// Threading: any, meant for background threads: waits for the database.
    [[nodiscard]] std::optional<std::string> undoable() const;

    /// The requests that can be taken back, the last one first, at most 200.
    ///
    /// Threading: any, meant for background threads: waits for the database.
    [[nodiscard]] std::vector<UndoableRequest> undoable_requests() const;

    /// Creates a folder, and with `also_create_intermediates` the missing ones above it.
    std::shared_ptr<NewFolderOperation>
    create_new_folder(Url at, bool also_create_intermediates,
                      NewFolderOperation::StatusClosure status_closure);

    /// Gives the item another name in the same folder, where it must be free.
    std::shared_ptr<RenameOperation> rename(Url url, std::string new_name,
                                            RenameOperation::StatusClosure status_closure);

    /// Adds up the sizes of all files in the folder, at every depth.
    std::shared_ptr<FolderSizeOperation>
    calculate_folder_size(Url for_url, FolderSizeOperation::StatusClosure status_closure);

    /// Lists the folder `inside` or, with `recursive`, the whole tree below it. With `sort` the
    /// list is sorted, and the folder remembers the choice if it has stored attributes.
    std::shared_ptr<FetchItemsOperation>
    fetch_items(Url inside, bool recursive, std::optional<SortType> sort, bool include_hidden_files,
                FetchItemsOperation::StatusClosure status_closure);

    /// Packs the items, folders with all their contents, into a new zip archive at `to`; a password
    /// encrypts the contents. `on_conflict` decides what happens to a taken name. `merge` fails:
    /// there is no merging of archives.
    std::shared_ptr<ZipOperation> zip(std::vector<Url> item_urls, Url to,
                                      std::optional<std::string> password,
                                      ConflictBehaviour on_conflict,
                                      ZipOperation::StatusClosure status_closure);

    /// Unpacks the archive into a new folder inside the folder `to`, named like the archive or
    /// with a free name.
    std::shared_ptr<UnzipOperation> unzip(Url archive_url, Url to,
                                          std::optional<std::string> password,
                                          UnzipOperation::StatusClosure status_closure);

    /// Writes the bytes to a new file at `in`.
    std::shared_ptr<DataToFileOpr> generate_file(std::vector<std::byte> from, Url in,
                                                 DataToFileOpr::StatusClosure status_closure);

    /// Reserves a location for a future file: no request reads or writes there until the release of
    /// the ticket.
    std::shared_ptr<ReserveFileUrlOpr>
    reserve_file_url(Url url, ReserveFileUrlOpr::StatusClosure status_closure);

    /// Ends a reservation. Does nothing if it has ended before.
    void release_file_url(const std::shared_ptr<ReserveFileUrlOpr::Ticket>& reservation_ticket);

    /// Lists all items whose stored attributes include `attribute`, in no particular order without
    /// `sort`. The request fails if one of them is gone, unless `if_gone` says otherwise.
    std::shared_ptr<FetchByAttrOperation>
    fetch_items_by_attribute(FetchByAttrOperation::Attribute attribute,
                             std::optional<SortType> sort,
                             FetchByAttrOperation::StatusClosure status_closure);
    std::shared_ptr<FetchByAttrOperation>
    fetch_items_by_attribute(FetchByAttrOperation::Attribute attribute,
                             std::optional<SortType> sort, FetchByAttrOperation::IfGone if_gone,
                             FetchByAttrOperation::StatusClosure status_closure);

    /// Searches the folder `inside` or, with `recursive`, the whole tree below it for items with
    /// `keyword` in one of the places in `criterias`.
    std::shared_ptr<SearchItemsOperation>
    search_items(Url inside, std::string keyword, bool recursive, bool include_hidden_files,
                 std::vector<SearchItemsOperation::Criteria> criterias,
                 SearchItemsOperation::StatusClosure status_closure);

    /// Makes a thumbnail of the file with the generator `OrvThumbnail` has for its extension. With
    /// one side given, the other follows from the shape of the picture; with both, the picture is
    /// stretched; with none, it keeps its own size. A file without a picture gets the placeholder.
    ///
    /// Units: pixels.
    std::shared_ptr<ThumbGenerateOpr>
    generate_thumb(Url from, std::optional<std::uint32_t> resize_width,
                   std::optional<std::uint32_t> resize_height,
                   ThumbGenerateOpr::StatusClosure status_closure);

    /// Deletes the item; true if it is gone. Its attributes stay stored. False for "/" and for an
    /// item in use by a request.
    bool sync_delete_item(const Url& at);

    /// Creates a folder; true if there is one now. Leaves an existing folder alone.
    bool sync_create_new_folder(const Url& at, bool also_create_intermediates);

    /// True if there is an item. A symbolic link counts, wherever it points.
    [[nodiscard]] bool file_exists(const Url& at) const;

    /// True if there is a folder, or a symbolic link to one.
    [[nodiscard]] bool is_directory(const Url& url) const;

private:
    OrvFileManager();
    ~OrvFileManager() = delete;

    DBManager* db_mngr_ = nullptr;
    bool forced_singleton_creation_ = false;
};

} // namespace orv
