#include "utility/InstalledItem.hpp"

#include <orv/utility/InstalledHeaders.hpp>

#include <atomic>
#include <cstdlib>
#include <vector>

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

namespace orv {
namespace {

// Written by initialisers of the application, or of plug-ins on any of its threads.
constinit std::atomic<const char*> header_found{""};

Url code_file()
{
    Dl_info info{};
    void* object = nullptr;
    const auto* code = reinterpret_cast<const void*>(&code_file);
    const bool is_found = ::dladdr1(code, &info, &object, RTLD_DL_LINKMAP) != 0 && object;
    const char* name = is_found ? static_cast<const link_map*>(object)->l_name : "";
    // The program itself has no name in the list of loaded objects.
    return Url(*name ? name : "/proc/self/exe").resolving_symlinks();
}

/// A program with more rights than its user must not follow that user's environment, hence
/// `secure_getenv`.
std::optional<Url> prefix_in_environment()
{
    const char* value = ::secure_getenv("ORV_PREFIX");
    if (!value || value[0] != '/')
        return std::nullopt;
    return Url(value);
}

/// The prefix for which `in_prefix` is the end of the path of `item`.
std::optional<Url> prefix_around(const std::string& item, std::string_view in_prefix)
{
    const std::string end = "/" + std::string(in_prefix);
    if (!item.ends_with(end))
        return std::nullopt;
    return Url(item.size() == end.size() ? "/" : item.substr(0, item.size() - end.size()));
}

std::vector<Url> possible_prefixes(const InstallationClues& clues)
{
    if (clues.prefix_told)
        return {*clues.prefix_told};
    std::vector<Url> prefixes;
    const auto add = [&](const std::string& item, std::string_view in_prefix) {
        if (auto prefix = prefix_around(item, in_prefix))
            prefixes.push_back(*std::move(prefix));
    };
    const std::string folder = clues.code.deleting_last_path_component().path();
    add(folder, ORV_LIBDIR);
    add(folder, ORV_BINDIR);
    // A compiler with relative paths, or without its working folder, tells no place.
    if (clues.header.starts_with('/'))
        add(Url(clues.header).standardized().path(),
            ORV_INCLUDEDIR "/orv/utility/InstalledHeaders.hpp");
    prefixes.emplace_back("/usr/local");
    prefixes.emplace_back("/usr");
    return prefixes;
}

bool exists(const Url& url)
{
    return ::access(url.path().c_str(), F_OK) == 0;
}

} // namespace

Url installed_item(std::string_view in_prefix)
{
    return installed_item(in_prefix, {prefix_in_environment(), code_file(), header_found.load()});
}

Url installed_item(std::string_view in_prefix, const InstallationClues& clues)
{
    const std::vector<Url> prefixes = possible_prefixes(clues);
    for (const Url& prefix : prefixes)
        if (Url item = prefix.appending(in_prefix); exists(item))
            return item;
    return prefixes.front().appending(in_prefix);
}

internal::InstalledHeaders::InstalledHeaders(const char* header) noexcept
{
    // The library's own files have relative paths, and nothing to say.
    if (header[0] == '/')
        header_found = header;
}

} // namespace orv
