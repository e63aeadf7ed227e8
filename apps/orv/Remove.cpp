#include "Commands.hpp"
#include "Failure.hpp"
#include "SelfNames.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {
namespace {

std::vector<Url> urls_to_delete(const RemoveCommand& command)
{
    std::vector<Url> urls;
    for (const std::string& path : command.paths) {
        urls.emplace_back(path);
        refuse_self_name(urls.back(), "deleted");
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
