#include "CustomAttributes/ItemIdentity.hpp"

#include "CustomAttributes/RecordSql.hpp"
#include "CustomAttributes/RecordTree.hpp"
#include "Database/DBManager.hpp"
#include "files/ItemStatus.hpp"

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {
namespace {

constexpr std::string_view identities_where =
    "SELECT relative_path, inode, birth FROM item_identities WHERE ";

Database& identities_database()
{
    return shared_db_manager().db();
}

/// Attributes written anew may be those of another item, so their identity goes with them. Triggers
/// see to that in every process, also in one that knows nothing of identities.
void make_identities_table()
{
    identities_database().execute("CREATE TABLE IF NOT EXISTS item_identities ("
                                  "relative_path TEXT PRIMARY KEY, inode INTEGER, birth INTEGER)");
    identities_database().execute(
        "CREATE INDEX IF NOT EXISTS item_identities_by_inode ON item_identities (inode)");
    identities_database().execute(
        "CREATE TRIGGER IF NOT EXISTS item_identities_after_insert AFTER INSERT"
        " ON custom_attributes BEGIN DELETE FROM item_identities"
        " WHERE relative_path = NEW.relative_path; END");
    identities_database().execute(
        "CREATE TRIGGER IF NOT EXISTS item_identities_after_delete AFTER DELETE"
        " ON custom_attributes BEGIN DELETE FROM item_identities"
        " WHERE relative_path = OLD.relative_path; END");
}

std::vector<Argument> texts_of(const std::vector<RecItemIdentity>& rows)
{
    std::vector<Argument> texts;
    texts.reserve(rows.size());
    for (const RecItemIdentity& row : rows)
        texts.emplace_back(row.relative_path);
    return texts;
}

} // namespace

std::optional<ItemIdentity> identity_at(const Url& url)
{
    struct statx facts {};
    if (::statx(AT_FDCWD, url.path().c_str(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                STATX_INO | STATX_BTIME, &facts) != 0 ||
        !(facts.stx_mask & STATX_BTIME))
        return std::nullopt;
    return ItemIdentity{static_cast<std::int64_t>(facts.stx_ino), nanoseconds(facts.stx_btime)};
}

RecItemIdentity RecItemIdentity::from_row(const Row& row)
{
    return {std::string(row.text(0)), {row.integer(1), row.integer(2)}};
}

std::array<Argument, 3> RecItemIdentity::values() const
{
    return {relative_path, identity.inode, identity.birth};
}

bool RecItemIdentity::any_known()
{
    bool exists = false;
    identities_database().query("SELECT 1 FROM sqlite_master WHERE name = 'item_identities'", {},
                                [&](const Row&) { return !(exists = true); });
    return exists;
}

std::optional<RecItemIdentity> RecItemIdentity::fetch(const RecordKey& key)
{
    return instance<RecItemIdentity>(identities_database(),
                                     sql(identities_where, "relative_path = ?"), {key.text()});
}

std::vector<RecItemIdentity> RecItemIdentity::fetch_like(std::span<const ItemIdentity> identities)
{
    // Few rows are read faster at once than looked up for each of many items.
    if (!has_rows(identities_database(), "item_identities", identities.size() + 1))
        return array<RecItemIdentity>(identities_database(), sql(identities_where, "1"));
    std::vector<Argument> values;
    values.reserve(identities.size());
    for (const ItemIdentity& identity : identities)
        values.emplace_back(identity.inode);
    return array_in<RecItemIdentity>(identities_database(), sql(identities_where, "inode IN ("),
                                     values);
}

std::vector<RecItemIdentity> RecItemIdentity::fetch_all(std::span<const RecordKey> keys)
{
    std::vector<Argument> values;
    values.reserve(keys.size());
    for (const RecordKey& key : keys)
        values.emplace_back(key.text());
    return array_in<RecItemIdentity>(identities_database(),
                                     sql(identities_where, "relative_path IN ("), values);
}

void RecItemIdentity::replace_all(const std::vector<RecItemIdentity>& rows)
{
    if (rows.empty())
        return;
    identities_database().save_point([&] {
        make_identities_table();
        replace_in(identities_database(), "item_identities", rows);
        execute_in(identities_database(),
                   "DELETE FROM item_identities WHERE relative_path NOT IN"
                   " (SELECT relative_path FROM custom_attributes) AND relative_path IN (",
                   texts_of(rows));
    });
}

void RecItemIdentity::erase(const RecordKey& key)
{
    identities_database().execute("DELETE FROM item_identities WHERE relative_path = ?",
                                  {key.text()});
}

void RecItemIdentity::duplicate(const RecordKey& prefix, const RecordKey& replacing_prefix_to)
{
    if (!any_known())
        return;
    const RecordTree from(prefix);
    identities_database().execute(
        sql("REPLACE INTO item_identities (relative_path, inode, birth) SELECT ",
            RecordTree::replaced_key,
            ", inode, birth FROM item_identities AS custom_attributes WHERE ",
            RecordTree::condition),
        joined(from.replacement(RecordTree(replacing_prefix_to)), from.ranges()));
}

} // namespace orv
