#include "Commands.hpp"
#include "Conflicts.hpp"
#include "Failure.hpp"
#include "Placement.hpp"
#include "SelfNames.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <algorithm>
#include <filesystem>

#include <fmt/format.h>

namespace orv::app {
namespace {

/// The engine moves what a link points to, which is not what a person expects.
void refuse_link(const Url& source)
{
    std::error_code unknown;
    if (std::filesystem::is_symlink(std::filesystem::symlink_status(source, unknown)))
        throw Error("A symbolic link can't be moved, only the item that it points to.").at(source);
}

Placement checked_placement(const MoveCommand& command)
{
    for (const std::string& path : command.sources) {
        refuse_self_name(path, "moved");
        refuse_link(path);
    }
    Placement placement = placement_of(command.sources, command.destination,
                                       command.on_conflict == ConflictBehaviour::keep_both);
    if (placement.is_of_one() && is_other_case(placement.sources.front(), command.destination))
        placement.destination = command.destination;
    return placement;
}

std::string activity_of(const Placement& placement)
{
    if (placement.is_of_one())
        return "Moving " + placement.sources.front().last_path_component();
    return fmt::format("Moving {} items", placement.sources.size());
}

std::shared_ptr<OrvOperation> start(const Placement& placement,
                                    MoveOperation::StatusClosure closure)
{
    auto& manager = OrvFileManager::singleton();
    if (placement.is_of_one())
        return manager.move(placement.sources.front(), placement.destination, std::move(closure));
    return manager.move(placement.sources, placement.destination, std::move(closure));
}

std::size_t count_existing(const std::vector<Url>& items)
{
    return static_cast<std::size_t>(std::count_if(items.begin(), items.end(), [](const Url& item) {
        return OrvFileManager::singleton().file_exists(item);
    }));
}

/// A move that was cancelled while an item was on its way has moved that item all the same.
void throw_if_moved(const Placement& placement, std::size_t moved)
{
    if (moved == 0 || !was_interrupted())
        return;
    if (placement.is_of_one())
        throw Error("The item was moved before the interrupt took effect.")
            .at(placement.sources.front());
    throw Error(fmt::format("{} of {} items were moved before the interrupt took effect.", moved,
                            placement.sources.size()))
        .at(placement.destination);
}

MoveOperation::Status move(const Placement& placement, Conflicts& conflicts, bool shows_progress)
{
    Meanwhile meanwhile = show_activity(activity_of(placement), shows_progress);
    meanwhile.question = &conflicts.question();
    const auto start_move = [&](auto closure) {
        return start(placement, [&conflicts, closure](const MoveOperation::Status& status) {
            if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
                conflicts.settle(conflict->resolver);
            closure(status);
        });
    };
    return final_status<MoveOperation>(start_move, meanwhile);
}

} // namespace

void run(const MoveCommand& command, const Surroundings& surroundings)
{
    const Placement placement = checked_placement(command);
    const std::size_t existing = count_existing(placement.sources);
    Conflicts conflicts(command.on_conflict, surroundings.can_ask);
    const auto status = move(placement, conflicts, surroundings.shows_progress);
    if (const auto* failed = std::get_if<status::error>(&status))
        throw told_of(placement.sources.front(), failed->error);
    if (std::holds_alternative<status::success>(status))
        return;
    throw_if_moved(placement, existing - count_existing(placement.sources));
    conflicts.throw_cancelled();
}

} // namespace orv::app
