#include "CustomAttributes/RecordKey.hpp"

#include "files/LinkResolver.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Locations.hpp>

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

void check_is_defined(const Url& url)
{
    if (url.empty())
        throw Error("Given url points to an undefined path.").known_as(Cause::invalid);
}

} // namespace

RecordKey RecordKey::appending(std::string_view name) const
{
    return key_of_resolved(url_from_resolved_path(text_).appending(name));
}

RecordKey record_key(const Url& url)
{
    check_is_defined(url);
    return key_of_resolved(LinkResolver().resolve(url));
}

RecordKey record_key_of_entry(const Url& url)
{
    check_is_defined(url);
    return key_of_resolved(LinkResolver().resolve_folders(url));
}

std::vector<RecordKey> record_keys(const std::vector<Url>& urls)
{
    std::vector<RecordKey> keys;
    keys.reserve(urls.size());
    LinkResolver links;
    for (const Url& url : urls) {
        check_is_defined(url);
        keys.push_back(key_of_resolved(links.resolve(url)));
    }
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
