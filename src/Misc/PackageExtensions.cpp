#include "Misc/PackageExtensions.hpp"

#include "utility/Text.hpp"

#include <orv/Misc/PackageExtensions.hpp>

#include <mutex>
#include <shared_mutex>
#include <unordered_set>

namespace orv {
namespace {

struct PackageExtensions {
    std::shared_mutex mutex;
    std::unordered_set<std::string> folded{
        "app",  "appex",         "bundle", "component", "framework",   "kext", "mdimporter",
        "mpkg", "photoslibrary", "plugin", "prefpane",  "qlgenerator", "rtfd", "xpc"};
};

// Never destroyed: a listing may run while the process ends.
PackageExtensions& package_extensions()
{
    static auto* the_extensions = new PackageExtensions;
    return *the_extensions;
}

} // namespace

bool is_package_extension(std::string_view ext)
{
    if (ext.empty())
        return false;
    const std::string folded = fold_key(ext);
    const std::shared_lock lock(package_extensions().mutex);
    return package_extensions().folded.contains(folded);
}

void add_package_extensions(const std::vector<std::string>& extensions)
{
    const std::unique_lock lock(package_extensions().mutex);
    for (const std::string& ext : extensions)
        package_extensions().folded.insert(fold_key(ext));
}

} // namespace orv
