#include "Placement.hpp"

#include "SelfNames.hpp"

#include <orv/orv.hpp>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <set>
#include <system_error>

namespace orv::app {
namespace {

/// A destination with a slash at its end must be a folder, or become one.
void check_slash(const Url& source, const std::string& path)
{
    const auto& manager = OrvFileManager::singleton();
    const Url destination(path);
    if (!path.ends_with('/') || manager.is_directory(destination))
        return;
    if (manager.file_exists(destination) || !manager.is_directory(source))
        throw Error("Destination is not a folder.").at(destination);
}

Url destination_of(const Url& source, const std::string& path)
{
    const Url destination(path);
    if (path.empty() || !OrvFileManager::singleton().is_directory(destination))
        return destination;
    return destination.appending(source.last_path_component());
}

void check_path(const Url& source)
{
    if (source.empty())
        throw Error("Source url points to an undefined path.").at(source);
    if (source.standardized() == Url("/"))
        throw Error("Source url points to root directory.").at(source);
}

void check_names(const std::vector<Url>& sources)
{
    std::set<std::string> names;
    for (const Url& source : sources)
        if (!names.insert(source.last_path_component()).second)
            throw Error("Two of the items have this name; --on-conflict keep-both keeps both.")
                .at(source);
}

} // namespace

Placement placement_of(const std::vector<std::string>& sources, const std::string& destination,
                       bool may_share_names)
{
    std::vector<Url> items(sources.size());
    std::transform(sources.begin(), sources.end(), items.begin(), named_item);
    if (items.size() == 1) {
        check_slash(items.front(), destination);
        const Url target = destination_of(items.front(), destination);
        check_folder_of(target);
        return {items, target};
    }
    for (const Url& item : items)
        check_path(item);
    if (!may_share_names)
        check_names(items);
    return {items, destination};
}

bool is_other_case(const Url& item, const Url& destination)
{
    const std::string name = item.last_path_component();
    const Url folder = item.standardized().deleting_last_path_component();
    const auto is_spelled_like = [](const std::string& one, const std::string& other) {
        return ::strcasecmp(one.c_str(), other.c_str()) == 0;
    };
    if (name == destination.last_path_component() ||
        !is_spelled_like(name, destination.last_path_component()) ||
        destination.standardized().deleting_last_path_component() != folder)
        return false;
    std::error_code unknown;
    const std::filesystem::directory_iterator entries(folder, unknown);
    return std::count_if(begin(entries), end(entries), [&](const auto& entry) {
               return is_spelled_like(entry.path().filename(), name);
           }) == 1;
}

void check_folder_of(const Url& destination)
{
    if (destination.empty())
        return; // the request says so
    const Url folder = destination.standardized().deleting_last_path_component();
    std::error_code unknown;
    // A folder out of reach is left to the request, for its error.
    if (std::filesystem::status(folder, unknown).type() == std::filesystem::file_type::not_found)
        throw Error("Destination folder doesn't exist.").at(folder);
}

} // namespace orv::app
