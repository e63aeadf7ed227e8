#include "archive/SourceTree.hpp"

#include "archive/PathNames.hpp"

#include <orv/utility/FunctionRef.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace orv::archive {
namespace {

constexpr std::size_t max_archive_name = 65535;

/// Hands every item of the folder to `found`, but for those that vanish meanwhile.
void read_folder(int folder, const Url& url,
                 FunctionRef<void(const char* name, const struct stat& facts)> found)
{
    const int readable = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, int (*)(DIR*)> reader(readable < 0 ? nullptr : ::fdopendir(readable),
                                                     ::closedir);
    if (!reader)
        throw platform_error(errno, url);
    for (errno = 0; const dirent* entry = ::readdir(reader.get()); errno = 0) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..")
            continue;
        struct stat facts {};
        if (::fstatat(folder, entry->d_name, &facts, AT_SYMLINK_NOFOLLOW) == 0)
            found(entry->d_name, facts);
        else if (errno != ENOENT)
            throw platform_error(errno, url.appending(name));
    }
    if (errno != 0)
        throw platform_error(errno, url);
}

ItemKind kind_of(const struct stat& facts, const Url& url)
{
    if (S_ISREG(facts.st_mode))
        return ItemKind::file;
    if (S_ISDIR(facts.st_mode))
        return ItemKind::folder;
    if (S_ISLNK(facts.st_mode))
        return ItemKind::link;
    const Error error("An archive cannot keep a socket, a pipe or a device.");
    throw error.with_message(error.sentence() + " (" + url.path() + ")").at(url);
}

} // namespace

SourceTree::SourceTree(const std::vector<Url>& paths, const struct stat& archive, const Job& job)
    : archive_(archive), job_(job)
{
    for (const Url& path : paths)
        add_root(path.standardized());
    cursor_.reset();
}

void SourceTree::add_root(const Url& path)
{
    struct stat facts {};
    const std::string name = path.last_path_component();
    if (name.empty() || name == "/")
        throw platform_error(EINVAL, path);
    if (::lstat(path.path().c_str(), &facts) != 0) {
        const Error error = platform_error(errno, path);
        if (error.code() == ENOENT || error.code() == ENOTDIR)
            throw Zip::Error(Zip::Error::Case::file_not_found, error);
        throw error;
    }
    roots_.push_back({path, free_name(name, S_ISDIR(facts.st_mode))});
    root_names_.insert(roots_.back().name);
    const auto root = static_cast<std::uint32_t>(roots_.size() - 1);
    add(root, roots_.back().name, facts);
    if (S_ISDIR(facts.st_mode))
        add_contents(root);
}

/// The name, or one like it that no earlier root has.
std::string SourceTree::free_name(const std::string& name, bool is_folder)
{
    job_.check();
    if (!root_names_.contains(name))
        return name;
    return free_names_.next(name, is_folder, [&](const std::string& candidate) {
        return root_names_.contains(candidate);
    });
}

/// Adds everything below the item added last, a folder.
void SourceTree::add_contents(std::uint32_t root)
{
    std::vector<std::size_t> to_read{items_.size() - 1};
    while (!to_read.empty()) {
        job_.check();
        // Copied, since the items move as their number grows.
        const SourceItem folder = items_[to_read.back()];
        to_read.pop_back();
        const std::string_view path = path_in_root(folder);
        FolderCursor& cursor = cursor_in(root);
        const std::size_t first = items_.size();
        read_folder(cursor.go_to(path), cursor.url_of(path),
                    [&](const char* name, const struct stat& facts) {
                        add(root, folder.name + "/" + name, facts);
                    });
        std::sort(items_.begin() + static_cast<std::ptrdiff_t>(first), items_.end(),
                  [](const SourceItem& a, const SourceItem& b) { return a.name < b.name; });
        for (std::size_t i = items_.size(); i-- > first;)
            if (items_[i].kind == ItemKind::folder)
                to_read.push_back(i);
    }
}

void SourceTree::add(std::uint32_t root, std::string name, const struct stat& facts)
{
    if (facts.st_dev == archive_.st_dev && facts.st_ino == archive_.st_ino)
        return;
    SourceItem item{std::move(name), root,          ItemKind::file,
                    facts.st_mode,   facts.st_mtim, static_cast<std::uint64_t>(facts.st_size)};
    const Url url = url_of(item);
    item.kind = kind_of(facts, url);
    if (item.kind != ItemKind::file)
        item.size = 0;
    if (item.name.size() >= max_archive_name)
        throw platform_error(ENAMETOOLONG, url);
    items_.push_back(std::move(item));
}

std::string_view SourceTree::path_in_root(const SourceItem& item) const
{
    const std::string& root = roots_[item.root].name;
    return item.name.size() == root.size() ? std::string_view()
                                           : std::string_view(item.name).substr(root.size() + 1);
}

Url SourceTree::url_of(const SourceItem& item) const
{
    const std::string_view path = path_in_root(item);
    const Url& root = roots_[item.root].url;
    return path.empty() ? root : root.appending(path);
}

FolderCursor& SourceTree::cursor_in(std::uint32_t root)
{
    if (cursor_ && cursor_root_ == root)
        return *cursor_;
    const Url& url = roots_[root].url;
    FileDescriptor folder(
        ::open(url.path().c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
    if (!folder)
        throw platform_error(errno, url);
    cursor_ = std::make_unique<FolderCursor>(std::move(folder), url);
    cursor_root_ = root;
    return *cursor_;
}

SourceTree::Place SourceTree::place_of(const SourceItem& item)
{
    const std::string_view path = path_in_root(item);
    if (path.empty())
        return {AT_FDCWD, roots_[item.root].url.path()};
    const PathParts parts = path_parts(path);
    return {cursor_in(item.root).go_to(parts.folder), std::string(parts.name)};
}

FileDescriptor SourceTree::open_file(const SourceItem& item)
{
    const Place place = place_of(item);
    FileDescriptor file(::openat(place.folder, place.name.c_str(),
                                 O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat facts {};
    if (!file || ::fstat(file.get(), &facts) != 0)
        throw platform_error(errno, url_of(item));
    if (!S_ISREG(facts.st_mode))
        throw platform_error(ESTALE, url_of(item));
    return file;
}

std::string SourceTree::link_target(const SourceItem& item)
{
    const Place place = place_of(item);
    std::string text(PATH_MAX, '\0');
    const ssize_t size = ::readlinkat(place.folder, place.name.c_str(), text.data(), text.size());
    if (size < 0)
        throw platform_error(errno, url_of(item));
    text.resize(static_cast<std::size_t>(size));
    return text;
}

} // namespace orv::archive
