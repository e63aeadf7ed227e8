#include "SelfNames.hpp"

#include <orv/utility/Error.hpp>

namespace orv::app {

bool has_self_name(const Url& url)
{
    const std::string name = url.last_path_component();
    return name == "." || name == "..";
}

Url named_item(const std::string& path)
{
    const Url url(path);
    return has_self_name(url) ? url.resolving_symlinks() : url;
}

void refuse_self_name(const Url& url, std::string_view done)
{
    if (has_self_name(url))
        throw Error("An item can't be " + std::string(done) + " as \".\" or \"..\".").at(url);
}

} // namespace orv::app
