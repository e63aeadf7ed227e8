#include "files/HiddenItem.hpp"

#include "files/Flush.hpp"
#include "files/NamingError.hpp"
#include "files/RemoveTree.hpp"
#include "files/RenameOver.hpp"
#include "files/SetAside.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace orv {
namespace {

std::optional<struct statx> facts_at(int folder, const char* name)
{
    struct statx facts {};
    if (::statx(folder, name, AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &facts) != 0)
        return std::nullopt;
    return facts;
}

std::optional<Identity> identity_at(int folder, const char* name)
{
    const auto facts = facts_at(folder, name);
    return facts ? std::optional(identity_of(*facts)) : std::nullopt;
}

bool is_folder_at(int folder, const char* name)
{
    const auto facts = facts_at(folder, name);
    return facts && S_ISDIR(facts->stx_mode);
}

} // namespace

HiddenItem::HiddenItem(const Url& destination)
    : place_(Place::in_resolved_folder(destination)), url_(destination),
      name_({place_.folder(), destination.deleting_last_path_component()})
{
}

HiddenItem::~HiddenItem()
{
    if (!published_)
        remove_hidden();
}

DestinationItem HiddenItem::item() const
{
    return {name_.folder(), name_.text(), place_.path};
}

bool HiddenItem::is_taken() const
{
    return facts_at(folder(), final_name()).has_value();
}

void HiddenItem::publish()
{
    const auto identity = identity_at(folder(), hidden());
    if (const int code = rename_(folder(), hidden(), folder(), final_name()))
        throw naming_error(code, folder(), place_.path, url_);
    published_ = identity;
}

void HiddenItem::publish_replacing()
{
    flush_item();
    const auto identity = identity_at(folder(), hidden());
    const bool any_folder =
        is_folder_at(folder(), hidden()) || is_folder_at(folder(), final_name());
    // A rename takes the place of a file in one step on most volumes, but never that of a folder.
    if (!any_folder && rename_over(folder(), hidden(), folder(), final_name()) == 0) {
        published_ = identity;
    } else if (exchange()) {
        published_ = identity;
        try {
            flush_folder();
        } catch (const Error&) {
            if (exchange())
                published_.reset();
            throw;
        }
        return remove_hidden();
    } else {
        replace_by_setting_aside();
    }
    flush_folder();
}

/// Flushes the hidden item to its disk: no power cut puts a name without content in the place of
/// the old item. An item its owner may not read cannot be flushed.
void HiddenItem::flush_item() const
{
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const auto facts = facts_at(folder(), hidden());
    if (!facts || (!S_ISREG(facts->stx_mode) && !S_ISDIR(facts->stx_mode)))
        return;
    const FileDescriptor item(::openat(folder(), hidden(), flags));
    if (item && S_ISREG(facts->stx_mode))
        flush(item.get(), url_);
    else if (item)
        flush_volume(item.get(), url_);
}

/// Both items change names in one step. Not all volumes can do that.
bool HiddenItem::exchange() const
{
    return ::renameat2(folder(), hidden(), folder(), final_name(), RENAME_EXCHANGE) == 0;
}

/// Removes the item under the hidden name: an unfinished one or, after an exchange, the old one.
/// The next start removes a leftover.
void HiddenItem::remove_hidden() noexcept
{
    try {
        remove_tree(folder(), hidden(), url_, Access::taken);
    } catch (const Error& error) {
        if (error.code() != ENOENT)
            name_.leave_behind();
    } catch (const std::exception&) {
        name_.leave_behind();
    }
}

void HiddenItem::replace_by_setting_aside()
{
    if (!is_taken())
        return publish();
    const auto identity = identity_at(folder(), hidden());
    SetAside old(item().folder, place_.path,
                 identity ? std::optional(identity->inode) : std::nullopt, rename_);
    publish();
    old.discard();
}

void HiddenItem::flush_folder() const
{
    name_.flush_folder();
}

void HiddenItem::withdraw()
{
    if (published_ && published_ == identity_at(folder(), final_name()) &&
        rename_(folder(), final_name(), folder(), hidden()) == 0)
        published_.reset();
}

} // namespace orv
