#include "CustomAttributes/FollowedItems.hpp"

#include "CustomAttributes/ItemIdentity.hpp"
#include "CustomAttributes/RecCustomAttr.hpp"
#include "Database/DBManager.hpp"
#include "files/FindNearby.hpp"
#include "files/ItemStatus.hpp"
#include "files/ProcessedFiles.hpp"

#include <orv/utility/Error.hpp>

#include <atomic>
#include <map>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>

#include <fcntl.h>

namespace orv {
namespace {

/// A look around takes some 20 ms at most with this many entries in memory.
constexpr std::size_t most_entries_nearby = 20'000;

std::atomic<bool> follows = false;

struct IdentityHash {
    std::size_t operator()(const ItemIdentity& identity) const
    {
        return std::hash<std::int64_t>()(identity.inode ^ identity.birth);
    }
};

/// True if `url` bears the name an editor gives to the former content of `original`.
bool is_backup_of(const Url& url, const Url& original)
{
    const std::string name = url.last_path_component();
    const std::string own = original.last_path_component();
    const bool is_sibling =
        url.deleting_last_path_component() == original.deleting_last_path_component();
    return is_sibling && (name == own + "~" || name == "." + own + "~" || name == own + ".bak" ||
                          name == own + ".orig" || name == "#" + own + "#");
}

Url folder_of(const std::string& relative_path)
{
    return url_from_resolved_path(relative_path).deleting_last_path_component();
}

/// Stores what a look at items has found. A full or read-only volume is no reason to fail the look,
/// which mostly reads: the next one tries again. Returns false if nothing was stored.
bool stored(FunctionRef<void()> store)
{
    try {
        shared_db_manager().db().save_point(store);
        return true;
    } catch (const Error&) {
        return false;
    }
}

void remember(const std::vector<RecItemIdentity>& items)
{
    stored([&] { RecItemIdentity::replace_all(items); });
}

/// Items by their inode numbers.
using Missing = std::unordered_map<std::uint64_t, RecItemIdentity>;

void add_missing(Missing& missing, const RecItemIdentity& row)
{
    missing.emplace(static_cast<std::uint64_t>(row.identity.inode), row);
}

/// Attributes on their way to where their items are. All those of one look go at once, for two
/// items may have exchanged their names.
class AttributeMoves {
public:
    /// Adds the attributes of the item seen at `to`, unless its old place is a name of its own.
    void add(const RecItemIdentity& known, const RecordKey& to);

    /// The same for those of the `missing` items found around `folder`.
    void add_nearby(const Url& folder, const Missing& missing);

    /// The place to which the attributes with this key go.
    [[nodiscard]] std::optional<Url> destination_of(const std::string& key) const;

    /// Moves them all. Returns false if none has moved.
    bool run();

private:
    struct Move {
        RecItemIdentity known;
        RecordKey from;
        RecordKey to;
        bool takes_tree; // the old place is empty, so all below it has moved along
    };
    struct Taken {
        std::vector<RecCustomAttr> records;
        std::vector<RecItemIdentity> identities;
    };

    void add_displaced();
    static void take(const Move& move, Taken& taken);

