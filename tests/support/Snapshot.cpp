#include "support/Snapshot.hpp"

#include "utility/FileDescriptor.hpp"

#include <array>
#include <climits>
#include <filesystem>
#include <sstream>

#include <fcntl.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace orv::test {
namespace {

std::string content_of_file(const std::string& path, off_t size)
{
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC));
    std::string content(static_cast<std::size_t>(size), '\0');
    const ssize_t length = ::pread(file.get(), content.data(), content.size(), 0);
    content.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return content;
}

std::string text_of_link(const std::string& path)
{
    std::array<char, PATH_MAX> text{};
    const ssize_t length = ::readlink(path.c_str(), text.data(), text.size());
    return {text.data(), length > 0 ? static_cast<std::size_t>(length) : 0};
}

std::map<std::string, std::string> attributes_of(const std::string& path)
{
    std::map<std::string, std::string> attributes;
    std::array<char, 4096> names{};
    const ssize_t length = ::llistxattr(path.c_str(), names.data(), names.size());
    std::array<char, 4096> value{};
    for (ssize_t start = 0; start < length;) {
        const std::string name = names.data() + start;
        const ssize_t size = ::lgetxattr(path.c_str(), name.c_str(), value.data(), value.size());
        attributes[name] = std::string(value.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
        start += static_cast<ssize_t>(name.size()) + 1;
    }
    return attributes;
}

ItemState state_of(const std::string& path)
{
    struct stat facts {};
    ItemState item;
    if (::lstat(path.c_str(), &facts) != 0)
        return item;
    constexpr blkcnt_t block = 512;
    item.type = facts.st_mode & S_IFMT;
    item.permissions = S_ISLNK(facts.st_mode) ? 0 : facts.st_mode & 07777U;
    item.time = std::int64_t{facts.st_mtim.tv_sec} * 1'000'000'000 + facts.st_mtim.tv_nsec;
    item.extended_attributes = attributes_of(path);
    if (S_ISREG(facts.st_mode)) {
        item.content = content_of_file(path, facts.st_size);
        item.has_holes = facts.st_blocks * block < facts.st_size;
    } else if (S_ISLNK(facts.st_mode)) {
        item.content = text_of_link(path);
    }
    return item;
}

} // namespace

bool ItemState::same_content(const ItemState& other) const
{
    return type == other.type && content == other.content;
}

bool ItemState::alike(const ItemState& other) const
{
    return same_content(other) && permissions == other.permissions &&
           extended_attributes == other.extended_attributes && has_holes == other.has_holes &&
           (!time || !other.time || time == other.time);
}

Snapshot snapshot_of(const Url& root)
{
    namespace fs = std::filesystem;
    Snapshot snapshot;
    std::error_code none;
    for (fs::recursive_directory_iterator at(root, none), end; at != end; at.increment(none)) {
        const std::string& path = at->path().native();
        snapshot.emplace(path.substr(root.path().size() + 1), state_of(path));
    }
    return snapshot;
}

std::string described(const ItemState& item)
{
    std::ostringstream text;
    text << std::oct << item.type << " mode " << item.permissions << std::dec << ", "
         << item.content.size() << " bytes (hash " << std::hash<std::string>()(item.content)
         << "), " << item.extended_attributes.size() << " attributes"
         << (item.has_holes ? ", holes" : "");
    if (item.time)
        text << ", time " << *item.time;
    return text.str();
}

} // namespace orv::test
