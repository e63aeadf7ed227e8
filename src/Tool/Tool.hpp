#pragma once

#include "Tool/AroundNaming.hpp"

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/FunctionRef.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <functional>
#include <optional>

namespace orv {

/// The file-system toolkit of every request. Keeps no state.
///
/// Paths may be of any length. An item exists where a directory entry does: a dangling link is one.
///
/// Threading: any.
class Tool {
public:
    /// The one instance, also reachable as `tool`.
    static const Tool& singleton();

    /// Creates an empty file. Leaves an existing item alone, or with `overwrite` empties a regular
    /// file. True if an empty file is there now.
    static bool create_file(const Url& at, bool overwrite);

    /// Removes the item, a folder with all its contents. True if it is gone.
    static bool delete_item(const Url& at);

    /// The same as `delete_item`, with the reason of a failure. Calls `removed` after each removed
    /// item; an exception from it ends the removal.
    ///
    /// Errors: the platform's, with the path of the item that stayed.
    static void remove_item(const Url& at, FunctionRef<void()> removed = nothing_around);

    /// Hands the items below `root` to `consume`, a folder before its contents, until it answers
    /// false. With `inclusive` the root comes first, whatever it is; a root other than a folder has
    /// nothing below it. An exception from `consume` passes through.
    ///
    /// Passes over unreadable folders and vanished entries, and tells `on_passed_over` about those
    /// still there. Does not follow links.
    /// Errors: "Given url doesn't point to an existing item."; "Couldn't create directory
    /// enumerator." if the root does not open; those of `FileItem`.
    static void iterate_contents(const Url& root, bool inclusive, bool recursive,
                                 std::optional<int> recursion_depth, bool include_hidden_files,
                                 FunctionRef<bool(FileItem)> consume,
                                 std::function<void(const Error&)> on_passed_over = {});

    /// Creates a folder. With `also_create_intermediates` creates missing folders above it, too,
    /// and counts an existing folder as a success. True if it is there now.
    static bool create_directory(const Url& at, bool also_create_intermediates);

    /// The same as `create_directory`, but tells why it failed.
    ///
    /// Errors: the platform's, with the path of the missing folder.
    static void make_directory(const Url& at, bool also_create_intermediates);

    /// The size of the item itself in bytes; no value if it is unknown.
    [[nodiscard]] static std::optional<std::int64_t> file_size(const Url& of);

    [[nodiscard]] static bool item_exists(const Url& at);

    /// True if the item is a folder, or a link to one.
    [[nodiscard]] static bool is_directory(const Url& at);

    /// True if the item is the root of a mounted volume; no value if it is unknown.
    [[nodiscard]] static std::optional<bool> is_volume(const Url& at);

    /// Gives the item at `from` the location `to`, where nothing may stand.
    ///
    /// Across volumes, the item is copied to the disk, out of sight until it is complete, and then
    /// removed at its old place. This may take long, and nothing interrupts it. It keeps the
    /// properties a copy keeps, and several names of one file. A failure leaves the source whole
    /// and nothing at the destination, unless the error says the destination is complete. Then only
    /// a few items stay at the source: changed, added or irremovable ones.
    ///
    /// Errors: "Couldn't move the item", followed by the platform's error: code EEXIST if an item
    /// stands at `to`. Across volumes, before any copying, also for items that could not be
    /// removed: a mounted volume (EBUSY), an immutable folder or file.
    static void move_item(const Url& from, const Url& to,
                          const AroundNaming& around = {nothing_around, nothing_around});

    /// The same, in place of an item at `to`, if there is one. The old item goes once the new one
    /// has its name, and is back after a failure.
    static void move_item_replacing(const Url& from, const Url& to,
                                    const AroundNaming& around = {nothing_around, nothing_around});

    /// The same as `move_item` to a place on the same volume. False, and nothing has happened, if
    /// it is on another.
    static bool move_item_within_volume(const Url& from, const Url& to, const AroundNaming& around);

    /// The user's documents folder, created when it is missing.
    [[nodiscard]] static const Url& docs_dir();
    [[nodiscard]] static const Url& temp_dir();
    [[nodiscard]] static const Url& home_dir();
};

inline constexpr Tool tool;

} // namespace orv
