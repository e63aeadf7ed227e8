#include "files/MakeFolder.hpp"

#include "files/ItemStatus.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace orv {
namespace {

/// Creates the folder and returns 0, or the errno.
int create_folder(const Url& url)
try {
    const Place place = Place::of(url);
    return ::mkdirat(place.folder(), place.name(), S_IRWXU | S_IRWXG | S_IRWXO) == 0 ? 0 : errno;
} catch (const Error& error) {
    return error.code().value_or(EIO);
}

} // namespace

void make_folder(const Url& at, bool also_create_intermediates)
{
    std::vector<Url> below;
    Url folder = at;
    int error = create_folder(folder);
    while (also_create_intermediates && error == ENOENT) {
        below.push_back(folder);
        folder = folder.deleting_last_path_component();
        if (folder == below.back())
            throw platform_error(error, folder);
        error = create_folder(folder);
    }
    for (;;) {
        if (error != 0 && !(also_create_intermediates && is_directory(folder)))
            throw platform_error(error, folder);
        if (below.empty())
            return;
        folder = std::move(below.back());
        below.pop_back();
        error = create_folder(folder);
    }
}

} // namespace orv
