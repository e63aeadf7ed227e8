#include "files/MakeFolder.hpp"

#include "files/ItemStatus.hpp"
#include "files/NamingError.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <utility>
#include <vector>

#include <sys/stat.h>

namespace orv {
namespace {

constexpr mode_t all_rights = S_IRWXU | S_IRWXG | S_IRWXO;

Place place_in(const Url& url, FolderLinks links)
{
    return links == FolderLinks::followed ? Place::in_opened_folder(url)
                                          : Place::in_resolved_folder(url);
}

/// The item on the way to `folder` that is not a folder.
Url no_folder_above(const Url& folder)
{
    Url above = folder;
    while (!item_status(above, 0) && above.path() != "/")
        above = above.deleting_last_path_component();
    return above;
}

/// Returns the place of the uppermost missing folder on the way to `at`, and adds the names below
/// it to `below`, the lowest first.
Place uppermost_missing(const Url& at, FolderLinks links, std::vector<Url>& below)
{
    Url folder = at;
    for (;;) {
        try {
            return place_in(folder, links);
        } catch (const Error& error) {
            if (error.code() == ENOTDIR)
                throw platform_error(ENOTDIR, no_folder_above(folder));
            if (error.code() != ENOENT)
                throw;
        }
        below.push_back(folder);
        folder = folder.deleting_last_path_component();
    }
}

/// Creates the folder, and opens it for the next ones. Takes a folder that has appeared meanwhile,
/// but never a link.
FileDescriptor created_on_the_way(int above, const std::string& name, const Url& url)
{
    const int error = ::mkdirat(above, name.c_str(), all_rights) == 0 ? 0 : errno;
    if (error != 0 && error != EEXIST)
        throw naming_error(error, above, name, url);
    OpenFolder folder = open_folder(above, name.c_str());
    if (folder.error != 0)
        throw platform_error(error == 0 ? folder.error : error, url);
    return std::move(folder.descriptor);
}

} // namespace

void make_folder(const Url& at, bool also_create_intermediates, FolderLinks links)
{
    std::vector<Url> below;
    Place place =
        also_create_intermediates ? uppermost_missing(at, links, below) : place_in(at, links);
    Url url = below.empty() ? at : below.back().deleting_last_path_component();
    for (; !below.empty(); below.pop_back()) {
        place.opened = created_on_the_way(place.folder(), place.path, url);
        url = below.back();
        place.path = url.last_path_component();
    }
    if (::mkdirat(place.folder(), place.name(), all_rights) == 0)
        return;
    const int error = errno;
    if (error != EEXIST || !also_create_intermediates || !is_directory(at))
        throw naming_error(error, place.folder(), place.path, at);
}

} // namespace orv
