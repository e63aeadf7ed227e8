#include "Operations/TakenName.hpp"

#include "Operations/SameItem.hpp"
#include "Tool/Tool.hpp"
#include "utility/FileNames.hpp"

namespace orv {

Url free_url(const Url& taken, const Error& none_is_free)
{
    auto url = generate_non_conflicting_file_url(taken, {});
    if (!url)
        throw none_is_free.at(taken);
    return *url;
}

void remove_replaced(const Url& destination, const Error& failure)
{
    try {
        Tool::remove_item(destination);
    } catch (const Error& cause) {
        throw failure.because_of(cause);
    }
}

void make_room(const Url& source, const Url& destination, const ErrorPlace& place,
               std::source_location where)
{
    if (lies_inside(source, destination))
        throw place("Source path conflicts with destination path.", where).at(source);
    remove_replaced(destination,
                    place("Destination item couldn't be deleted while being overwritten.", where));
}

} // namespace orv
