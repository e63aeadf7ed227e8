#include "Operations/OpenedDestination.hpp"

#include "Operations/SnglCopyOpr.hpp"
#include "Tool/Tool.hpp"

namespace orv {
namespace {

Place open(const Url& url, bool is_folder)
{
    try {
        return Place::in_opened_folder(url);
    } catch (const Error& cause) {
        if (is_folder)
            throw single_copy_place("Couldn't create destination directory.").because_of(cause);
        throw move_error(cause);
    }
}

} // namespace

OpenedDestination::OpenedDestination(const Url& url, bool is_folder)
    : place_(open(url, is_folder)), item_{{place_.folder(), url.deleting_last_path_component()},
                                          place_.path}
{
}

} // namespace orv
