#include "CustomAttributes/ReplacedRecords.hpp"

#include "CustomAttributes/RecCustomAttr.hpp"
#include "CustomAttributes/RecordSql.hpp"
#include "CustomAttributes/RecordTree.hpp"
#include "Database/DBManager.hpp"
#include "files/ItemStatus.hpp"
#include "files/ProcessedFiles.hpp"
#include "utility/BackgroundTask.hpp"
#include "utility/Uuid.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/utility/Error.hpp>

#include <array>
#include <future>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr const char* record_columns = "relative_path, is_protected, order_no, is_custom_sorted,"
                                       " was_custom_sorted_at_least_once";

Database& kept_database()
{
    return shared_db_manager().db();
}

void make_kept_table()
{
    kept_database().execute(sql("CREATE TABLE IF NOT EXISTS replaced_by_moves (owner, place, inode,"
                                " relative_path, is_protected, order_no, is_custom_sorted,"
                                " was_custom_sorted_at_least_once)"));
}

/// The inode number of the item as a text; an empty one if there is no item.
std::string inode_text(const RecordKey& place)
{
    const auto status = item_status(url_from_resolved_path(place.text()), AT_SYMLINK_NOFOLLOW);
    return status ? std::to_string(status->st_ino) : std::string();
}

/// What one move kept.
struct Kept {
    std::string owner;
    RecordKey place;
    std::string inode;
};

std::vector<Kept> all_kept()
{
    std::vector<Kept> all;
    bool has_table = false;
    Database& database = kept_database();
    database.query("SELECT 1 FROM sqlite_master WHERE name = 'replaced_by_moves'", {},
                   [&](const Row&) { return has_table = true; });
    if (has_table)
        database.query(
            "SELECT DISTINCT owner, place, inode FROM replaced_by_moves", {}, [&](const Row& row) {
                all.push_back({std::string(row.text(0)), RecordKey(std::string(row.text(1))),
                               std::string(row.text(2))});
                return true;
            });
    return all;
}

bool is_still_kept(const Kept& kept)
{
    bool found = false;
    kept_database().query("SELECT 1 FROM replaced_by_moves WHERE owner = ? LIMIT 1", {kept.owner},
                          [&](const Row&) { return !(found = true); });
    return found;
}

void give_back(const Kept& kept)
{
    RecCustomAttr::delete_records(kept.place);
    kept_database().execute(sql("INSERT INTO custom_attributes (", record_columns, ") SELECT ",
                                record_columns,
                                " FROM replaced_by_moves"
                                " WHERE owner = ? AND relative_path IS NOT NULL"),
                            {kept.owner});
}

void forget_kept_by(const std::string& owner)
{
    kept_database().execute("DELETE FROM replaced_by_moves WHERE owner = ?", {owner});
}

/// Looks at the item before the turn of the database, which others wait for.
void settle_kept(const Kept& kept)
{
    if (is_owned_by_living(kept.owner))
        return;
    const std::string inode = inode_text(kept.place);
    if (inode.empty())
        return;
    kept_database().save_point([&] {
        if (inode == kept.inode && is_still_kept(kept))
            give_back(kept);
        forget_kept_by(kept.owner);
    });
}

} // namespace

ReplacedRecords::~ReplacedRecords()
{
    if (!owner_.empty())
        ::unlink(processed_files_folder().appending(owner_).path().c_str());
}

void ReplacedRecords::keep()
{
    if (owner_.empty()) {
        const FileDescriptor folder = made_processed_files_folder();
        const std::string name = new_uuid();
        file_ = create_owned_file(folder.get(), name, processed_files_folder().appending(name));
        owner_ = name;
    }
    make_kept_table();
    const std::string inode = inode_text(place_);
    // The first row tells of an item without records, too.
    kept_database().execute("INSERT INTO replaced_by_moves (owner, place, inode) VALUES (?, ?, ?)",
                            {owner_, place_.text(), inode});
    const std::array<Argument, 3> names{owner_, place_.text(), inode};
    kept_database().execute(sql("INSERT INTO replaced_by_moves SELECT ?, ?, ?, ", record_columns,
                                " FROM custom_attributes WHERE ", RecordTree::condition),
                            joined(names, RecordTree(place_).ranges()));
}

void ReplacedRecords::forget()
{
    if (owner_.empty())
        return;
    make_kept_table(); // what `keep` did may have been undone
    forget_kept_by(owner_);
}

void restore_replaced_records(std::chrono::milliseconds longest_wait)
try {
    std::vector<Kept> all = all_kept();
    if (all.empty())
        return;
    const std::future<void> settled = bg_future([all = std::move(all)] {
        try {
            for (const Kept& kept : all)
                settle_kept(kept);
        } catch (const Error&) {
            return; // the next start tries again
        }
    });
    const WorkerPool::Blocked blocked;
    settled.wait_for(longest_wait);
} catch (const Error&) {
    return; // the next start tries again
}

} // namespace orv
