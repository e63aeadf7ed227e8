#include "Tool/Tool.hpp"

#include "Tool/ToolErrors.hpp"
#include "Tool/VolumeMove.hpp"
#include "Tool/WalkedFolder.hpp"
#include "Tool/WatchedMove.hpp"
#include "files/ItemStatus.hpp"
#include "files/MakeFolder.hpp"
#include "files/NamingError.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/Place.hpp"
#include "files/RemoveTree.hpp"
#include "files/RenameOver.hpp"
#include "files/SameItem.hpp"
#include "files/SetAside.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Fatal.hpp>
#include <orv/utility/Locations.hpp>

#include <cerrno>
#include <cstdio>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

/// Returns 0 or EXDEV, and throws the error of any other `code`.
int checked_rename(int code, const Url& from, const Place& destination, const Url& to)
{
    if (code == 0 || code == EXDEV)
        return code;
    const bool is_about_name =
        code == EEXIST || is_name_refused(code, destination.folder(), destination.path);
    throw naming_error(code, destination.folder(), destination.path, is_about_name ? to : from);
}

/// Renames the item and returns 0, or EXDEV if it has to go to another volume.
int rename_item(const Url& from, const Url& to, NoReplaceRename& rename)
try {
    const Place source = Place::in_resolved_folder(from);
    const Place destination = Place::in_resolved_folder(to);
    const int code =
        rename(source.folder(), source.name(), destination.folder(), destination.name());
    // The item itself has a name in another spelling.
    if (code == EEXIST && is_other_spelling(from, to) &&
        ::renameat(source.folder(), source.name(), destination.folder(), destination.name()) == 0)
        return 0;
    return checked_rename(code, from, destination, to);
} catch (const Error& error) {
    throw move_error(error);
}

