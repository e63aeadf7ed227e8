#include "Commands.hpp"
#include "Failure.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <cerrno>

#include <fmt/format.h>
#include <unistd.h>

namespace orv::app {
namespace {

void check_resources()
{
    if (!OrvFileManager::singleton().is_directory(resource_dir()))
        throw Error("The example files were not installed together with the library.")
            .at(resource_dir());
}

/// Makes sure of the folder first: otherwise every single step would fail.
void make_folder(const std::string& path, const Surroundings& surroundings)
{
    run(MakeFolderCommand{.path = path, .parents = true}, surroundings);
    const Url folder(path);
    if (::access(folder.path().c_str(), W_OK | X_OK) != 0)
        throw Error("Nothing can be created in the folder.")
            .because_of(platform_error(errno, folder));
}

/// A failed step has a line of its own only if every step has one.
void check_all_are_there(const Url& folder)
{
    const auto missing = OrvFileBrowser::missing_example_files(folder);
    if (!missing.empty())
        throw Error(fmt::format("Not all example files could be created; {}.",
                                missing.size() == 1
                                    ? "one is missing"
                                    : fmt::format("{} are missing, first", missing.size())))
            .at(missing.front());
}

} // namespace

void run(const ExamplesCommand& command, const Surroundings& surroundings)
{
    check_resources();
    make_folder(command.folder, surroundings);
    bool is_done = false;
    OrvFileBrowser::create_example_files(command.folder, !surroundings.is_quiet,
                                         [&] { is_done = true; });
    drive_until([&] { return is_done; }, {});
    check_all_are_there(command.folder);
}

} // namespace orv::app
