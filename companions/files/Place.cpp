#include "files/Place.hpp"

#include "files/FolderTrail.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <string_view>
#include <utility>

#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace orv {
namespace {

// With its closing NUL a path fills PATH_MAX bytes at most.
constexpr std::size_t max_path_bytes = PATH_MAX - 1;

enum class Links { followed, refused };

/// Kernels before 5.6 and some sandboxes lack the call.
bool lacks_call(int error)
{
    return error == ENOSYS || error == EPERM;
}

/// Opens every folder from the one above it.
FileDescriptor opened_step_by_step(int folder, const std::string& path)
{
    FileDescriptor way;
    for (std::size_t start = 0; start < path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string name = end == 0 ? "/" : path.substr(start, end - start);
        if (!name.empty()) {
            const int above = way ? way.get() : folder;
            FileDescriptor next(::openat(above, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
            struct stat facts {};
            if (next && ::fstat(next.get(), &facts) == 0 && !S_ISDIR(facts.st_mode)) {
                errno = S_ISLNK(facts.st_mode) ? ELOOP : ENOTDIR;
                return {};
            }
            if (!next)
                return next;
            way = std::move(next);
        }
        start = end + 1;
    }
    return way;
}

FileDescriptor opened_without_links(int folder, const std::string& path)
{
    open_how how{};
    how.flags = O_PATH | O_DIRECTORY | O_CLOEXEC;
    how.resolve = RESOLVE_NO_SYMLINKS;
    const auto way = ::syscall(SYS_openat2, folder, path.c_str(), &how, sizeof how);
    if (way < 0 && lacks_call(errno))
        return opened_step_by_step(folder, path);
    return FileDescriptor(static_cast<int>(way));
}

/// `url` is the location of the open folder.
FileDescriptor opened_way(int folder, const std::string& path, const Url& url, Links links)
{
    if (links == Links::refused) {
        FileDescriptor way = opened_without_links(folder, path);
        if (!way && errno == ELOOP)
            throw folder_replaced(url.path());
        if (!way)
            throw platform_error(errno, url);
        return way;
    }
    FileDescriptor way(::openat(folder, path.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!way)
        throw platform_error(errno, url);
    return way;
}

Place place_of(const Url& url, Links links)
{
    Place place{{}, url.path()};
    while (place.path.size() > max_path_bytes) {
        const std::size_t slash = place.path.rfind('/', max_path_bytes);
        if (slash == std::string::npos || slash == 0)
            throw platform_error(ENAMETOOLONG, url);
        place.opened = opened_way(place.folder(), place.path.substr(0, slash),
                                  url.deleting_last_path_component(), links);
        place.path.erase(0, place.path.find_first_not_of('/', slash));
    }
    return place;
}

Place in_folder(const Url& url, Links links)
{
    Place place = place_of(url, links);
    const std::size_t slash = place.path.rfind('/');
    if (slash == std::string::npos && place.opened)
        return place;
    const std::string folder = slash == std::string::npos ? "." : place.path.substr(0, slash + 1);
    place.opened = opened_way(place.folder(), folder, url.deleting_last_path_component(), links);
    place.path.erase(0, slash + 1);
    return place;
}

} // namespace

int Place::folder() const
{
    return opened ? opened.get() : AT_FDCWD;
}

Place Place::of(const Url& url)
{
    return place_of(url, Links::followed);
}

Place Place::in_opened_folder(const Url& url)
{
    return in_folder(url, Links::followed);
}

Place Place::in_resolved_folder(const Url& url)
{
    return in_folder(url, Links::refused);
}

Url resolving_folders(const Url& url)
{
    const std::string name = url.last_path_component();
    if (name.empty() || name == "/" || name == "." || name == "..")
        return url.resolving_symlinks();
    return url.deleting_last_path_component().resolving_symlinks().appending(name);
}

} // namespace orv
