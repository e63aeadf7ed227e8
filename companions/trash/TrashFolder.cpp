#include "trash/TrashFolder.hpp"

#include "files/Flush.hpp"
#include "files/FolderReader.hpp"
#include "files/MakeFolder.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"
#include "files/ProcessedFiles.hpp"
#include "files/ReadWrite.hpp"
#include "files/RemoveTree.hpp"
#include "trash/SmallFile.hpp"
#include "utility/FileNames.hpp"
#include "utility/Text.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

// With a number added and the ending of its info, a name still fits.
constexpr std::size_t longest_name = max_name_size - TrashInfo::ending.size() - 12;

Error not_used(const std::string& reason, const Url& url)
{
    return Error("The trash folder isn't used, because " + reason + ".").at(url);
}

/// The reason the item in a folder's place is none.
Error not_opened(int folder, const std::string& name, int error, const Url& url)
{
    struct stat facts {};
    if (::fstatat(folder, name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0) {
        if (S_ISLNK(facts.st_mode))
            return not_used("it is a symbolic link", url);
        if (!S_ISDIR(facts.st_mode))
            return not_used("it is no folder", url);
    }
    return platform_error(error, url);
}

/// Opens the folder `name`; without `makes`, no descriptor if there is none.
OpenFolder open_part(int folder, const std::string& name, const Url& url, bool makes)
{
    if (makes && ::mkdirat(folder, name.c_str(), S_IRWXU) != 0 && errno != EEXIST)
        throw platform_error(errno, url);
    OpenFolder part = open_folder(folder, name.c_str());
    if (part.error != 0 && (makes || part.error != ENOENT))
        throw not_opened(folder, name, part.error, url);
    return part;
}

OpenFolder open_own(int folder, const std::string& name, const Url& url, bool makes)
{
    OpenFolder own = open_part(folder, name, url, makes);
    if (own.error == 0 && own.facts.stx_uid != ::getuid())
        throw not_used("it belongs to another user", url);
    return own;
}

/// Opens the parent of the trash folder. One for all users is safe only if nobody can take away
/// another's folder, nor lead it elsewhere.
FileDescriptor open_above(const TrashPlace& place, bool makes)
{
    const Url above = place.url.deleting_last_path_component();
    if (place.kind == TrashPlace::Kind::home && makes)
        make_folder(above, true);
    try {
        Place at =
            Place::in_opened_folder(place.kind == TrashPlace::Kind::shared ? above : place.url);
        if (place.kind != TrashPlace::Kind::shared)
            return std::move(at.opened);
        OpenFolder shared = open_part(at.folder(), at.path, above, false);
        if (shared.error == 0 && (shared.facts.stx_mode & S_ISVTX) == 0)
            throw not_used(
                "it lacks the sticky bit, so that other users could change what is in it", above);
        return std::move(shared.descriptor);
    } catch (const Error& error) {
        if (error.code() == ENOENT)
            return {};
        throw;
    }
}

std::string info_name(const std::string& name)
{
    return name + std::string(TrashInfo::ending);
}

/// The name for an item in the trash, if it is free: its own, shortened if its info could not have
/// the same.
std::string first_name(const Url& original)
{
    std::string name = original.last_path_component();
    if (name.size() <= longest_name)
        return name;
    const NameParts parts = name_parts(name);
    const std::size_t ending = name.size() - parts.title.size();
    if (ending >= longest_name)
        return std::string(fitting_prefix(name, longest_name));
    return std::string(fitting_prefix(parts.title, longest_name - ending))
        .append(name.substr(parts.title.size()));
}

std::vector<std::string> names_in(int folder, const Url& url)
{
    // By a descriptor of its own: a read of a folder starts where its descriptor stands.
    const OpenFolder opened = open_folder(folder, ".");
    if (opened.error != 0)
        throw platform_error(opened.error, url);
    std::vector<std::string> names;
    FolderReader reader(std::make_unique<std::byte[]>(FolderReader::buffer_bytes));
    while (const auto entry = reader.next(opened.descriptor.get()))
        names.emplace_back(entry->name);
    if (reader.error() != 0)
        throw platform_error(reader.error(), url);
    return names;
}

} // namespace

