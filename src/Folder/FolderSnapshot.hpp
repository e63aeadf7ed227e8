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

/// An entry of a folder as it was found: what `statx` told, or that it is not there.
struct Sighting {
    std::string name;
    std::optional<struct statx> facts;
};

/// How a list becomes true again, in this order; the names in it are unique after every step. The
/// items are given by their place among the sightings.
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

/// The entries of a folder as they were last told: enough to see that one has changed, and to
/// recognise it under another name.
class FolderSnapshot {
public:
    /// `has_lasting_identities` says that the volume numbers an item in the same way each time.
    explicit FolderSnapshot(bool has_lasting_identities)
        : has_lasting_identities_(has_lasting_identities)
    {
    }

    /// Takes an entry in. False if there is one of that name already.
    bool add(std::string_view name, const struct statx& facts);

    /// True if the entry is as it was told. Counts it as seen in this comparison.
    [[nodiscard]] bool is_as_told(std::string_view name, const struct statx& facts);

    /// Ends a comparison and returns the entries that it has not seen.
    [[nodiscard]] std::vector<std::string> take_unseen();

    [[nodiscard]] bool knows(std::string_view name) const { return entries_.contains(name); }

    /// The names of other entries that are, or were, one item with an entry seen: the system told
    /// of the name alone by which the item was changed.
    [[nodiscard]] std::vector<std::string>
    further_names(const std::vector<Sighting>& sightings) const;

    /// Takes in what was seen and returns the difference. `renamings` are from one name to another
    /// as the system told them; they count where identities do not last.
    [[nodiscard]] FolderChanges
    update(const std::vector<Sighting>& sightings,
           const std::unordered_map<std::string, std::string>& former_names);

private:
    /// What makes an item the same item under whatever name.
    struct ItemIdentity {
        std::uint64_t device;
        std::uint64_t inode;
        std::uint64_t birth; ///< a number may be given anew; 0 if the volume does not tell

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
