#include "Folder/FolderSnapshot.hpp"

#include <unordered_set>
#include <utility>

namespace orv {
namespace {

/// One number for a time; times beyond its range may share one.
std::uint64_t number_of(const statx_timestamp& time)
{
    constexpr std::uint64_t per_second = 1'000'000'000;
    return static_cast<std::uint64_t>(time.tv_sec) * per_second + time.tv_nsec;
}

} // namespace

bool FolderSnapshot::Entry::describes_the_same(const Entry& other) const
{
    return modified == other.modified && size == other.size && mode == other.mode;
}

FolderSnapshot::Entry FolderSnapshot::entry_of(const struct statx& facts)
{
    const std::uint64_t device =
        static_cast<std::uint64_t>(facts.stx_dev_major) << 32U | facts.stx_dev_minor;
    const bool has_birth = (facts.stx_mask & STATX_BTIME) != 0;
    return {.identity = {device, facts.stx_ino, has_birth ? number_of(facts.stx_btime) : 0},
            .modified = number_of(facts.stx_mtime),
            .size = facts.stx_size,
            .mode = facts.stx_mode,
            .has_several_names = facts.stx_nlink > 1 && !S_ISDIR(facts.stx_mode)};
}

bool FolderSnapshot::add(std::string_view name, const struct statx& facts)
{
    return entries_.try_emplace(std::string(name), entry_of(facts)).second;
}

bool FolderSnapshot::is_as_told(std::string_view name, const struct statx& facts)
{
    const auto known = entries_.find(name);
    if (known == entries_.end())
        return false;
    known->second.is_seen = true;
    const Entry now = entry_of(facts);
    return is_same_item(known->second, now) && known->second.describes_the_same(now);
}

std::vector<std::string> FolderSnapshot::take_unseen()
{
    std::vector<std::string> unseen;
    for (auto& [name, entry] : entries_)
        if (!std::exchange(entry.is_seen, false))
            unseen.push_back(name);
    return unseen;
}

std::vector<std::string> FolderSnapshot::further_names(const std::vector<Sighting>& sightings) const
{
    std::unordered_set<ItemIdentity, IdentityHash> linked;
    std::unordered_set<std::string_view> seen;
    for (const auto& [name, facts] : sightings) {
        seen.insert(name);
        const auto now = facts ? std::optional(entry_of(*facts)) : std::nullopt;
        if (now && now->has_several_names)
            linked.insert(now->identity);
        const auto known = entries_.find(name);
        if (known != entries_.end() && known->second.has_several_names)
            linked.insert(known->second.identity);
    }
    std::vector<std::string> names;
    if (linked.empty())
        return names;
    for (const auto& [name, entry] : entries_)
        if (linked.contains(entry.identity) && !seen.contains(name))
            names.push_back(name);
    return names;
}

/// Works out one difference. Looks for an entry whose item left its name under the new names. An
/// item under its own name is new there, and may have come from elsewhere itself.
class FolderSnapshot::Update {
public:
    Update(FolderSnapshot& snapshot, const std::vector<Sighting>& sightings,
           const std::unordered_map<std::string, std::string>& former_names)
        : snapshot_(snapshot), sightings_(sightings), former_names_(former_names)
    {
    }

    FolderChanges run()
    {
        for (std::size_t i = 0; i < sightings_.size(); ++i)
            sort_out(i);
        find_renamed();
        settle_the_rest();
        return std::move(changes_);
    }

private:
    /// A name that lost its item; `replacement` is the sighting of the other item there.
    struct Left {
        Entry entry;
        std::optional<std::size_t> replacement;
    };

    void sort_out(std::size_t item)
    {
        const auto& [name, facts] = sightings_[item];
        const auto known = snapshot_.entries_.find(name);
        if (known == snapshot_.entries_.end()) {
            if (facts)
                arrived_.push_back(item);
            return;
        }
        const std::optional<Entry> now = facts ? std::optional(entry_of(*facts)) : std::nullopt;
        if (!now || !snapshot_.is_same_item(known->second, *now)) {
            by_identity_.emplace(known->second.identity, name);
            left_.emplace(name, Left{known->second, now ? std::optional(item) : std::nullopt});
        } else {
            if (!known->second.describes_the_same(*now))
                changes_.changed.push_back(item);
            known->second = *now;
        }
    }

    void find_renamed()
    {
        for (std::size_t i = 0; i < arrived_.size(); ++i) { // it grows meanwhile
            const std::size_t item = arrived_[i];
            const auto from = former_place(item);
            if (from == left_.end()) {
                changes_.added.push_back(item);
                continue;
            }
            changes_.renamed.push_back({from->first, item});
            if (from->second.replacement)
                arrived_.push_back(*from->second.replacement);
            forget(from);
        }
    }

    using LeftPlaces = std::unordered_map<std::string, Left>;

    LeftPlaces::iterator former_place(std::size_t item)
    {
        const Sighting& sighting = sightings_[item];
        if (!snapshot_.has_lasting_identities_) {
            const auto former = former_names_.find(sighting.name);
            return former == former_names_.end() ? left_.end() : left_.find(former->second);
        }
        const auto name = by_identity_.find(entry_of(*sighting.facts).identity);
        return name == by_identity_.end() ? left_.end() : left_.find(name->second);
    }

    void forget(LeftPlaces::iterator place)
    {
        const auto [first, last] = by_identity_.equal_range(place->second.entry.identity);
        for (auto at = first; at != last; ++at) {
            if (at->second == place->first) {
                by_identity_.erase(at);
                break;
            }
        }
        snapshot_.entries_.erase(place->first);
        left_.erase(place);
    }

    /// An item that left and turns up nowhere is gone. Another one in its place counts as a change:
    /// a file saved by a replacement stays at its place in a list.
    void settle_the_rest()
    {
        for (const auto& [name, left] : left_) {
            if (left.replacement) {
                changes_.changed.push_back(*left.replacement);
                snapshot_.entries_.insert_or_assign(name,
                                                    entry_of(*sightings_[*left.replacement].facts));
            } else {
                changes_.removed.push_back(name);
                snapshot_.entries_.erase(name);
            }
        }
        for (const std::size_t item : arrived_)
            snapshot_.add(sightings_[item].name, *sightings_[item].facts);
    }

    FolderSnapshot& snapshot_;
    const std::vector<Sighting>& sightings_;
    const std::unordered_map<std::string, std::string>& former_names_;
    std::vector<std::size_t> arrived_;
    LeftPlaces left_; // by name
    std::unordered_multimap<ItemIdentity, std::string, IdentityHash> by_identity_;
    FolderChanges changes_;
};

FolderChanges
FolderSnapshot::update(const std::vector<Sighting>& sightings,
                       const std::unordered_map<std::string, std::string>& former_names)
{
    return Update(*this, sightings, former_names).run();
}

} // namespace orv
