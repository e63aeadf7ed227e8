#pragma once

#include <orv/Misc/FileItem.hpp>
#include <orv/Operations/CopyOpr.hpp>
#include <orv/Operations/DataToFileOpr.hpp>
#include <orv/Operations/DeleteOpr.hpp>
#include <orv/Operations/FetchByAttrOpr.hpp>
#include <orv/Operations/FetchItemsOpr.hpp>
#include <orv/Operations/FolderSizeOpr.hpp>
#include <orv/Operations/MoveOpr.hpp>
#include <orv/Operations/MultiCopyOpr.hpp>
#include <orv/Operations/MultiDeleteOpr.hpp>
#include <orv/Operations/MultiMoveOpr.hpp>
#include <orv/Operations/NewFolderOpr.hpp>
#include <orv/Operations/RenameOpr.hpp>
#include <orv/Operations/ReserveFileUrlOpr.hpp>
#include <orv/Operations/SearchItemsOpr.hpp>
#include <orv/Operations/SnglCopyOpr.hpp>
#include <orv/Operations/ThumbGenerateOpr.hpp>
#include <orv/Operations/UnzipOpr.hpp>
#include <orv/Operations/ZipOpr.hpp>
#include <orv/archive/ExpansionLimits.hpp>
#include <orv/utility/Locations.hpp>
#include <orv/utility/Url.hpp>

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
/// Each method that takes a `status_closure` starts a request in the background and returns its
/// operation at once. The closure is called on the main thread, the last time with the final
/// status, and destroyed there afterwards; it may be empty. Locks that requests take on what they
/// read and write hold within this process.
///
/// Threading: any, unless said otherwise.
/// Errors: a request's come with its final status. An unusable database ends the process.
class OrvFileManager {
public:
    /// Sets where the library keeps things.
    ///
    /// Threading: to be called before anything else of the library; later the process ends.
    static void configure(Locations locations);

    /// The one manager, made on first use: creates the folder for files that are being built,
    /// removes what dead processes left in it, and opens the database.
    static OrvFileManager& singleton();

    /// Makes the manager now, so that the first request need not wait for it.
    static void create_singleton();

    /// Whether requests insert pauses, so that tests can observe them at work. Off at first.
    [[nodiscard]] static bool test_mode();
    static void set_test_mode(bool on);

    /// How far archives may unfold that are unpacked from now on; others are refused.
    static void set_expansion_limits(const ExpansionLimits& limits);
    [[nodiscard]] static ExpansionLimits expansion_limits();

    /// Sets how many background threads requests may hold at once, at least one; 64 at first. More
    /// requests than that wait their turn. A request that waits for an answer or for another
    /// request, or that gets no answer from its volume, does not count, so it never stops the
    /// others.
    ///
    /// Threading: any.
    static void set_max_threads(int count);
    [[nodiscard]] static int max_threads();

    OrvFileManager(const OrvFileManager&) = delete;
    OrvFileManager& operator=(const OrvFileManager&) = delete;

    /// Copies one file, or one folder without what is in it. Works in test mode only; otherwise it
    /// prints a warning and returns an operation that never starts.
    std::shared_ptr<SnglCopyOperation> single_copy(Url src_url, Url dest_url, bool overwrite,
                                                   SnglCopyOperation::StatusClosure status_closure);

    /// Copies the item at `src_url` so that it is found at `dest_url`. Symbolic links in both are
    /// resolved first.
    std::shared_ptr<CopyOperation> copy(Url src_url, Url dest_url,
                                        CopyOperation::StatusClosure status_closure);

    /// Copies the items into the folder, each under its own name, one after the other, up to the
    /// first that fails. The list must not be empty: the process ends.
    std::shared_ptr<MultiCopyOperation> copy(std::vector<Url> src_urls, Url dest_folder_url,
                                             MultiCopyOperation::StatusClosure status_closure);
    std::shared_ptr<MultiCopyOperation> copy(std::initializer_list<Url> src_urls,
                                             Url dest_folder_url,
                                             MultiCopyOperation::StatusClosure status_closure);

