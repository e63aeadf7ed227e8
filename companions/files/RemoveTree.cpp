#include "files/RemoveTree.hpp"

#include "files/FolderTrail.hpp"
#include "files/ItemMetadata.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

// Some file systems leave entries out after removals during the reading, and another program may
// add some: so a folder that is not empty then is read again, but not for ever.
constexpr int max_readings_again = 1000;

/// Removes any item but a folder and returns 0, or the errno; EISDIR for a folder.
int unlink_item(int folder, const char* name)
{
    return ::unlinkat(folder, name, 0) == 0 ? 0 : errno;
}

OpenFolder open_to_empty(int parent, const char* name, Access access)
{
    OpenFolder folder = open_folder(parent, name);
    const bool is_closed = folder.error == EACCES ||
                           (folder.error == 0 && (folder.facts.stx_mode & S_IRWXU) != S_IRWXU);
    if (access == Access::as_it_is || !is_closed)
        return folder;
    keep_mode_of_item(parent, name, S_IFDIR | S_IRWXU);
    return open_folder(parent, name);
}

struct Removal {
    Access access;
    FunctionRef<void()> removed; ///< called after each item
};

/// Empties one folder.
class Emptying {
public:
    Emptying(OpenFolder top, const std::string& path, const Removal& removal)
        : trail_(std::move(top), path, FolderStack::default_max_open), removal_(removal)
    {
    }

    void run()
    {
        for (;;) {
            while (const auto entry = trail_.next_entry())
                remove(*entry);
            if (trail_.read_error() != 0)
                throw platform_error(trail_.read_error(), trail_.path());
            if (trail_.depth() == 0)
                return;
            remove_emptied_folder();
        }
    }

private:
    void remove(const FolderReader::Entry& entry)
    {
        if (entry.type == DT_DIR)
            return enter(entry.name);
        const int error = unlink_item(trail_.folder(), entry.name);
        if (error == 0)
            removal_.removed();
        else if (error == EISDIR)
            enter(entry.name);
        else if (error != ENOENT)
            throw platform_error(error, trail_.path_of(entry.name));
    }

    void enter(const char* name)
    {
        OpenFolder folder = open_to_empty(trail_.folder(), name, removal_.access);
        if (folder.error == ENOENT)
            return;
        if (folder.error == 0 && is_mounted(folder.facts, trail_.identity()))
            folder.error = EBUSY;
        if (folder.error != 0)
            throw platform_error(folder.error, trail_.path_of(name));
        trail_.enter(std::move(folder), name);
    }

    void remove_emptied_folder()
    {
        name_ = trail_.name();
        trail_.leave();
        if (::unlinkat(trail_.folder(), name_.c_str(), AT_REMOVEDIR) == 0)
            return removal_.removed();
        if (errno == ENOENT)
            return;
        if (errno != ENOTEMPTY || readings_again_++ == max_readings_again)
            throw platform_error(errno, trail_.path_of(name_.c_str()));
        enter(name_.c_str());
    }

    FolderTrail trail_;
    const Removal& removal_;
    std::string name_;
    int readings_again_ = 0;
};

void refuse_special(const char* name, const Url& shown)
{
    const Url standardized = shown.standardized();
    if (standardized.path() == "/")
        throw platform_error(EPERM, shown);
    const std::string_view last =
        std::string_view(name).substr(std::string_view(name).rfind('/') + 1);
    if (last == "." || last == "..")
        throw platform_error(EINVAL, shown);
}

/// Removes the folder `name` with everything in it, if it is the expected one.
void remove_with_contents(int parent, const char* name, const Url& shown, const Removal& removal,
                          const std::optional<Identity>& expected)
{
    struct statx above = {};
    if (::statx(parent, "", AT_EMPTY_PATH, STATX_BASIC_STATS, &above) != 0)
        throw platform_error(errno, shown);
    for (int readings = 0; readings <= max_readings_again; ++readings) {
        OpenFolder folder = open_to_empty(parent, name, removal.access);
        if (folder.error == 0 && is_mounted(folder.facts, identity_of(above)))
            folder.error = EBUSY;
        if (folder.error == 0 && expected && folder.identity() != *expected)
            folder.error = ESTALE;
        if (folder.error != 0)
            throw platform_error(folder.error, shown);
        Emptying(std::move(folder), shown.path(), removal).run();
        if (::unlinkat(parent, name, AT_REMOVEDIR) == 0)
            return removal.removed();
        if (errno != ENOTEMPTY)
            break;
    }
    throw platform_error(errno, shown);
}

void remove_item(int folder, const char* name, const Url& shown, const Removal& removal)
{
    refuse_special(name, shown);
    const int error = unlink_item(folder, name);
    if (error == EISDIR)
        return remove_with_contents(folder, name, shown, removal, {});
    if (error != 0)
        throw platform_error(error, shown);
    removal.removed();
}

} // namespace

void remove_tree(int folder, const char* name, const Url& shown, Access access)
{
    remove_item(folder, name, shown, {access, nothing_more});
}

void remove_folder(int folder, const char* name, const Url& shown, const Identity& expected)
{
    refuse_special(name, shown);
    remove_with_contents(folder, name, shown, {Access::as_it_is, nothing_more}, expected);
}

void remove_tree(const Url& url, FunctionRef<void()> removed)
{
    const Place place = Place::in_opened_folder(url);
    remove_item(place.folder(), place.name(), url, {Access::as_it_is, removed});
}

} // namespace orv
