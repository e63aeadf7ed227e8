#include "archive/SourceTree.hpp"

#include "archive/PathNames.hpp"
#include "files/Place.hpp"
#include "files/TreeWalk.hpp"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <optional>

#include <fcntl.h>
#include <unistd.h>

namespace orv::archive {
namespace {

constexpr std::size_t max_archive_name = 65535;

/// Sorts the items by path, a folder right before its contents.
bool comes_before(const SourceItem& a, const SourceItem& b)
{
    const auto rank = [](char c) { return c == '/' ? 0 : static_cast<unsigned char>(c) + 1; };
    return std::lexicographical_compare(
        a.name.begin(), a.name.end(), b.name.begin(), b.name.end(),
        [&](char one, char other) { return rank(one) < rank(other); });
}

/// The walk's current item; no value if it has vanished.
std::optional<struct statx> described(const TreeWalk& walk)
{
    if (walk.is_folder())
        return walk.facts();
    struct statx facts {};
    if (::statx(walk.folder(), walk.name(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &facts) == 0)
        return facts;
    if (errno == ENOENT)
        return std::nullopt;
    throw platform_error(errno, walk.path());
}

bool is_socket_or_pipe(const struct statx& facts)
{
    return S_ISSOCK(facts.stx_mode) || S_ISFIFO(facts.stx_mode);
}

Error not_kept(const Url& url)
{
    const Error error =
        Error("An archive cannot keep a socket, a pipe or a device.").known_as(Cause::unsupported);
    return error.with_message(error.sentence() + " (" + url.path() + ")").at(url);
}

ItemKind kind_of(const struct statx& facts, const Url& url)
{
    if (S_ISREG(facts.stx_mode))
        return ItemKind::file;
    if (S_ISDIR(facts.stx_mode))
        return ItemKind::folder;
    if (S_ISLNK(facts.stx_mode))
        return ItemKind::link;
    throw not_kept(url);
}

} // namespace

SourceTree::SourceTree(const std::vector<Url>& paths, const Identity& archive, const Job& job)
    : archive_(archive), job_(job)
{
    for (const Url& path : paths)
        add_root(path.standardized());
    cursor_.reset();
}

void SourceTree::add_root(const Url& path)
try {
    const std::string name = path.last_path_component();
    if (name.empty() || name == "/")
        throw platform_error(EINVAL, path);
    const Place place = Place::of(path);
    struct statx facts {};
    if (::statx(place.folder(), place.name(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &facts) != 0)
        throw platform_error(errno, path);
    const bool is_folder = S_ISDIR(facts.stx_mode);
    roots_.push_back({path, free_name(name, is_folder)});
    root_names_.insert(roots_.back().name);
    const auto root = static_cast<std::uint32_t>(roots_.size() - 1);
    add(root, roots_.back().name, facts);
    if (is_folder)
        add_contents(root, facts);
} catch (const Error& error) {
    if (error.path() == path && (error.code() == ENOENT || error.code() == ENOTDIR))
        throw Zip::Error(Zip::Error::Case::file_not_found, error);
    throw;
}

/// The name, or one like it unused by earlier roots.
std::string SourceTree::free_name(const std::string& name, bool is_folder)
{
    job_.check();
    if (!root_names_.contains(name))
        return name;
    return free_names_.next(name, is_folder, [&](const std::string& candidate) {
        return root_names_.contains(candidate);
    });
}

/// Adds everything below the root, a folder, without sockets and pipes.
void SourceTree::add_contents(std::uint32_t root, const struct statx& described_as)
{
    OpenFolder folder = open_root(root);
    if (folder.identity() != identity_of(described_as))
        throw platform_error(ESTALE, roots_[root].url);
    TreeWalkOptions options;
    options.unreadable = TreeWalkOptions::Unreadable::fail;
    options.describes_all = false;
    TreeWalk walk(std::move(folder), roots_[root].url, options);
    const std::size_t first = items_.size();
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        job_.check();
        if (event != TreeWalk::Event::item)
            continue;
        const auto facts = described(walk);
        if (!facts)
            continue;
        if (is_socket_or_pipe(*facts))
            job_.leave_out(not_kept(walk.path()));
        else
            add(root, roots_[root].name + "/" + walk.relative_path(), *facts);
    }
    std::sort(items_.begin() + static_cast<std::ptrdiff_t>(first), items_.end(), comes_before);
}

void SourceTree::add(std::uint32_t root, std::string name, const struct statx& facts)
{
    if (identity_of(facts) == archive_)
        return;
    const timespec time{facts.stx_mtime.tv_sec, static_cast<long>(facts.stx_mtime.tv_nsec)};
    SourceItem item{std::move(name), root, ItemKind::file, facts.stx_mode, time, facts.stx_size};
    const Url url = url_of(item);
    item.kind = kind_of(facts, url);
    if (item.kind != ItemKind::file)
        item.size = 0;
    if (item.name.size() >= max_archive_name)
        throw platform_error(ENAMETOOLONG, url);
    items_.push_back(std::move(item));
}

OpenFolder SourceTree::open_root(std::uint32_t root) const
{
    const Url& url = roots_[root].url;
    const Place place = Place::of(url);
    OpenFolder folder = open_folder(place.folder(), place.name());
    if (folder.error != 0)
        throw platform_error(folder.error, url);
    return folder;
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
    if (!cursor_ || cursor_root_ != root) {
        cursor_ = std::make_unique<FolderCursor>(open_root(root), roots_[root].url);
        cursor_root_ = root;
    }
    return *cursor_;
}

/// Calls `use` with the item's folder and its name there.
void SourceTree::at_place_of(const SourceItem& item, FunctionRef<void(int, const char*)> use)
{
    const std::string_view path = path_in_root(item);
    if (path.empty()) {
        const Place place = Place::of(roots_[item.root].url);
        return use(place.folder(), place.name());
    }
    const PathParts parts = path_parts(path);
    use(cursor_in(item.root).go_to(parts.folder), std::string(parts.name).c_str());
}

FileDescriptor SourceTree::open_file(const SourceItem& item)
{
    FileDescriptor file;
    struct stat facts {};
    at_place_of(item, [&](int folder, const char* name) {
        file = FileDescriptor(
            ::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
        if (!file || ::fstat(file.get(), &facts) != 0)
            throw platform_error(errno, url_of(item));
    });
    if (!S_ISREG(facts.st_mode))
        throw platform_error(ESTALE, url_of(item));
    return file;
}

std::string SourceTree::link_target(const SourceItem& item)
{
    std::string text(PATH_MAX, '\0');
    at_place_of(item, [&](int folder, const char* name) {
        const ssize_t size = ::readlinkat(folder, name, text.data(), text.size());
        if (size < 0)
            throw platform_error(errno, url_of(item));
        text.resize(static_cast<std::size_t>(size));
    });
    return text;
}

} // namespace orv::archive
