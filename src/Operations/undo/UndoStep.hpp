#pragma once

#include <orv/utility/Url.hpp>

#include <cstdint>
#include <optional>
#include <string>

namespace orv {

/// The kind of a request that can be taken back. The numbers are stored.
enum class UndoVerb : std::int64_t {
    copying = 1,
    moving = 2,
    renaming = 3,
    creating = 4,
    packing = 5,
    unpacking = 6,
    writing = 7,
    trashing = 8,
    restoring = 9,
    attributes = 10,
};

/// How to take a step back. The numbers are stored.
enum class UndoAction : std::int64_t {
    discard = 1,       ///< a new item goes to the trash, or is deleted untouched without one
    remove_folder = 2, ///< a new folder goes if it is empty
    move_back = 3,
    restore = 4,        ///< an item goes from the trash back to its former place
    to_trash = 5,       ///< an item goes to the trash again
    set_attributes = 6, ///< an item gets its former attributes
};

/// Tells an item from others, and its state from later ones.
struct UndoIdentity {
    std::int64_t device = 0;
    std::int64_t inode = 0;
    std::int64_t birth = 0; ///< in nanoseconds; 0 where the volume does not tell
    std::int64_t size = 0;
    std::int64_t modified = 0; ///< in nanoseconds

    bool operator==(const UndoIdentity&) const = default;

    [[nodiscard]] bool is_same_item(const UndoIdentity& other) const
    {
        return device == other.device && inode == other.inode && birth == other.birth;
    }

    /// The identity of the item `name` in an open folder; no value if there is none.
    [[nodiscard]] static std::optional<UndoIdentity> of(int folder, const char* name);

    /// The same by location.
    ///
    /// Errors: the platform's, if the item may exist.
    [[nodiscard]] static std::optional<UndoIdentity> at(const Url& url);
};

/// One item of a request, as the journal keeps it.
struct UndoStep {
    UndoVerb verb;
    UndoAction action;
    Url url;         ///< the item's place after the request
    Url origin = {}; ///< its place before, if it was moved
    UndoIdentity identity = {};
    std::int64_t noted = 0; ///< the time of the note, in nanoseconds of the system's clock
    /// Texts of the item's state before and after: its stored attributes, or of a renamed item
    /// `before` alone, its modification date in nanoseconds.
    std::string before = {};
    std::string after = {};
};

/// The step of a moved or newly made item. No value if it is gone.
[[nodiscard]] std::optional<UndoStep> undo_step(UndoVerb verb, UndoAction action, const Url& url,
                                                const Url& origin = {});

/// The system's time in nanoseconds since 1970, as a file system would date a change now.
[[nodiscard]] std::int64_t undo_time();

/// Such as "moving “a.txt”" or "moving 3 items".
[[nodiscard]] std::string undo_text(UndoVerb verb, const Url& first, std::int64_t count);

} // namespace orv
