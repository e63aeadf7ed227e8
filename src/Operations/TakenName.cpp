#include "Operations/TakenName.hpp"

#include "Operations/FolderSizeOpr.hpp"
#include "Tool/Tool.hpp"
#include "files/FreeName.hpp"
#include "files/FreeSpace.hpp"
#include "files/Place.hpp"
#include "files/Removability.hpp"
#include "files/SameItem.hpp"

#include <cerrno>

namespace orv {

Url free_url(const Url& taken, const Error& none_is_free)
{
    auto url = generate_non_conflicting_file_url(taken, {});
    if (!url)
        throw none_is_free.at(taken);
    return *url;
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
    if (lies_inside(source, destination))
        throw place("Source path conflicts with destination path.", where).at(source);
    check_can_be_replaced(destination, not_replaced(place, where));
}

bool makes_room_first(const Url& destination, std::int64_t bytes, const Error& failure)
{
    const auto free = free_bytes(destination.deleting_last_path_component());
    if (!free || bytes <= *free)
        return false;
    try {
        if (bytes - *free > item_size(destination, [] {}))
            return false; // it would be gone in vain
        Tool::remove_item(destination);
        return true;
    } catch (const Error& cause) {
        throw failure.because_of(cause);
    }
}

Error not_replaced(const ErrorPlace& place, std::source_location where)
{
    return place("Destination item couldn't be deleted while being overwritten.", where);
}

} // namespace orv
