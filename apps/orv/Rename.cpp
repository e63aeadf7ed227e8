#include "Commands.hpp"
#include "Failure.hpp"
#include "SelfNames.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {

void run(const RenameCommand& command, const Surroundings& surroundings)
{
    const Url item(command.path);
    refuse_self_name(item, "renamed");
    const auto status = final_status<RenameOperation>(
        [&](auto closure) {
            return OrvFileManager::singleton().rename(item, command.new_name, std::move(closure));
        },
        show_activity("Renaming", surroundings.shows_progress));
    if (const auto* failed = std::get_if<status::error>(&status))
        throw told_of(item, failed->error);
    if (was_interrupted())
        throw Error("The item was renamed before the interrupt took effect.").at(item);
}

} // namespace orv::app