TrashFolder::TrashFolder(TrashPlace place, FileDescriptor root, Identity identity,
                         FileDescriptor files, FileDescriptor info)
    : place_(std::move(place)), root_(std::move(root)), identity_(identity),
      files_(std::move(files)), info_(std::move(info)),
      hidden_names_({files_.get(), place_.url.appending("files")})
{
}

std::unique_ptr<TrashFolder> TrashFolder::opened(const TrashPlace& place)
{
    return open(place, false);
}

std::unique_ptr<TrashFolder> TrashFolder::made(const TrashPlace& place)
{
    return open(place, true);
}

std::unique_ptr<TrashFolder> TrashFolder::open(const TrashPlace& place, bool makes)
{
    const FileDescriptor above = open_above(place, makes);
    if (!above)
        return nullptr;
    OpenFolder root = open_own(above.get(), place.url.last_path_component(), place.url, makes);
    if (root.error != 0)
        return nullptr;
    const int fd = root.descriptor.get();
    OpenFolder files = open_part(fd, "files", place.url.appending("files"), makes);
    OpenFolder info = open_part(fd, "info", place.url.appending("info"), makes);
    if (files.error != 0 || info.error != 0)
        return nullptr;
    return std::unique_ptr<TrashFolder>(
        new TrashFolder(place, std::move(root.descriptor), root.identity(),
                        std::move(files.descriptor), std::move(info.descriptor)));
}

Url TrashFolder::url_of(const std::string& name) const
{
    return place_.url.appending("files").appending(name);
}

std::string TrashFolder::told_path(const Url& original) const
{
    if (place_.kind == TrashPlace::Kind::home)
        return original.path();
    return relative_path(original, place_.base).value_or(original.path());
}

