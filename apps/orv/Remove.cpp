#include "Commands.hpp"
#include "Failure.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {
namespace {

/// The folder itself or the one around it: whoever deletes by these names loses more than they see.
bool is_relative_to_itself(const Url& url)
{
    const std::string name = url.last_path_component();
    return name == "." || name == "..";
}

std::vector<Url> urls_to_delete(const RemoveCommand& command)
{
    std::vector<Url> urls;
    for (const std::string& path : command.paths) {
        urls.emplace_back(path);
        if (is_relative_to_itself(urls.back()))
            throw Error("An item can't be deleted as \".\" or \"..\".").at(urls.back());
    }
    return urls;
}

} // namespace

void run(const RemoveCommand& command, const Surroundings& surroundings)
{
    const std::vector<Url> urls = urls_to_delete(command);
    const auto status = final_status<MultiDeleteOperation>(
        [&](auto closure) {
            return OrvFileManager::singleton().delete_items(urls, std::move(closure));
        },
        show_activity("Deleting", surroundings.shows_progress));
    match(
        status, [](const status::success&) {},
        [&](const status::error& failed) { throw told_of(urls.front(), failed.error); });
}

} // namespace orv::app
