#include "files/ItemStatus.hpp"

#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <fcntl.h>

namespace orv {

std::optional<struct stat> item_status(const Url& url, int flags)
{
    try {
        const Place place = Place::of(url);
        struct stat status {};
        if (::fstatat(place.folder(), place.name(), &status, flags) == 0)
            return status;
    } catch (const Error&) {
        // A folder on the way that cannot be opened hides the item like a failed call does.
    }
    return std::nullopt;
}

bool is_directory(const Url& url)
{
    const auto status = item_status(url, 0);
    return status && S_ISDIR(status->st_mode);
}

} // namespace orv
