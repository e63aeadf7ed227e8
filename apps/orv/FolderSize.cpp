#include "Commands.hpp"
#include "Failure.hpp"
#include "HumanText.hpp"
#include "LargeOutput.hpp"
#include "Waiting.hpp"

#include <orv/orv.hpp>

#include <fmt/format.h>

namespace orv::app {
namespace {

std::int64_t measure(const Url& folder, const Surroundings& surroundings)
{
    const auto status = final_status<FolderSizeOperation>(
        [&](auto closure) {
            return OrvFileManager::singleton().calculate_folder_size(folder, std::move(closure));
        },
        show_activity("Measuring", surroundings.shows_progress));
    return match(
        status, [](const FolderSizeOperation::success& found) { return found.folder_size; },
        [&](const status::error& failed) -> std::int64_t { throw told_of(folder, failed.error); },
        [](const status::cancelled&) -> std::int64_t { throw Interrupted(); });
}

} // namespace

void run(const FolderSizeCommand& command, const Surroundings& surroundings)
{
    const std::int64_t bytes = measure(command.folder, surroundings);
    LargeOutput output;
    output.write(fmt::format("{} bytes ({})\n", bytes, human_size(static_cast<double>(bytes))));
    output.finish();
}

} // namespace orv::app