    std::vector<Move> moves_;
    std::unordered_set<std::string> sources_; // the keys the moves lead from
};

void AttributeMoves::add(const RecItemIdentity& known, const RecordKey& to)
{
    if (to.text() == known.relative_path)
        return;
    const Url place = url_from_resolved_path(to.text());
    if (is_hidden_name(place.last_path_component()))
        return;
    const Url old_place = url_from_resolved_path(known.relative_path);
    const bool is_taken = item_status(old_place, AT_SYMLINK_NOFOLLOW).has_value();
    if (is_taken && (identity_at(old_place) == known.identity || is_backup_of(place, old_place)))
        return;
    if (sources_.insert(known.relative_path).second)
        moves_.push_back({known, RecordKey(known.relative_path), to, !is_taken});
}

void AttributeMoves::add_nearby(const Url& folder, const Missing& missing)
{
    std::unordered_set<std::uint64_t> inodes;
    for (const auto& [inode, known] : missing)
        inodes.insert(inode);
    for (const auto& [inode, place] : find_nearby(folder, std::move(inodes), most_entries_nearby))
        if (identity_at(place) == missing.at(inode).identity)
            add(missing.at(inode), record_key_of_entry(place));
}

std::optional<Url> AttributeMoves::destination_of(const std::string& key) const
{
    for (const Move& move : moves_)
        if (move.from.text() == key)
            return url_from_resolved_path(move.to.text());
    return std::nullopt;
}

/// Looks for the items whose places others have taken: their attributes would be overwritten.
void AttributeMoves::add_displaced()
{
    for (std::size_t i = 0; i < moves_.size(); ++i) { // it grows meanwhile
        const RecordKey to = moves_[i].to;
        const auto displaced = RecItemIdentity::fetch(to);
        if (!displaced || sources_.contains(to.text()))
            continue;
        Missing missing;
        add_missing(missing, *displaced);
        add_nearby(folder_of(to.text()), missing);
    }
}

bool AttributeMoves::run()
{
    if (moves_.empty())
        return false;
    add_displaced();
    return stored([&] {
        Taken taken;
        for (const Move& move : moves_)
            take(move, taken);
        RecCustomAttr::replace_all(taken.records);
        RecItemIdentity::replace_all(taken.identities);
    });
}

/// Takes the rows away from the old place, under their new keys. Attributes without an identity at
/// the new place were stored there by a request since: they are newer, and stay.
void AttributeMoves::take(const Move& move, Taken& taken)
{
    const auto still = RecItemIdentity::fetch(move.from);
    if (!still || still->identity != move.known.identity)
        return;
    const auto there = RecItemIdentity::fetch(move.to);
    if (there && there->identity == move.known.identity)
        return; // another name of the item, with attributes of its own
    taken.identities.push_back({move.to.text(), move.known.identity});
    if (RecCustomAttr::fetch(move.to) && !there)
        return RecItemIdentity::erase(move.from);
    const std::size_t prefix = move.from.text().size();
    for (RecCustomAttr& record : RecCustomAttr::fetch_tree(move.from)) {
        if (record.relative_path != move.from.text() && !move.takes_tree)
            continue;
        const RecordKey old_key(record.relative_path);
        const std::string new_key = move.to.text() + record.relative_path.substr(prefix);
        if (const auto known = RecItemIdentity::fetch(old_key); known && old_key != move.from)
            taken.identities.push_back({new_key, known->identity});
        RecCustomAttr::delete_record(old_key);
        record.relative_path = new_key;
        taken.records.push_back(std::move(record));
    }
}

} // namespace

bool follows_items()
{
    return follows;
}

void set_follows_items(bool on)
{
    follows = on;
}

void follow_to_seen_places(const SeenItems& seen)
{
    if (!RecItemIdentity::any_known())
        return;
    std::unordered_map<ItemIdentity, RecItemIdentity, IdentityHash> known;
    for (RecItemIdentity& row : RecItemIdentity::fetch_like(seen.identities))
        known.emplace(row.identity, std::move(row));
    if (known.empty())
        return;
    AttributeMoves moves;
    for (std::size_t i = 0; i < seen.identities.size(); ++i)
        if (const auto found = known.find(seen.identities[i]); found != known.end())
            moves.add(found->second, seen.key_of(i));
    moves.run();
}

bool check_seen_places(const SeenItems& seen)
{
    std::vector<RecordKey> keys;
    std::unordered_map<std::string, ItemIdentity> seen_at;
    for (std::size_t i = 0; i < seen.identities.size(); ++i) {
        if (seen.identities[i] == ItemIdentity())
            continue;
        keys.push_back(seen.key_of(i));
        seen_at.emplace(keys.back().text(), seen.identities[i]);
    }
    if (keys.empty())
        return false;

    std::map<std::string, Missing> replaced; // by folder
    if (RecItemIdentity::any_known()) {
        for (const RecItemIdentity& known : RecItemIdentity::fetch_all(keys)) {
            const auto item = seen_at.find(known.relative_path);
            if (item->second != known.identity)
                add_missing(replaced[folder_of(known.relative_path).path()], known);
            else
                seen_at.erase(item);
        }
    }
    AttributeMoves moves;
    for (const auto& [folder, missing] : replaced)
        moves.add_nearby(Url(folder), missing);
    const bool any_left = moves.run();
    std::vector<RecItemIdentity> new_here;
    new_here.reserve(seen_at.size());
    for (auto& [path, identity] : seen_at)
        new_here.push_back({path, identity});
    remember(new_here);
    return any_left;
}

void follow_item(const Url& place)
{
    const auto identity = identity_at(place);
    if (!identity || !RecCustomAttr::any_records())
        return;
    const RecordKey key = record_key_of_entry(place);
    const auto key_of = [&](std::size_t) { return key; };
    const SeenItems seen{std::span(&*identity, 1), key_of};
    follow_to_seen_places(seen);
    if (RecCustomAttr::fetch(key))
        check_seen_places(seen);
}

void remember_items(const std::vector<RecordKey>& keys)
{
    std::vector<RecItemIdentity> rows;
    for (const RecordKey& key : keys)
        if (const auto identity = identity_at(url_from_resolved_path(key.text())))
            rows.push_back({key.text(), *identity});
    remember(rows);
}

std::optional<Url> found_again(const Url& place)
{
    if (!RecItemIdentity::any_known())
        return std::nullopt;
    const auto known = RecItemIdentity::fetch(record_key_of_entry(place));
    if (!known)
        return std::nullopt;
    Missing missing;
    add_missing(missing, *known);
    AttributeMoves moves;
    moves.add_nearby(place.deleting_last_path_component(), missing);
    return moves.run() ? moves.destination_of(known->relative_path) : std::nullopt;
}

} // namespace orv
