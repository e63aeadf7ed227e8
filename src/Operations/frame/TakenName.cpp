#include "Operations/frame/TakenName.hpp"

#include "Tool/Tool.hpp"
#include "files/FreeSpace.hpp"
#include "files/Place.hpp"
#include "files/Removability.hpp"
#include "files/RemoveTree.hpp"
#include "files/SameItem.hpp"

#include <cerrno>
#include <string>

#include <fcntl.h>
#include <sys/stat.h>

namespace orv {

Url free_url(const Url& taken, const Error& none_is_free)
{
    auto url = generate_non_conflicting_file_url(taken, {});
    if (!url)
        throw none_is_free.known_as(Cause::taken).at(taken);
    return *url;
}

Url FreeUrls::next(const Url& taken, const Error& none_is_free)
try {
    const Place place = Place::in_opened_folder(taken);
    const auto is_taken = [&](const std::string& name) {
        struct stat status {};
        if (::fstatat(place.folder(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0)
            return true;
        if (errno != ENOENT)
            throw platform_error(errno, taken);
        return false;
    };
    if (!is_taken(place.path))
        return taken;
    return taken.deleting_last_path_component().appending(
        names_.next(place.path, Tool::is_directory(taken), is_taken));
} catch (const Error&) {
    throw none_is_free.at(taken);
}

void check_can_be_replaced(const Url& destination, const Error& failure)
{
    try {
        const Place place = Place::in_opened_folder(destination);
        check_can_be_removed(place.folder(), place.name(), destination);
    } catch (const Error& cause) {
        if (cause.code() != ENOENT) // it went meanwhile
            throw failure.because_of(cause);
    }
}

void check_can_be_replaced(const Url& source, const Url& destination, const ErrorPlace& place,
                           std::source_location where)
{
    if (Tool::is_directory(destination) && lies_inside(source, destination))
        throw place("Source path conflicts with destination path.", where)
            .known_as(Cause::invalid)
            .at(source);
    check_can_be_replaced(destination, not_replaced(place, where));
}

bool only_fits_alone(const Url& destination, std::int64_t bytes, FunctionRef<void()> poll)
{
    const auto free = free_bytes(destination.deleting_last_path_component());
    return free && bytes > *free && bytes - *free <= allocated_bytes(destination, true, poll);
}

bool only_fits_alone(const Url& source, const Url& destination, std::int64_t size,
                     FunctionRef<void()> poll)
{
    const Url folder = destination.deleting_last_path_component();
    const auto free = free_bytes(folder);
    if (!free || size <= *free)
        return false;
    if (shares_blocks(folder) && !are_on_two_devices(source, folder))
        return false;
    // A sparse file needs less than its size.
    return only_fits_alone(destination, allocated_bytes(source, false, poll), poll);
}

void remove_replaced(const Url& destination, const Error& failure)
{
    try {
        const Place place = Place::in_resolved_folder(destination);
        remove_tree(place.folder(), place.name(), destination);
    } catch (const Error& cause) {
        throw failure.because_of(cause);
    }
}

Error not_replaced(const ErrorPlace& place, std::source_location where)
{
    return place("Destination item couldn't be deleted while being overwritten.", where);
}

} // namespace orv
