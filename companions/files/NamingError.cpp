#include "files/NamingError.hpp"

#include "files/Flush.hpp"

#include <algorithm>
#include <cerrno>
#include <string_view>

namespace orv {
namespace {

/// True for a name FAT, exFAT and NTFS refuse.
bool is_refused_by_fat(std::string_view name)
{
    const auto is_refused = [](char character) {
        return static_cast<unsigned char>(character) < 0x20 ||
               std::string_view("\"*:<>?|\\").find(character) != std::string_view::npos;
    };
    return name.ends_with('.') || name.ends_with(' ') || std::ranges::any_of(name, is_refused);
}

} // namespace

/// FAT answers EINVAL. FUSE volumes also answer ENOENT, and that means a missing folder elsewhere.
bool is_name_refused(int code, int folder, const std::string& name)
{
    if (code == EILSEQ)
        return true;
    const bool may_mean_name = code == EINVAL || (code == ENOENT && !reports_faults(folder));
    return may_mean_name && is_refused_by_fat(name);
}

Error naming_error(int code, int folder, const std::string& name, const Url& url)
{
    if (is_name_refused(code, folder, name))
        return Error("This volume cannot hold an item of this name.").at(url);
    return platform_error(code, url);
}

} // namespace orv
