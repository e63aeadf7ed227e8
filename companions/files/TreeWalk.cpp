#include "files/TreeWalk.hpp"

#include "files/Place.hpp"

#include <orv/utility/Error.hpp>

#include <cerrno>
#include <utility>

#include <dirent.h>
#include <fcntl.h>

namespace orv {
namespace {

OpenFolder opened_root(const Url& root)
{
    const Place place = Place::of(root);
    OpenFolder folder = open_folder_following_links(place.folder(), place.name());
    if (folder.error != 0)
        throw platform_error(folder.error, root);
    return folder;
}

/// True if `opened` is the folder with `facts`. The open of an automount point opens the volume
/// behind it.
bool is_described_by(const OpenFolder& opened, const struct statx& facts)
{
    return opened.identity() == identity_of(facts) ||
           (facts.stx_attributes & STATX_ATTR_AUTOMOUNT) != 0;
}

} // namespace

TreeWalk::TreeWalk(const Url& root, const TreeWalkOptions& options)
    : TreeWalk(opened_root(root), root, options)
{
}

TreeWalk::TreeWalk(OpenFolder root, const Url& path, const TreeWalkOptions& options)
    : options_(options), folder_facts_{root.facts},
      trail_(std::move(root), path.path(), options.max_open_folders),
      root_path_size_(path.path() == "/" ? 0 : path.path().size())
{
}

TreeWalk::Event TreeWalk::next()
{
    if (!event_)
        return entered();
    switch (*event_) {
    case Event::item:
        if (enters_item_ && enter_item())
            return entered();
        break;
    case Event::entered:
        break;
    case Event::left:
        if (trail_.depth() == 0)
            return *(event_ = Event::end);
        trail_.leave();
        folder_facts_.pop_back();
        break;
    case Event::end:
        return Event::end;
    }
    return next_item();
}

TreeWalk::Event TreeWalk::next_item()
{
    while (const auto entry = trail_.next_entry()) {
        if (entry->name[0] == '.' && !options_.include_hidden_files)
            continue;
        if (look_at(*entry))
            return *(event_ = Event::item);
    }
    const int error = trail_.read_error();
    if (error != 0 && !passes_over(error, trail_.path()))
        throw platform_error(error, trail_.path());
    return left();
}

bool TreeWalk::look_at(const FolderReader::Entry& entry)
{
    name_ = entry.name;
    level_ = static_cast<int>(trail_.depth()) + 1;
    const bool enters_folders = options_.recursive && level_ != options_.recursion_depth;
    // The walk opens a folder before it reports it: the open describes it, too, in the same step.
    if (entry.type == DT_DIR && enters_folders && open_item())
        return true;
    facts_ = {};
    if (!options_.describes_all && entry.type != DT_UNKNOWN && entry.type != DT_DIR) {
        facts_.stx_mode = static_cast<std::uint16_t>(DTTOIF(entry.type));
        enters_item_ = false;
        return true;
    }
    if (!describe())
        return false;
    enters_item_ = is_folder() && enters_folders;
    return true;
}

bool TreeWalk::describe()
{
    if (facts_.stx_mask != 0)
        return true;
    if (::statx(trail_.folder(), name_, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                STATX_BASIC_STATS | STATX_BTIME, &facts_) != 0) {
        const int error = errno;
        if (passes_over(error, trail_.path_of(name_)))
            return false;
        throw platform_error(error, trail_.path_of(name_));
    }
    return true;
}

bool TreeWalk::open_item()
{
    opened_item_ = open_folder(trail_.folder(), name_);
    enters_item_ = opened_item_.error == 0;
    if (enters_item_)
        facts_ = opened_item_.facts;
    return enters_item_;
}

bool TreeWalk::enter_item()
{
    if (!opened_item_.descriptor)
        opened_item_ = open_folder(trail_.folder(), name_);
    OpenFolder folder = std::exchange(opened_item_, {});
    if (folder.error != 0) {
        if (passes_over(folder.error, path()))
            return false;
        throw platform_error(folder.error, path());
    }
    if (!is_described_by(folder, facts_)) {
        if (options_.unreadable == TreeWalkOptions::Unreadable::pass_over)
            return false;
        throw folder_replaced(path());
    }
    trail_.enter(std::move(folder), name_);
    folder_facts_.push_back(facts_);
    return true;
}

TreeWalk::Event TreeWalk::entered()
{
    name_ = trail_.name();
    level_ = static_cast<int>(trail_.depth());
    facts_ = folder_facts_.back();
    return *(event_ = Event::entered);
}

TreeWalk::Event TreeWalk::left()
{
    entered();
    return *(event_ = Event::left);
}

bool TreeWalk::passes_over(int error, const std::string& path) const
{
    const bool out_of_means = error == EMFILE || error == ENFILE || error == ENOMEM;
    if (options_.unreadable == TreeWalkOptions::Unreadable::fail || out_of_means)
        return false;
    const bool is_gone = error == ENOENT;
    if (options_.on_passed_over && !is_gone)
        options_.on_passed_over(platform_error(error, path));
    return true;
}

std::string TreeWalk::path() const
{
    return event_ == Event::item ? trail_.path_of(name_) : trail_.path();
}

std::string TreeWalk::relative_path() const
{
    return below_root(path());
}

std::string TreeWalk::relative_folder_path() const
{
    return below_root(trail_.path());
}

std::string TreeWalk::below_root(std::string path) const
{
    path.erase(0, root_path_size_);
    if (path.starts_with('/'))
        path.erase(0, 1);
    return path;
}

} // namespace orv