    /// Copies like `copy`, answers a conflict with `on_conflict`, waits for the end, and says
    /// whether the copy was made.
    ///
    /// Threading: background; on the main thread, which it needs, the process ends.
    bool bg_copy(const Url& src_url, const Url& dest_url, ConflictBehaviour on_conflict);

    /// Moves the item at `src_url`, and its attributes, so that it is found at `dest_url`, on
    /// another volume, too. Symbolic links in both are resolved first.
    std::shared_ptr<MoveOperation> move(Url src_url, Url dest_url,
                                        MoveOperation::StatusClosure status_closure);

    /// Moves the items into the folder, each under its own name, one after the other, up to the
    /// first that fails.
    std::shared_ptr<MultiMoveOperation> move(std::vector<Url> src_urls, Url dest_folder_url,
                                             MultiMoveOperation::StatusClosure status_closure);
    std::shared_ptr<MultiMoveOperation> move(std::initializer_list<Url> src_urls,
                                             Url dest_folder_url,
                                             MultiMoveOperation::StatusClosure status_closure);

    /// Deletes the item at `at`, a folder with everything in it, and its attributes.
    std::shared_ptr<DeleteOperation> delete_item(Url at,
                                                 DeleteOperation::StatusClosure status_closure);

    /// Deletes the items one after the other, up to the first that fails.
    std::shared_ptr<MultiDeleteOperation>
    delete_items(std::vector<Url> at, MultiDeleteOperation::StatusClosure status_closure);

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
    /// list is sorted, and the choice is remembered where attributes of the folder are stored.
    std::shared_ptr<FetchItemsOperation>
    fetch_items(Url inside, bool recursive, std::optional<SortType> sort, bool include_hidden_files,
                FetchItemsOperation::StatusClosure status_closure);

    /// Packs the items, folders with everything in them, into a new zip archive at `to`; with a
    /// password their contents are encrypted. What happens when the name is taken is said by
    /// `on_conflict`, of which `merge` fails: archives are not merged.
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

    /// Reserves a location for a file that is yet to come: until the ticket is released, no request
    /// reads or writes there.
    std::shared_ptr<ReserveFileUrlOpr>
    reserve_file_url(Url url, ReserveFileUrlOpr::StatusClosure status_closure);

    /// Ends a reservation; one that was ended stays so.
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

    /// Searches the folder `inside` or, with `recursive`, the whole tree below it for items that
    /// contain `keyword` where one of `criterias` says.
    std::shared_ptr<SearchItemsOperation>
    search_items(Url inside, std::string keyword, bool recursive, bool include_hidden_files,
                 std::vector<SearchItemsOperation::Criteria> criterias,
                 SearchItemsOperation::StatusClosure status_closure);

    /// Makes a thumbnail of the file, by the way that `OrvThumbnail` knows for its extension: with
    /// one side given, the other follows from the shape of the picture; with both, it is
    /// stretched; with none, it has its own size. Without a picture of the file it is the
    /// placeholder.
    ///
    /// Units: pixels.
    std::shared_ptr<ThumbGenerateOpr>
    generate_thumb(Url from, std::optional<std::uint32_t> resize_width,
                   std::optional<std::uint32_t> resize_height,
                   ThumbGenerateOpr::StatusClosure status_closure);

    /// Deletes the item and says whether it is gone. Its attributes stay stored. False for "/", and
    /// for an item that a request holds.
    bool sync_delete_item(const Url& at);

    /// Creates a folder and says whether there is one now; an existing one is left as it is.
    bool sync_create_new_folder(const Url& at, bool also_create_intermediates);

    /// Whether there is an item; a symbolic link is one, wherever it points.
    [[nodiscard]] bool file_exists(const Url& at) const;

    /// Whether there is a folder, or a symbolic link to one.
    [[nodiscard]] bool is_directory(const Url& url) const;

private:
    OrvFileManager();
    ~OrvFileManager() = delete;

    DBManager* db_mngr_ = nullptr;
    bool forced_singleton_creation_ = false;
};

} // namespace orv
