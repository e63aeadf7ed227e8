#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <climits>
#include <string_view>

#include <fcntl.h>

namespace orv {
namespace {

// With its closing NUL a path fills PATH_MAX bytes at most.
constexpr std::size_t max_path_bytes = PATH_MAX - 1;

FileDescriptor opened_way(int folder, const std::string& path, const Url& url)
{
    FileDescriptor way(::openat(folder, path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!way)
        throw platform_error(errno, url);
    return way;
}

} // namespace

int Place::folder() const
{
    return opened ? opened.get() : AT_FDCWD;
}

Place Place::of(const Url& url)
{
    Place place{{}, url.path()};
    while (place.path.size() > max_path_bytes) {
        const std::size_t slash = place.path.rfind('/', max_path_bytes);
        if (slash == std::string::npos || slash == 0)
            throw platform_error(ENAMETOOLONG, url);
        place.opened = opened_way(place.folder(), place.path.substr(0, slash), url);
        place.path.erase(0, place.path.find_first_not_of('/', slash));
    }
    return place;
}

Place Place::in_opened_folder(const Url& url)
{
    Place place = of(url);
    const std::size_t slash = place.path.rfind('/');
    if (slash == std::string::npos && place.opened)
        return place;
    const std::string folder = slash == std::string::npos ? "." : place.path.substr(0, slash + 1);
    place.opened = opened_way(place.folder(), folder, url);
    place.path.erase(0, slash + 1);
    return place;
}

} // namespace orv
