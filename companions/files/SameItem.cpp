#include "files/SameItem.hpp"

#include "files/FolderReader.hpp"
#include "files/Identity.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"
#include "utility/Text.hpp"

#include <orv/utility/Error.hpp>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <fcntl.h>

namespace orv {
namespace {

std::optional<Identity> identity_at(const Url& url)
{
    try {
        const Place place = Place::of(url);
        struct statx facts {};
        if (::statx(place.folder(), place.name(), AT_SYMLINK_NOFOLLOW, STATX_INO, &facts) != 0)
            return std::nullopt;
        return identity_of(facts);
    } catch (const Error&) {
        return std::nullopt;
    }
}

/// How many entries of the folder have the name in one spelling or another.
int entries_spelled_like(const Url& folder, std::string_view name)
{
    const Place place = Place::of(folder);
    const OpenFolder opened = open_folder_following_links(place.folder(), place.name());
    if (opened.error != 0)
        throw platform_error(opened.error, folder);
    int entries = 0;
    FolderReader reader(std::make_unique<std::byte[]>(FolderReader::buffer_bytes));
    while (const auto entry = reader.next(opened.descriptor.get()))
        entries += compare_case_insensitively(entry->name, name) == 0 ? 1 : 0;
    return entries;
}

/// True if the paths differ in spelling alone, on a volume with one entry for both. Inode numbers
/// do not tell: FUSE volumes make one up for every spelling.
bool are_spellings(const Url& one, const Url& other)
{
    if (one == other)
        return true;
    const std::string name = one.last_path_component();
    const std::string other_name = other.last_path_component();
    if (compare_case_insensitively(name, other_name) != 0)
        return false;
    const Url folder = one.deleting_last_path_component();
    return are_spellings(folder, other.deleting_last_path_component()) &&
           (name == other_name || entries_spelled_like(folder, name) == 1);
}

bool is_same(const std::optional<Identity>& sought, const Url& item, const Url& sought_item)
{
    const auto found = identity_at(item);
    if (!sought || !found)
        return false;
    return found == sought ||
           (is_one_device(*found, *sought) && is_other_spelling(item, sought_item));
}

} // namespace

bool are_same_item(const Url& one, const Url& other)
{
    if (one == other)
        return true;
    return is_same(identity_at(one), other, one);
}

bool is_other_spelling(const Url& one, const Url& other)
try {
    return one != other && are_spellings(one, other);
} catch (const Error&) {
    return false; // an unreadable folder tells nothing
}

bool are_on_two_devices(const Url& one, const Url& other)
{
    const auto first = identity_at(one);
    const auto second = identity_at(other);
    return first && second && !is_one_device(*first, *second);
}

bool lies_inside(const Url& item, const Url& folder)
{
    const auto sought = identity_at(folder);
    for (Url above = item; sought && above.path() != "/";) {
        above = above.deleting_last_path_component();
        if (is_same(sought, above, folder))
            return true;
    }
    return false;
}

} // namespace orv
