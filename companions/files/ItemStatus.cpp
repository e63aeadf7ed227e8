#include "files/ItemStatus.hpp"

#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <limits>

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
        // A closed folder on the way hides the item like a failed call does.
    }
    return std::nullopt;
}

Error missing_item(const Error& failure, const Url& url)
try {
    const Place place = Place::of(url);
    struct stat status {};
    if (::fstatat(place.folder(), place.name(), &status, AT_SYMLINK_NOFOLLOW) != 0 &&
        errno != ENOENT && errno != ENOTDIR)
        return failure.at(url).because_of(platform_error(errno, url));
    return failure.known_as(Cause::missing).at(url);
} catch (const Error& cause) {
    if (cause.code() == ENOENT || cause.code() == ENOTDIR)
        return failure.known_as(Cause::missing).at(url);
    return failure.at(url).because_of(cause);
}

struct statx item_facts(int folder, const char* name, const Url& url)
{
    struct statx facts {};
    if (::statx(folder, name, AT_EMPTY_PATH | AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                STATX_BASIC_STATS, &facts) != 0)
        throw platform_error(errno, url);
    return facts;
}

std::int64_t nanoseconds(const struct statx_timestamp& time)
{
    using Limits = std::numeric_limits<std::int64_t>;
    constexpr std::int64_t per_second = 1'000'000'000;
    constexpr std::int64_t last_second = Limits::max() / per_second - 1;
    if (time.tv_sec > last_second)
        return Limits::max();
    if (time.tv_sec < -last_second)
        return Limits::min();
    return time.tv_sec * per_second + time.tv_nsec;
}

bool is_directory(const Url& url)
{
    const auto status = item_status(url, 0);
    return status && S_ISDIR(status->st_mode);
}

} // namespace orv
