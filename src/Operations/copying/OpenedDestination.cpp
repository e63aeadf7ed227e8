#include "Operations/copying/OpenedDestination.hpp"

#include "Operations/SnglCopyOpr.hpp"
#include "Operations/frame/TakenName.hpp"
#include "Tool/Tool.hpp"
#include "Tool/ToolErrors.hpp"

namespace orv {
namespace {

Error not_opened(const Error& cause, bool is_folder)
{
    return is_folder ? single_copy_place("Couldn't create destination directory.").because_of(cause)
                     : move_error(cause);
}

} // namespace

OpenedDestination::OpenedDestination(const Url& url, bool is_folder, bool replaces)
try {
    if (replaces) {
        hidden_.emplace(url);
        item_ = hidden_->item();
    } else {
        place_ = Place::in_resolved_folder(url);
        item_ = {{place_->folder(), url.deleting_last_path_component()}, place_->path};
    }
} catch (const Error& cause) {
    throw not_opened(cause, is_folder);
}

void OpenedDestination::publish()
{
    if (!hidden_)
        return;
    try {
        hidden_->publish_replacing();
    } catch (const Error& cause) {
        throw not_replaced(single_copy_place).because_of(cause);
    }
}

} // namespace orv
