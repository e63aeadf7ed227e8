#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include <sys/stat.h>

namespace orv {

/// An entry of a folder at a look: its facts from `statx`, or none for a missing one.
struct Sighting {
    std::string name;
    std::optional<struct statx> facts;
};

/// The steps to bring a list up to date, in this order; its names are unique after every step.
/// Items go by their place among the sightings.
struct FolderChanges {
    struct Renaming {
        std::string from;
        std::size_t item;
    };

    std::vector<std::string> removed;
    std::vector<Renaming> renamed;
    std::vector<std::size_t> changed;
    std::vector<std::size_t> added;
};

/// The entries of a folder in their last reported state: enough to see a change, and to recognise
/// an entry under another name.
class FolderSnapshot {
public:
    /// `has_lasting_identities` means the volume gives an item the same number each time.
    explicit FolderSnapshot(bool has_lasting_identities)
        : has_lasting_identities_(has_lasting_identities)
    {
    }

    /// Takes an entry in. False if the name exists already.
    bool add(std::string_view name, const struct statx& facts);

    /// True if the entry is unchanged. Counts it as seen in this comparison.
    [[nodiscard]] bool is_as_told(std::string_view name, const struct statx& facts);

    /// Ends a comparison and returns the unseen entries.
    [[nodiscard]] std::vector<std::string> take_unseen();

    [[nodiscard]] bool knows(std::string_view name) const { return entries_.contains(name); }

    /// Other names of the items behind the seen entries: the system reports only the name used for
    /// a change.
    [[nodiscard]] std::vector<std::string>
    further_names(const std::vector<Sighting>& sightings) const;

    /// Takes in the sightings and returns the difference. `renamings` lead from one name to
    /// another, as reported by the system; they count if identities do not last.
    [[nodiscard]] FolderChanges
    update(const std::vector<Sighting>& sightings,
           const std::unordered_map<std::string, std::string>& former_names);

private:
    /// The identity of an item under any name.
    struct ItemIdentity {
        std::uint64_t device;
        std::uint64_t inode;
        std::uint64_t
            birth; ///< a number may return for another item; 0 if the volume does not tell

        bool operator==(const ItemIdentity&) const = default;
    };
    struct IdentityHash {
        std::size_t operator()(const ItemIdentity& identity) const
        {
            return std::hash<std::uint64_t>()(identity.inode ^ identity.birth);
        }
    };
    struct Entry {
        ItemIdentity identity;
        std::uint64_t modified;
        std::uint64_t size;
        std::uint16_t mode;
        bool has_several_names;
        bool is_seen = false;

        [[nodiscard]] bool describes_the_same(const Entry& other) const;
    };
    struct TextHash {
        using is_transparent = void;
        std::size_t operator()(std::string_view text) const
        {
            return std::hash<std::string_view>()(text);
        }
    };
    using Entries = std::unordered_map<std::string, Entry, TextHash, std::equal_to<>>;

    class Update;

    static Entry entry_of(const struct statx& facts);
    [[nodiscard]] bool is_same_item(const Entry& one, const Entry& other) const
    {
        return !has_lasting_identities_ || one.identity == other.identity;
    }

    bool has_lasting_identities_;
    Entries entries_;
};

} // namespace orv
