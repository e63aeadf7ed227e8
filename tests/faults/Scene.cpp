#include "faults/Scene.hpp"

#include "utility/FileDescriptor.hpp"

#include <algorithm>
#include <array>
#include <ranges>
#include <stdexcept>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace orv::test {
namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t some_time = 1'500'000'000 * second + 123'456'789;
constexpr std::size_t block = 4096;

ItemState item(mode_t type, mode_t permissions, std::string content = {})
{
    return {.type = type,
            .permissions = permissions,
            .content = std::move(content),
            .extended_attributes = {},
            .time = some_time,
            .has_holes = false};
}

void check(bool done, const std::string& path)
{
    if (!done)
        throw std::runtime_error("the scene can't be built at " + path);
}

void write_blocks(int fd, const ItemState& file, const std::string& path)
{
    check(::ftruncate(fd, static_cast<off_t>(file.content.size())) == 0, path);
    for (std::size_t at = 0; at < file.content.size(); at += block) {
        const std::string_view part = std::string_view(file.content).substr(at, block);
        const bool is_hole =
            file.has_holes && std::ranges::all_of(part, [](char c) { return c == 0; });
        if (!is_hole)
            check(::pwrite(fd, part.data(), part.size(), static_cast<off_t>(at)) ==
                      static_cast<ssize_t>(part.size()),
                  path);
    }
}

void create(const std::string& path, const ItemState& item)
{
    if (S_ISDIR(item.type))
        return check(::mkdir(path.c_str(), 0700) == 0, path);
    if (S_ISLNK(item.type))
        return check(::symlink(item.content.c_str(), path.c_str()) == 0, path);
    if (S_ISFIFO(item.type))
        return check(::mkfifo(path.c_str(), 0600) == 0, path);
    const FileDescriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0600));
    check(static_cast<bool>(file), path);
    write_blocks(file.get(), item, path);
}

void finish(const std::string& path, const ItemState& item)
{
    for (const auto& [name, value] : item.extended_attributes)
        ::lsetxattr(path.c_str(), name.c_str(), value.data(), value.size(), 0);
    if (!S_ISLNK(item.type))
        check(::chmod(path.c_str(), item.permissions) == 0, path);
    const std::int64_t time = item.time.value_or(some_time);
    const timespec stamp{time / second, static_cast<long>(time % second)};
    const std::array<timespec, 2> stamps{stamp, stamp};
    check(::utimensat(AT_FDCWD, path.c_str(), stamps.data(), AT_SYMLINK_NOFOLLOW) == 0, path);
}

} // namespace

ItemState folder(mode_t permissions)
{
    return item(S_IFDIR, permissions);
}

ItemState file(std::string content, mode_t permissions)
{
    return item(S_IFREG, permissions, std::move(content));
}

ItemState link(std::string text)
{
    return item(S_IFLNK, 0, std::move(text));
}

ItemState fifo()
{
    return item(S_IFIFO, 0640);
}

ItemState sparse_file()
{
    std::string content(16 * block, '\0');
    content.replace(5 * block, block, pattern(block));
    ItemState sparse = file(std::move(content));
    sparse.has_holes = true;
    return sparse;
}

std::string pattern(std::size_t size)
{
    std::string text;
    text.reserve(size + 16);
    for (std::size_t number = 1; text.size() < size; ++number)
        text += std::to_string(number) + ' ';
    text.resize(size);
    return text;
}

Snapshot sample_tree()
{
    ItemState noted = file(pattern(9'000), 0444);
    noted.extended_attributes["user.note"] = "kept";
    return {
        {"", folder(0750)},
        {"a.txt", file("alpha", 0640)},
        {"big", file(pattern(120'000))},
        {"dangling", link("nowhere")},
        {"empty", file("")},
        {"fifo", fifo()},
        {"fixed", folder(0555)},
        {"fixed/e", file("e", 0400)},
        {"link", link("a.txt")},
        {"sparse", sparse_file()},
        {"sub", folder(0700)},
        {"sub/c.bin", noted},
        {"sub/deep", folder()},
        {"sub/deep/d", file("d")},
    };
}

void put(Snapshot& items, const std::string& place, const Snapshot& tree)
{
    for (const auto& [path, item] : tree)
        items[path.empty() ? place : place + "/" + path] = item;
}

void take_away(Snapshot& items, const std::string& place)
{
    std::erase_if(items, [&](const auto& entry) { return is_at_or_below(entry.first, place); });
}

bool is_at_or_below(std::string_view path, std::string_view place)
{
    return path.starts_with(place) && (path.size() == place.size() || path[place.size()] == '/');
}

void build(const Url& root, const Snapshot& items)
{
    for (const auto& [path, item] : items)
        create(root.path() + "/" + path, item);
    for (const auto& [path, item] : items | std::views::reverse)
        finish(root.path() + "/" + path, item);
}

} // namespace orv::test