bool TrashFolder::is_taken(const std::string& name) const
{
    struct stat facts {};
    const std::string info = info_name(name);
    return ::fstatat(files_.get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0 ||
           ::fstatat(info_.get(), info.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0;
}

std::vector<std::string> TrashFolder::reserve(std::span<const Url> originals, TrashInfo::Date date)
{
    std::vector<WrittenInfo> infos;
    infos.reserve(originals.size());
    try {
        for (const Url& original : originals)
            infos.push_back(write_first_free(original, date));
        flush_infos(infos);
    } catch (const Error&) {
        for (const WrittenInfo& info : infos)
            remove_info(info.name);
        throw;
    }
    std::vector<std::string> names;
    names.reserve(infos.size());
    for (WrittenInfo& info : infos)
        names.push_back(std::move(info.name));
    return names;
}

TrashFolder::WrittenInfo TrashFolder::write_first_free(const Url& original, TrashInfo::Date date)
{
    const std::string text = TrashInfo{told_path(original), date}.text();
    const std::string first = first_name(original);
    std::string name = first;
    for (;;) {
        // An item without an info may have the name.
        if (!is_taken(name)) {
            try {
                return write_info(name, text);
            } catch (const Error& error) {
                if (error.code() != EEXIST)
                    throw;
            }
        }
        name = names_.next(first, false, [&](const std::string& other) { return is_taken(other); });
    }
}

TrashFolder::WrittenInfo TrashFolder::write_info(const std::string& name,
                                                 const std::string& text) const
{
    const std::string info_file = info_name(name);
    const Url url = place_.url.appending("info").appending(info_file);
    FileDescriptor file(::openat(info_.get(), info_file.c_str(),
                                 O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC,
                                 S_IRUSR | S_IWUSR));
    if (!file)
        throw platform_error(errno, url);
    try {
        write_all({file.get(), url}, text, 0);
    } catch (const Error&) {
        ::unlinkat(info_.get(), info_file.c_str(), 0);
        throw;
    }
    return {name, url, std::move(file)};
}

/// A disk takes some milliseconds for each flush, however little there is to write. The flush of
/// the whole volume takes with it what other programs have written, so it is for many infos only.
void TrashFolder::flush_infos(const std::vector<WrittenInfo>& infos) const
{
    constexpr std::size_t few = 8;
    const Url folder = place_.url.appending("info");
    if (infos.size() > few && can_flush_volume(info_.get()))
        return flush_volume(info_.get(), folder);
    for (const WrittenInfo& info : infos)
        flush(info.file.get(), info.url);
    flush(info_.get(), folder);
}

void TrashFolder::remove_info(const std::string& name) noexcept
{
    ::unlinkat(info_.get(), info_name(name).c_str(), 0);
}

void TrashFolder::remove_stray_infos() noexcept
try {
    constexpr std::int64_t hour = 3600;
    for (const std::string& file : names_in(info_.get(), place_.url)) {
        struct stat facts {};
        if (!file.ends_with(TrashInfo::ending) ||
            ::fstatat(info_.get(), file.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0 ||
            facts.st_mtim.tv_sec > std::time(nullptr) - hour)
            continue;
        const std::string name = file.substr(0, file.size() - TrashInfo::ending.size());
        if (::fstatat(files_.get(), name.c_str(), &facts, AT_SYMLINK_NOFOLLOW) != 0 &&
            errno == ENOENT)
            remove_info(name);
    }
} catch (const std::exception&) {
    return;
}

std::optional<TrashEntry> TrashFolder::entry(const std::string& name) const
{
    TrashEntry entry{.name = name, .info = {}};
    constexpr unsigned wanted = STATX_BASIC_STATS | STATX_BTIME;
    if (::statx(files_.get(), name.c_str(), AT_SYMLINK_NOFOLLOW, wanted, &entry.facts) != 0)
        return std::nullopt;
    const std::string info = info_name(name);
    struct stat facts {};
    if (::fstatat(info_.get(), info.c_str(), &facts, AT_SYMLINK_NOFOLLOW) == 0)
        entry.info_time = facts.st_mtim.tv_sec;
    try {
        if (const auto text = small_file({info_.get(), place_.url.appending("info")}, info.c_str()))
            entry.info = TrashInfo::parsed(*text);
    } catch (const Error& error) {
        entry.failure = error;
    }
    return entry;
}

std::vector<TrashEntry> TrashFolder::entries() const
{
    std::vector<TrashEntry> entries;
    for (const std::string& name : names_in(files_.get(), place_.url.appending("files")))
        if (!is_hidden_name(name))
            if (auto found = entry(name))
                entries.push_back(std::move(*found));
    return entries;
}

Url TrashFolder::original_url(const TrashEntry& entry) const
{
    if (!entry.info)
        return {};
    const std::string& path = entry.info->path;
    if (path.starts_with('/'))
        return place_.kind == TrashPlace::Kind::home ? Url(path).standardized() : Url();
    const Url url = place_.base.appending(path).standardized();
    return relative_path(url, place_.base).value_or("").empty() ? Url() : url;
}

void TrashFolder::destroy(const TrashEntry& entry)
{
    if (S_ISDIR(entry.facts.stx_mode))
        destroy_folder(entry.name);
    else
        remove_tree(files_.get(), entry.name.c_str(), url_of(entry.name), Access::taken);
    remove_info(entry.name);
}

/// A folder is hidden first. After a kill of this process the next start removes the rest.
void TrashFolder::destroy_folder(const std::string& name)
{
    const std::shared_ptr<HiddenName> hidden = hidden_names_.take();
    NoReplaceRename rename;
    const char* hidden_name = hidden->text().c_str();
    if (const int code = rename(files_.get(), name.c_str(), files_.get(), hidden_name))
        throw platform_error(code, url_of(name));
    try {
        remove_tree(files_.get(), hidden_name, url_of(name), Access::taken);
    } catch (const Error&) {
        if (rename(files_.get(), hidden_name, files_.get(), name.c_str()) != 0)
            hidden->leave_behind();
        throw;
    }
}

} // namespace orv
