#include "faults/VolumeItems.hpp"

#include "faults/Archives.hpp"
#include "support/Tree.hpp"

#include <algorithm>
#include <sstream>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace orv::test {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t big_size = 700'000;
constexpr std::size_t sparse_size = 300'000;
constexpr const char* attribute = "user.note";
constexpr timespec old_date{1'500'000'000, 0};

/// Begins with a line that tells the name.
std::string content_of(const std::string& name)
{
    if (name == "empty")
        return {};
    if (name == "sparse")
        return name + "\n" + std::string(sparse_size, '\0');
    // No two sizes are alike, so that a size tells which content is meant.
    const std::size_t size = name == "big" ? big_size : static_cast<unsigned char>(name[0]);
    return name + "\n" + pattern(size);
}

const std::string& sample_archive()
{
    static const std::string archive =
        packed({{"a", file(content_of("a"))}, {"d", folder()}, {"d/b", file(content_of("b"))}});
    return archive;
}

const std::string& sample_picture()
{
    static const std::string picture = read_file(Url(std::string(ORV_SAMPLE_PICTURE)));
    return picture;
}

/// Ends with a hole where the volume has holes.
void make_sparse_file(const fs::path& path)
{
    const std::string content = content_of("sparse");
    write_file(Url(path), content.substr(0, content.find('\n') + 1));
    if (::truncate(path.c_str(), static_cast<off_t>(content.size())) != 0)
        write_file(Url(path), content);
}

/// Errors: `std::runtime_error` where the volume can't hold the item.
void make_item(const fs::path& root, const std::string& item)
{
    const auto mark = item.find_first_of(">|=");
    const fs::path path = root / item.substr(0, mark);
    const std::string text = mark == std::string::npos ? "" : item.substr(mark + 1);
    const char kind = item.ends_with('/') ? '/' : mark == std::string::npos ? '=' : item[mark];
    if (kind == '/')
        fs::create_directories(path);
    else if (kind == '>')
        fs::create_symlink(text, path);
    else if (kind == '|' && ::mkfifo(path.c_str(), 0600) != 0)
        throw std::runtime_error("no FIFO can be made");
    else if (path.filename() == "sparse")
        make_sparse_file(path);
    else if (kind == '=' && path.extension() == ".zip")
        write_file(Url(path), sample_archive());
    else if (kind == '=' && path.extension() == ".png")
        write_file(Url(path), sample_picture());
    else if (kind == '=')
        write_file(Url(path), content_of(text.empty() ? path.filename().string() : text));
}

mode_t mode_of(const std::string& item)
{
    return item.ends_with('/') ? 0750 : 0640;
}

/// What is behind the name of an archive or a picture that is `content`: nothing for the sample.
std::string described_foreign(const std::string& content, const std::string& sample,
                              const char* ending)
{
    if (content == sample)
        return "";
    return content.find(ending) != std::string::npos ? "=new" : "=damaged";
}

std::string described_file(const std::string& path, const std::string& name)
{
    const std::string content = read_file(Url(path));
    if (name.ends_with(".zip"))
        return described_foreign(content, sample_archive(), "PK\5\6");
    if (name.ends_with(".png"))
        return described_foreign(content, sample_picture(), "IEND");
    const std::string origin = content.empty() ? "empty" : content.substr(0, content.find('\n'));
    if (content != content_of(origin))
        return "=damaged(" + std::to_string(content.size()) + ")";
    return origin == name ? "" : "=" + origin;
}

bool has_attribute(const fs::path& path)
{
    return ::getxattr(path.c_str(), attribute, nullptr, 0) > 0;
}

} // namespace

Items items_of(const std::string& list)
{
    std::istringstream words(list);
    return {std::istream_iterator<std::string>(words), {}};
}

void make_items(const fs::path& root, const std::string& list)
{
    fs::create_directories(root);
    for (const std::string& item : items_of(list))
        make_item(root, item);
    for (const std::string& item : items_of(list))
        if (const fs::path path = root / item; item.find_first_of(">|=") == std::string::npos) {
            const timespec times[] = {old_date, old_date};
            ::setxattr(path.c_str(), attribute, "kept", 4, 0); // where the volume has such
            ::chmod(path.c_str(), mode_of(item));
            ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
        }
}

Items items_below(const fs::path& root)
{
    Items items;
    std::error_code none;
    for (fs::recursive_directory_iterator at(root, none), end; at != end; at.increment(none)) {
        const std::string path = at->path().string();
        std::string name = path.substr(root.string().size() + 1);
        std::ranges::replace(name, ' ', '_'); // which parts items
        if (at->is_symlink(none))
            items.insert(name + ">" + fs::read_symlink(path, none).string());
        else if (at->is_directory(none))
            items.insert(name + "/");
        else if (at->is_fifo(none))
            items.insert(name + "|");
        else
            items.insert(name + described_file(path, at->path().filename()));
    }
    return items;
}

std::string joined(const Items& items)
{
    std::string text;
    for (const std::string& item : items)
        text += " " + item;
    return text;
}

Items without(const Items& items, const Items& others)
{
    Items rest;
    std::ranges::set_difference(items, others, std::inserter(rest, rest.end()));
    return rest;
}

Items not_kept(const fs::path& place, const fs::path& other)
{
    Items missing;
    for (const std::string& item : items_below(other)) {
        struct stat kept {};
        struct stat here {};
        if (item.find_first_of(">|=") != std::string::npos ||
            ::lstat((other / item).c_str(), &kept) != 0 ||
            ::lstat((place / item).c_str(), &here) != 0)
            continue;
        if (kept.st_mtim.tv_sec == old_date.tv_sec && here.st_mtim.tv_sec != old_date.tv_sec)
            missing.insert("date of " + item);
        if ((kept.st_mode & 0777) == mode_of(item) && here.st_mode != kept.st_mode)
            missing.insert("mode of " + item);
        if (has_attribute(other / item) && !has_attribute(place / item))
            missing.insert("attribute of " + item);
    }
    return missing;
}

} // namespace orv::test
