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

/// The file-system toolkit that every request uses. Keeps nothing.
///
/// Paths may be of any length. An item exists where a directory entry does: a dangling link is one.
///
/// Threading: any.
class Tool {
public:
    /// The one instance, also reachable as `tool`.
    static const Tool& singleton();

    /// Creates an empty file. An existing item is left alone, or, with `overwrite`, emptied when it
    /// is a regular file. Says whether an empty file is there now.
    static bool create_file(const Url& at, bool overwrite);

    /// Removes the item, a folder with everything in it. Says whether it is gone.
    static bool delete_item(const Url& at);

    /// The same as `delete_item`, but tells why it failed. `removed` is called after each item that
    /// was removed; what it throws ends the removal.
    ///
    /// Errors: the platform's, with the path of the item that could not be removed.
    static void remove_item(const Url& at, FunctionRef<void()> removed = nothing_around);

    /// Hands the items below `root` to `consume`, a folder before its contents, until it answers
    /// false. With `inclusive` the root comes first, whatever it is; a root that is no folder has
    /// nothing below it. What `consume` throws leaves the walk unchanged.
    ///
    /// Folders that cannot be read and entries that vanish are passed over; links are not followed.
    /// Of those that are still there, `on_passed_over` is told.
    /// Errors: "Given url doesn't point to an existing item."; "Couldn't create directory
    /// enumerator." when the root cannot be opened; those of `FileItem`.
    static void iterate_contents(const Url& root, bool inclusive, bool recursive,
                                 std::optional<int> recursion_depth, bool include_hidden_files,
                                 FunctionRef<bool(FileItem)> consume,
                                 std::function<void(const Error&)> on_passed_over = {});

    /// Creates a folder. With `also_create_intermediates` missing folders above it, too, and a
    /// folder that is already there is a success. Says whether it is there now.
    static bool create_directory(const Url& at, bool also_create_intermediates);

    /// The same as `create_directory`, but tells why it failed.
    ///
    /// Errors: the platform's, with the path of the folder that could not be created.
    static void make_directory(const Url& at, bool also_create_intermediates);

    /// The size of the item itself in bytes; no value when it cannot be told.
    [[nodiscard]] static std::optional<std::int64_t> file_size(const Url& of);

    [[nodiscard]] static bool item_exists(const Url& at);

    /// Whether the item is a folder, or a link that leads to one.
    [[nodiscard]] static bool is_directory(const Url& at);

    /// Whether the item is the root of a mounted volume; no value when it cannot be told.
    [[nodiscard]] static std::optional<bool> is_volume(const Url& at);

    /// Gives the item at `from` the location `to`, where nothing may stand.
    ///
    /// To another volume it is copied, on the disk and out of sight until it is complete, and then
    /// removed where it was; that may take long, and nothing interrupts it. Kept is what a copy
    /// keeps, and that files are one under several names. A failure leaves the source whole and
    /// nothing at the destination, unless it says that the destination is complete: then only what
    /// could not be removed, or was changed or added meanwhile, stays at the source.
    ///
    /// Errors: "Couldn't move the item", with the platform's error appended: code EEXIST when
    /// something stands at `to`. To another volume, before anything is copied of it, also for what
    /// could not be removed: a mounted volume (EBUSY), a folder or file that may not be changed.
    static void move_item(const Url& from, const Url& to,
                          const AroundNaming& around = {nothing_around, nothing_around});

    /// The same, in place of an item that may stand at `to`. That one is removed once the other has
    /// its name, and is there again after a failure.
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

/// The error of a failed move, for those that move in a way of their own.
[[nodiscard]] Error move_error(const Error& cause);

/// The error of a walk whose root cannot be opened, for those that walk in a way of their own.
[[nodiscard]] Error enumerator_error(const Error& cause);

} // namespace orv
