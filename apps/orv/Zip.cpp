#include "Commands.hpp"
#include "Failure.hpp"
#include "Password.hpp"
#include "Placement.hpp"
#include "ProgressBar.hpp"
#include "SelfNames.hpp"
#include "Text.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

namespace orv::app {
namespace {

/// An archive never replaces a folder, whatever the option for conflicts.
void check_archive(const ZipCommand& command)
{
    const Url archive(command.archive);
    if (command.archive.ends_with('/') || OrvFileManager::singleton().is_directory(archive))
        throw Error("An archive can't take the place of a folder.").at(archive);
    check_folder_of(archive);
}

void check_item(const Url& item, const Url& archive)
{
    if (!OrvFileManager::singleton().file_exists(item))
        throw Error("Source item doesn't exist.").at(item);
    if (relative_path(archive.resolving_symlinks(), item.resolving_symlinks()))
        throw Error("An archive can't lie in what it packs.").at(archive);
}

std::vector<Url> items_of(const ZipCommand& command)
{
    std::vector<Url> items;
    for (const std::string& path : command.items) {
        items.push_back(named_item(path));
        check_item(items.back(), Url(command.archive));
    }
    return items;
}

} // namespace

void run(const ZipCommand& command, const Surroundings& surroundings)
{
    check_archive(command);
    const std::vector<Url> items = items_of(command);
    const Url archive(command.archive);
    const std::optional<std::string> password = password_from(
        command.password, "New password for " + printable(archive.last_path_component()), true);

    ProgressBar bar(surroundings.shows_progress);
    bar.start();
    const auto start = [&](auto closure) {
        return OrvFileManager::singleton().zip(
            items, archive, password, command.on_conflict,
            [&bar, closure](const ZipOperation::Status& status) {
                if (const auto* s = std::get_if<status::progress<GeneralProgress>>(&status))
                    bar.set_progress(
                        {s->record.current_item.last_path_component(), false, s->record.value});
                closure(status);
            });
    };
    const auto status = final_status<ZipOperation>(start, {.tick = bar.ticker()});
    if (const auto* failed = std::get_if<status::error>(&status))
        throw told_of(archive, failed->error);
    if (std::holds_alternative<status::cancelled>(status))
        throw Interrupted();
    bar.finish();
}

} // namespace orv::app
