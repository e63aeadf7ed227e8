#include "files/SetAside.hpp"

#include "files/Flush.hpp"
#include "files/NoReplaceRename.hpp"
#include "files/RemoveTree.hpp"

#include <orv/utility/Error.hpp>

#include <utility>

namespace orv {

SetAside::SetAside(const DestinationFolder& folder, std::string name)
    : folder_(folder), name_(std::move(name)), hidden_name_(folder, name_)
{
    const std::string& hidden = hidden_name_.text();
    if (const int code = NoReplaceRename()(folder_.fd, name_.c_str(), folder_.fd, hidden.c_str()))
        throw platform_error(code, folder_.url.appending(name_));
    is_aside_ = true;
}

SetAside::~SetAside()
{
    if (!is_aside_)
        return;
    const std::string& hidden = hidden_name_.text();
    if (NoReplaceRename()(folder_.fd, hidden.c_str(), folder_.fd, name_.c_str()) != 0)
        hidden_name_.leave_behind();
}

void SetAside::discard() noexcept
{
    is_aside_ = false;
    try {
        // The replacement has its name on the disk before the old item goes from there.
        flush(hidden_name_.folder().fd, folder_.url);
        remove_tree(folder_.fd, hidden_name_.text().c_str(), folder_.url.appending(name_));
    } catch (const std::exception&) {
        hidden_name_.leave_behind();
    }
}

} // namespace orv
