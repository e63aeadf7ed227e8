#include "Misc/FileItem.hpp"

#include "Misc/PackageExtensions.hpp"
#include "files/ItemStatus.hpp"
#include "files/Place.hpp"
#include "utility/FileNames.hpp"

#include <orv/Misc/FileItem.hpp>
#include <orv/utility/Error.hpp>

#include <cerrno>

#include <fcntl.h>

namespace orv {
namespace {

Error item_error(const char* sentence, const Url& url, int line)
{
    return error_msg(sentence + url.description(), "src/Misc/FileItem", "init(for:base_url:)", line)
        .at(url);
}

struct statx facts_of(const Url& url)
{
    const Place place = Place::of(url);
    struct statx facts {};
    if (::statx(place.folder(), place.name(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                item_facts_mask, &facts))
        throw platform_error(errno, url);
    return facts;
}

FileItem::Date date(const statx_timestamp& time)
{
    return FileItem::Date(std::chrono::nanoseconds(nanoseconds(time)));
}

void set_name(FileItem& item, std::string_view name)
{
    const NameParts parts = name_parts(name);
    item.name = name;
    item.title = parts.title;
    item.ext = parts.ext;
    item.is_hidden = name.starts_with('.');
}

void set_mode(FileItem& item, std::uint32_t mode)
{
    item.mode = mode;
    item.is_dir = S_ISDIR(mode);
}

/// Fills in the facts from `statx`; the item has its location and name.
void set_facts(FileItem& item, const struct statx& facts)
{
    if (!(facts.stx_mask & STATX_TYPE))
        throw missing_facts(item.url);
    set_mode(item, facts.stx_mode);
    item.is_package = item.is_dir && is_package_extension(item.ext);
    set_inode_size_and_dates(item, facts);
}

} // namespace

FileItem::FileItem(const Url& item_url, const std::optional<Url>& base_url) : url(item_url)
{
    const struct statx facts = facts_of(url);
    set_name(*this, url.last_path_component());
    set_facts(*this, facts);
    if (base_url) {
        auto path = orv::relative_path(url, *base_url);
        if (!path)
            throw item_error("Couldn't create relative path for url: \n", url, 78);
        relative_path = std::move(*path);
    }
    custom_attributes.url = url.resolving_symlinks();
}

void set_inode_size_and_dates(FileItem& item, const struct statx& facts)
{
    if (S_ISREG(facts.stx_mode) && facts.stx_mask & STATX_SIZE)
        item.size = static_cast<std::int64_t>(facts.stx_size);
    if (facts.stx_mask & STATX_INO)
        item.inode = facts.stx_ino;
    if (facts.stx_mask & STATX_BTIME)
        item.creation_date = date(facts.stx_btime);
    if (facts.stx_mask & STATX_MTIME)
        item.modification_date = date(facts.stx_mtime);
}

Error missing_facts(const Url& url)
{
    return item_error("Couldn't extract some resource values for url: \n", url, 66);
}

FileItem file_item(const ItemFolder& folder, std::string_view name, const struct statx& facts)
{
    FileItem item = named_item(folder, name, facts.stx_mode);
    set_facts(item, facts);
    return item;
}

FileItem named_item(const ItemFolder& folder, std::string_view name, std::uint32_t mode)
{
    FileItem item;
    item.url = folder.url.appending(name);
    set_name(item, name);
    set_mode(item, mode);
    item.level = folder.level;
    item.relative_path.reserve(folder.relative_path.size() + 1 + name.size());
    item.relative_path = folder.relative_path;
    if (!item.relative_path.empty())
        item.relative_path += '/';
    item.relative_path += name;
    item.custom_attributes.url =
        S_ISLNK(mode) ? item.url.resolving_symlinks() : folder.resolved_url.appending(name);
    return item;
}

} // namespace orv
