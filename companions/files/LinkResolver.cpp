#include "files/LinkResolver.hpp"

#include <string>

#include <unistd.h>

namespace orv {
namespace {

bool is_link(const Url& url)
{
    char first = 0;
    return ::readlink(url.path().c_str(), &first, 1) >= 0;
}

bool names_no_entry(const std::string& name)
{
    return name.empty() || name == "/" || name == "." || name == "..";
}

} // namespace

Url LinkResolver::resolve(const Url& url)
{
    return is_link(url) ? url.resolving_symlinks() : resolve_folders(url);
}

Url LinkResolver::resolve_folders(const Url& url)
{
    const std::string name = url.last_path_component();
    if (names_no_entry(name))
        return url.resolving_symlinks();
    return resolve_folder(url.deleting_last_path_component()).appending(name);
}

const Url& LinkResolver::resolve_folder(const Url& folder)
{
    const Url above = folder.deleting_last_path_component();
    while (!way_.empty() && way_.back().url != folder && way_.back().url != above)
        way_.pop_back();
    if (way_.empty() || way_.back().url != folder)
        way_.push_back({folder, resolved(folder)});
    return way_.back().resolved;
}

/// The last folder on the way, if there is one, is the parent of `folder`: one question more for
/// each folder, however deep it lies.
Url LinkResolver::resolved(const Url& folder) const
{
    const std::string name = folder.last_path_component();
    if (way_.empty() || names_no_entry(name) || is_link(folder))
        return folder.resolving_symlinks();
    return way_.back().resolved.appending(name);
}

} // namespace orv
