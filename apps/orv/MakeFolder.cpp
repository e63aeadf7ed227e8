#include "Commands.hpp"
#include "Failure.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {
namespace {

Error error_of(const NewFolderOperation::CustomError& error, const Url& folder)
{
    return match(
        error, [&](const NewFolderOperation::other& other) { return told_of(folder, other.error); },
        [&](const NewFolderOperation::item_already_exists&) {
            return Error("An item already exists.").at(folder);
        });
}

} // namespace

void run(const MakeFolderCommand& command, const Surroundings&)
{
    auto& manager = OrvFileManager::singleton();
    const Url folder(command.path);
    if (command.parents && manager.is_directory(folder))
        return;
    const auto status = final_status<NewFolderOperation>([&](auto closure) {
        return manager.create_new_folder(folder, command.parents, std::move(closure));
    });
    match(
        status, [](const status::success&) {},
        [&](const NewFolderOperation::error& failed) { throw error_of(failed.error, folder); });
}

} // namespace orv::app
