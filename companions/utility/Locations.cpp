#include "utility/InstalledItem.hpp"

#include <orv/utility/Fatal.hpp>
#include <orv/utility/Locations.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>

#include <pwd.h>
#include <unistd.h>

namespace orv {
namespace {

/// A location from the environment; a relative one counts as absent.
std::optional<Url> environment_url(const char* variable)
{
    const char* value = std::getenv(variable);
    if (!value || value[0] != '/')
        return std::nullopt;
    return Url(value);
}

Url home_in_user_database()
{
    std::array<char, 16'384> strings{};
    passwd entry{};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &entry, strings.data(), strings.size(), &found);
    if (!found || !found->pw_dir || found->pw_dir[0] != '/')
        fatal("The home folder is unknown: set $HOME, or home_dir in the locations.");
    return Url(found->pw_dir);
}

Url default_home()
{
    if (auto home = environment_url("HOME"))
        return *home;
    return home_in_user_database();
}

/// The text between the double quotes at the start of `value`, its escapes undone.
std::string unquoted(std::string_view value)
{
    std::string text;
    for (std::size_t i = 1; i < value.size() && value[i] != '"'; ++i) {
        if (value[i] == '\\' && i + 1 < value.size())
            ++i;
        text += value[i];
    }
    return text;
}

/// A folder in the form of the list of user folders: "$HOME/name" or "/name", in quotes.
std::optional<Url> user_folder(std::string_view value, const Url& home)
{
    constexpr std::string_view in_home = "\"$HOME";
    if (value.starts_with("\"/"))
        return Url(unquoted(value));
    if (!value.starts_with(in_home))
        return std::nullopt;
    value.remove_prefix(in_home.size() - 1);
    if (!value.substr(1).starts_with('/') && !value.substr(1).starts_with('"'))
        return std::nullopt;
    return home.appending(unquoted(value));
}

Url default_docs(const Url& home)
{
    constexpr std::string_view key = "XDG_DOCUMENTS_DIR=";
    const Url config = environment_url("XDG_CONFIG_HOME").value_or(home.appending(".config"));
    std::ifstream file(std::filesystem::path(config.appending("user-dirs.dirs")));
    std::optional<Url> docs;
    for (std::string line; std::getline(file, line);) {
        const std::string_view text =
            std::string_view(line).substr(std::min(line.find_first_not_of(" \t"), line.size()));
        if (text.starts_with(key))
            docs = user_folder(text.substr(key.size()), home);
    }
    return docs.value_or(home.appending("Documents"));
}

Url default_resources()
{
    return installed_item(ORV_RESOURCES);
}

Url default_helpers()
{
    return installed_item(ORV_HELPERS);
}

std::string default_app_id()
{
    const std::string_view name = program_invocation_short_name;
    return std::string(name.empty() ? "orv" : name);
}

/// Replaces an absent or empty location.
void fill(std::optional<Url>& location, auto default_location)
{
    if (!location || location->empty())
        location = default_location();
}

Locations completed(Locations given)
{
    if (given.app_id.empty())
        given.app_id = default_app_id();
    fill(given.home_dir, default_home);
    given.home_dir = given.home_dir->resolving_symlinks();

    const Url& home = *given.home_dir;
    fill(given.docs_dir, [&] { return default_docs(home); });
    const Url data = environment_url("XDG_DATA_HOME").value_or(home.appending(".local/share"));
    fill(given.app_support_dir, [&] { return data.appending(given.app_id); });
    fill(given.trash_dir, [&] { return data.appending("Trash"); });
    fill(given.volumes_dir, [] { return Url("/"); });
    fill(given.temp_dir, [&] {
        return environment_url("XDG_CACHE_HOME")
            .value_or(home.appending(".cache"))
            .appending(given.app_id)
            .appending("tmp");
    });
    fill(given.resource_dir, default_resources);
    fill(given.helper_dir, default_helpers);
    return given;
}

struct Configuration {
    std::mutex mutex;
    Locations given;
    bool is_settled = false;
};

// Never destroyed, like all objects made from it: operations may run while the process ends.
Configuration& configuration()
{
    static auto* the_configuration = new Configuration;
    return *the_configuration;
}

const Locations& settled()
{
    static const auto* locations = [] {
        const std::lock_guard lock(configuration().mutex);
        configuration().is_settled = true;
        return new Locations(completed(configuration().given));
    }();
    return *locations;
}

} // namespace

void configure_locations(Locations locations)
{
    const std::lock_guard lock(configuration().mutex);
    if (configuration().is_settled)
        fatal("The locations were configured after the library was first used.");
    configuration().given = std::move(locations);
}

const Url& home_dir()
{
    return *settled().home_dir;
}

const Url& docs_dir()
{
    return *settled().docs_dir;
}

const Url& app_support_dir()
{
    return *settled().app_support_dir;
}

const Url& temp_dir()
{
    return *settled().temp_dir;
}

const Url& resource_dir()
{
    return *settled().resource_dir;
}

const Url& helper_dir()
{
    return *settled().helper_dir;
}

const Url& trash_dir()
{
    return *settled().trash_dir;
}

const Url& volumes_dir()
{
    return *settled().volumes_dir;
}

} // namespace orv