bool is_folder(const Place& place)
{
    struct stat status {};
    return ::fstatat(place.folder(), place.name(), &status, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISDIR(status.st_mode);
}

std::optional<std::uint64_t> inode_of(const Place& place)
{
    struct stat status {};
    if (::fstatat(place.folder(), place.name(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return std::nullopt;
    return status.st_ino;
}

/// Renames the item over the one at `to`. Returns 0, or EXDEV for another volume.
int rename_replacing(const Url& from, const Url& to, NoReplaceRename& rename)
try {
    const Place source = Place::in_resolved_folder(from);
    const Place destination = Place::in_resolved_folder(to);
    if (!is_folder(source) && !is_folder(destination) &&
        rename_over(source.folder(), source.name(), destination.folder(), destination.name()) == 0)
        return 0;
    const auto move = [&] {
        return rename(source.folder(), source.name(), destination.folder(), destination.name());
    };
    if (const int code = move(); code != EEXIST)
        return checked_rename(code, from, destination, to);
    const bool is_one_item = is_other_spelling(from, to);
    SetAside old({destination.folder(), to.deleting_last_path_component()}, destination.path,
                 inode_of(source), rename);
    if (is_one_item && !inode_of(source))
        return 0; // it gets its name back
    const int code = move();
    if (code == 0)
        old.discard();
    return checked_rename(code, from, destination, to);
} catch (const Error& error) {
    throw move_error(error);
}

} // namespace

const Tool& Tool::singleton()
{
    return tool;
}

bool Tool::create_file(const Url& at, bool overwrite)
try {
    const Place place = Place::of(at);
    const FileDescriptor file(::openat(place.folder(), place.name(),
                                       O_WRONLY | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC |
                                           (overwrite ? 0 : O_EXCL),
                                       S_IRUSR | S_IWUSR | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH));
    struct stat facts = {};
    return file && ::fstat(file.get(), &facts) == 0 && S_ISREG(facts.st_mode) &&
           ::ftruncate(file.get(), 0) == 0;
} catch (const Error&) {
    return false;
}

bool Tool::delete_item(const Url& at)
try {
    remove_item(at);
    return true;
} catch (const Error&) {
    return false;
}

void Tool::remove_item(const Url& at, FunctionRef<void()> removed)
{
    remove_tree(at, removed);
}

void Tool::iterate_contents(const Url& root, bool inclusive, bool recursive,
                            std::optional<int> recursion_depth, bool include_hidden_files,
                            FunctionRef<bool(FileItem)> consume,
                            std::function<void(const Error&)> on_passed_over)
{
    if (!item_exists(root))
        throw missing_root_error();
    const bool is_folder = is_directory(root);
    if (inclusive && !consume(FileItem(root, root)))
        return;
    if (!is_folder)
        return;

    TreeWalkOptions options;
    options.recursive = recursive;
    options.recursion_depth = recursion_depth;
    options.include_hidden_files = include_hidden_files;
    options.on_passed_over = std::move(on_passed_over);
    TreeWalk walk = item_walk(root, options);
    const Url resolved_root = root.resolving_symlinks();
    std::optional<ItemFolder> folder;
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        if (event != TreeWalk::Event::item) {
            folder.reset();
            continue;
        }
        if (!folder)
            folder = item_folder(walk, resolved_root);
        if (!consume(file_item(*folder, walk.name(), walk.facts())))
            return;
    }
}

bool Tool::create_directory(const Url& at, bool also_create_intermediates)
try {
    make_directory(at, also_create_intermediates);
    return true;
} catch (const Error&) {
    return false;
}

void Tool::make_directory(const Url& at, bool also_create_intermediates)
{
    make_folder(at, also_create_intermediates);
}

std::optional<std::int64_t> Tool::file_size(const Url& of)
{
    const auto facts = item_status(of, AT_SYMLINK_NOFOLLOW);
    return facts ? std::optional<std::int64_t>(facts->st_size) : std::nullopt;
}

bool Tool::item_exists(const Url& at)
{
    return item_status(at, AT_SYMLINK_NOFOLLOW).has_value();
}

bool Tool::is_directory(const Url& at)
{
    return orv::is_directory(at);
}

std::optional<bool> Tool::is_volume(const Url& at)
try {
    const Place place = Place::of(at);
    struct statx facts {};
    if (::statx(place.folder(), place.name(), AT_SYMLINK_NOFOLLOW, STATX_TYPE, &facts) != 0)
        return std::nullopt;
    return (facts.stx_attributes & STATX_ATTR_MOUNT_ROOT) != 0;
} catch (const Error&) {
    return std::nullopt;
}

void Tool::move_item(const Url& from, const Url& to, const AroundNaming& around)
{
    NoReplaceRename rename;
    move_watched(from, to, false, rename, around, unwatched());
}

bool Tool::move_item_within_volume(const Url& from, const Url& to, const AroundNaming& around)
{
    NoReplaceRename rename;
    return attempt_naming(around, [&] { return rename_item(from, to, rename); }) == 0;
}

void Tool::move_item_replacing(const Url& from, const Url& to, const AroundNaming& around)
{
    NoReplaceRename rename;
    move_watched(from, to, true, rename, around, unwatched());
}

void move_watched(const Url& from, const Url& to, bool replaces, NoReplaceRename& rename,
                  const AroundNaming& around, const MoveWatch& watch)
{
    const auto attempt = [&] {
        return replaces ? rename_replacing(from, to, rename) : rename_item(from, to, rename);
    };
    if (attempt_naming(around, attempt) == EXDEV)
        move_across_volumes(from, to, replaces, around, watch);
}

const Url& Tool::docs_dir()
{
    if (!create_directory(orv::docs_dir(), true))
        fatal("The documents folder cannot be created: " + orv::docs_dir().path());
    return orv::docs_dir();
}

const Url& Tool::temp_dir()
{
    return orv::temp_dir();
}

const Url& Tool::home_dir()
{
    return orv::home_dir();
}

} // namespace orv
