#include "files/Removability.hpp"

#include "files/ItemStatus.hpp"
#include "files/OpenFolder.hpp"
#include "files/TreeWalk.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

/// In a folder like /tmp only the owner of an item may take it away.
bool may_take(const struct statx& item, const struct statx& folder)
{
    const uid_t user = ::geteuid();
    return (folder.stx_mode & S_ISVTX) == 0 || user == 0 || user == item.stx_uid ||
           user == folder.stx_uid;
}

void check_contents(OpenFolder top, const Url& shown)
{
    if (top.error != 0)
        throw platform_error(top.error, shown);
    bool is_first = false;
    TreeWalk walk(std::move(top), shown, {.unreadable = TreeWalkOptions::Unreadable::fail});
    for (;;) {
        switch (walk.next()) {
        case TreeWalk::Event::item:
            if (std::exchange(is_first, false))
                check_can_take_from(walk.folder(), walk.folder_path());
            check_can_be_taken(walk.facts(), walk.folder_facts(), walk.path());
            break;
        case TreeWalk::Event::entered:
            is_first = true;
            break;
        case TreeWalk::Event::left:
            is_first = false;
            break;
        case TreeWalk::Event::end:
            return;
        }
    }
}

} // namespace

void check_can_be_taken(const struct statx& facts, const struct statx& folder_facts, const Url& url)
{
    constexpr auto fixed = STATX_ATTR_IMMUTABLE | STATX_ATTR_APPEND;
    if (is_mounted(facts, identity_of(folder_facts)))
        throw platform_error(EBUSY, url);
    if ((facts.stx_attributes & fixed) != 0 || !may_take(facts, folder_facts))
        throw platform_error(EPERM, url);
}

void check_can_take_from(int folder, const Url& url)
{
    if (::faccessat(folder, ".", W_OK | X_OK, AT_EACCESS) == 0)
        return;
    // A volume may be unable to answer; then only the attempt tells.
    if (errno == EACCES || errno == EPERM || errno == EROFS)
        throw platform_error(errno, url);
}

void check_can_be_removed(int folder, const char* name, const Url& shown)
{
    const struct statx facts = item_facts(folder, name, shown);
    check_can_take_from(folder, shown.deleting_last_path_component());
    check_can_be_taken(facts, item_facts(folder, "", shown), shown);
    if (S_ISDIR(facts.stx_mode))
        check_contents(open_folder(folder, name), shown);
}

} // namespace orv
