#include "Operations/SameItem.hpp"

#include "files/Identity.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <optional>

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

} // namespace

bool are_same_item(const Url& one, const Url& other)
{
    if (one == other)
        return true;
    const auto first = identity_at(one);
    return first && first == identity_at(other);
}

bool lies_inside(const Url& item, const Url& folder)
{
    const auto sought = identity_at(folder);
    for (Url above = item; sought && above.path() != "/";) {
        above = above.deleting_last_path_component();
        if (identity_at(above) == sought)
            return true;
    }
    return false;
}

} // namespace orv
