#include "CustomAttributes/RecordKey.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Locations.hpp>

#include <unistd.h>

namespace orv {
namespace {

constexpr std::string_view shared_folder = "/Users/Shared/";

RecordKey key_of_resolved(const Url& url)
{
    const std::string& path = url.path();
    const std::string& home = home_dir().path();
    const std::size_t name_start = home == "/" ? 1 : home.size() + 1;
    if (path.starts_with(shared_folder) || !path.starts_with(home))
        return RecordKey(path);
    if (path == home)
        return RecordKey(std::string());
    return RecordKey(path[name_start - 1] == '/' ? path.substr(name_start) : path);
}

bool is_link(const Url& url)
{
    char first = 0;
    return ::readlink(url.path().c_str(), &first, 1) >= 0;
}

/// Resolves symbolic links: the links on the way to an item once per folder, and a folder by its
/// own name alone after its parent. So a walk resolves its items at the cost of one call per
/// folder, however deep.
class Resolver {
public:
    Url resolve(const Url& url)
    {
        check_is_defined(url);
        return is_link(url) ? url.resolving_symlinks() : resolve_entry(url);
    }

    Url resolve_entry(const Url& url)
    {
        check_is_defined(url);
        const std::string name = url.last_path_component();
        if (is_no_name(name))
            return url.resolving_symlinks();
        return resolve_folder(url.deleting_last_path_component()).appending(name);
    }

private:
    struct Folder {
        Url url;
        Url resolved;
    };

    static void check_is_defined(const Url& url)
    {
        if (url.empty())
            throw Error("Given url points to an undefined path.").known_as(Cause::invalid);
    }

    static bool is_no_name(const std::string& name)
    {
        return name == "/" || name == "." || name == "..";
    }

    const Url& resolve_folder(const Url& folder)
    {
        const Url above = folder.deleting_last_path_component();
        while (!way_.empty() && way_.back().url != folder && way_.back().url != above)
            way_.pop_back();
        if (way_.empty() || way_.back().url != folder)
            way_.push_back({folder, resolved(folder)});
        return way_.back().resolved;
    }

    /// The last folder on the way, if there is one, is the parent of `folder`.
    Url resolved(const Url& folder)
    {
        const std::string name = folder.last_path_component();
        if (way_.empty() || is_no_name(name) || is_link(folder))
            return folder.resolving_symlinks();
        return way_.back().resolved.appending(name);
    }

    std::vector<Folder> way_; // each lies in the one before it
};

} // namespace

RecordKey RecordKey::appending(std::string_view name) const
{
    return key_of_resolved(url_from_resolved_path(text_).appending(name));
}

RecordKey record_key(const Url& url)
{
    return key_of_resolved(Resolver().resolve(url));
}

RecordKey record_key_of_entry(const Url& url)
{
    return key_of_resolved(Resolver().resolve_entry(url));
}

std::vector<RecordKey> record_keys(const std::vector<Url>& urls)
{
    std::vector<RecordKey> keys;
    keys.reserve(urls.size());
    Resolver resolver;
    for (const Url& url : urls)
        keys.push_back(key_of_resolved(resolver.resolve(url)));
    return keys;
}

Url url_from_relative_path(std::string_view relative_path)
{
    return url_from_resolved_path(relative_path).resolving_symlinks();
}

Url url_from_resolved_path(std::string_view relative_path)
{
    return relative_path.starts_with('/') ? Url(relative_path)
                                          : home_dir().appending(relative_path);
}

} // namespace orv
