#include "utility/InstalledItem.hpp"

#include <array>
#include <optional>
#include <vector>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace orv {
namespace {

Url library_file()
{
    Dl_info info{};
    void* object = nullptr;
    const auto* code = reinterpret_cast<const void*>(&library_file);
    const bool is_found = ::dladdr1(code, &info, &object, RTLD_DL_LINKMAP) != 0 && object;
    const char* name = is_found ? static_cast<const link_map*>(object)->l_name : "";
    // The program itself has no name in the list of what is loaded.
    return Url(*name ? name : "/proc/self/exe").resolving_symlinks();
}

/// The prefix of an installed tree that has `library` in its place.
std::optional<Url> prefix_of(const Url& library)
{
    const std::string folder = library.deleting_last_path_component().path();
    for (const std::string_view place : {ORV_LIBDIR, ORV_BINDIR}) {
        const std::string end = "/" + std::string(place);
        if (folder.ends_with(end))
            return Url(folder.size() == end.size() ? "/"
                                                   : folder.substr(0, folder.size() - end.size()));
    }
    return std::nullopt;
}

bool exists(const Url& url)
{
    return ::access(url.path().c_str(), F_OK) == 0;
}

} // namespace

Url installed_item(std::string_view in_prefix, std::string_view in_tree)
{
    return installed_item(in_prefix, in_tree, library_file());
}

Url installed_item(std::string_view in_prefix, std::string_view in_tree, const Url& library)
{
    std::vector<Url> places;
    if (relative_path(library, ORV_BUILD_TREE))
        places.emplace_back(in_tree);
    else if (const auto prefix = prefix_of(library))
        places.push_back(prefix->appending(in_prefix));
    const Url configured = Url(ORV_PREFIX).appending(in_prefix);
    places.push_back(configured);
    places.emplace_back(in_tree);
    for (const Url& place : places)
        if (exists(place))
            return place;
    return configured;
}

} // namespace orv
