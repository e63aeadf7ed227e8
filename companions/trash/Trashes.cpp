#include "trash/Trashes.hpp"

#include "files/MountPoints.hpp"
#include "files/Place.hpp"
#include "files/SameItem.hpp"

#include <orv/utility/Locations.hpp>

#include <algorithm>
#include <string>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

TrashPlace home_place()
{
    static const auto* place = [] {
        const Url url = resolving_folders(trash_dir());
        return new TrashPlace{TrashPlace::Kind::home, url, url.deleting_last_path_component()};
    }();
    return *place;
}

TrashPlace shared_place(const Url& mount_point)
{
    return {TrashPlace::Kind::shared,
            mount_point.appending(".Trash").appending(std::to_string(::getuid())), mount_point};
}

TrashPlace user_place(const Url& mount_point)
{
    return {TrashPlace::Kind::user, mount_point.appending(".Trash-" + std::to_string(::getuid())),
            mount_point};
}

/// The nearest existing folder above `url`.
Url existing_folder_above(const Url& url)
{
    Url folder = url.deleting_last_path_component();
    struct stat facts {};
    while (folder.path() != "/" && ::stat(folder.path().c_str(), &facts) != 0)
        folder = folder.deleting_last_path_component();
    return folder;
}

} // namespace

TrashFolder& Trashes::for_item(const Url& url)
{
    const Url folder = url.deleting_last_path_component();
    if (const auto known = by_folder_.find(folder); known != by_folder_.end())
        return *known->second;
    const TrashPlace home = home_place();
    TrashFolder& trash = are_on_two_devices(folder, existing_folder_above(home.url))
                             ? on_volume_of(url)
                             : made(home);
    by_folder_[folder] = &trash;
    return trash;
}

TrashFolder& Trashes::on_volume_of(const Url& url)
{
    const Url folder = url.deleting_last_path_component();
    const Url mount_point = mount_point_of(folder);
    TrashFolder* trash = shared_on(mount_point);
    if (!trash)
        trash = &users_on(mount_point);
    by_folder_[folder] = trash;
    return *trash;
}

TrashFolder* Trashes::shared_on(const Url& mount_point)
try {
    const TrashPlace place = shared_place(mount_point);
    struct stat facts {};
    const bool is_there =
        ::lstat(place.url.deleting_last_path_component().path().c_str(), &facts) == 0;
    return is_there ? &made(place) : nullptr;
} catch (const Error& error) {
    unused_.push_back(error);
    return nullptr;
}

TrashFolder& Trashes::users_on(const Url& mount_point)
try {
    return made(user_place(mount_point));
} catch (const Error& error) {
    if (error.kind() != Error::Kind::platform)
        throw;
    throw Error("The volume has no trash, and none can be made there.")
        .at(mount_point)
        .because_of(error);
}

TrashFolder& Trashes::holding(const Url& url)
{
    const Url trash = url.deleting_last_path_component().deleting_last_path_component();
    if (const auto known = open_.find(trash); known != open_.end())
        return *known->second;
    const Url mount_point = mount_point_of(existing_folder_above(url));
    for (const TrashPlace& place :
         {home_place(), shared_place(mount_point), user_place(mount_point)})
        if (place.url == trash &&
            url == trash.appending("files").appending(url.last_path_component()))
            if (auto opened = TrashFolder::opened(place))
                return *(open_[trash] = std::move(opened));
    throw Error("The item isn't in a trash folder.").at(url);
}

std::unique_ptr<TrashFolder> Trashes::try_to_open(const TrashPlace& place)
try {
    return TrashFolder::opened(place);
} catch (const Error& error) {
    // A volume closed to this user has no trash of theirs.
    const bool is_closed =
        place.kind != TrashPlace::Kind::home && ::access(place.base.path().c_str(), X_OK) != 0;
    if (error.kind() != Error::Kind::platform || !is_closed)
        unused_.push_back(error);
    return nullptr;
}

void Trashes::for_each(FunctionRef<void(TrashFolder&)> visit)
{
    std::vector<TrashPlace> places{home_place()};
    const Url volumes = volumes_dir().resolving_symlinks();
    for (const Url& mount_point : mount_points()) {
        if (!relative_path(mount_point, volumes))
            continue;
        places.push_back(shared_place(mount_point));
        places.push_back(user_place(mount_point));
    }
    std::vector<Identity> visited; // a volume may have several mounts
    for (const TrashPlace& place : places) {
        const auto trash = try_to_open(place);
        if (!trash || std::ranges::find(visited, trash->identity()) != visited.end())
            continue;
        visited.push_back(trash->identity());
        visit(*trash);
    }
}

TrashFolder& Trashes::made(const TrashPlace& place)
{
    auto& kept = open_[place.url];
    if (!kept)
        kept = TrashFolder::made(place);
    return *kept;
}

} // namespace orv
