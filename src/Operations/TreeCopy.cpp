#include "Operations/TreeCopy.hpp"

#include "Global/TestMode.hpp"
#include "Operations/DestinationFolders.hpp"
#include "Operations/FolderSizeOpr.hpp"
#include "Operations/ItemCopier.hpp"
#include "Operations/OpenedDestination.hpp"
#include "Operations/RecordCopies.hpp"
#include "Operations/SnglCopyOpr.hpp"
#include "Tool/OpenFolder.hpp"
#include "Tool/Place.hpp"
#include "Tool/TreeWalk.hpp"
#include "utility/ExtendedAttributes.hpp"
#include "utility/FileNames.hpp"

#include <algorithm>
#include <cerrno>
#include <optional>

#include <fcntl.h>

namespace orv {
namespace {

// A file from this size on may take long enough for statuses held back before it to be late.
constexpr std::int64_t long_file_size = 1 << 20;

/// An item that the copy has come to: its original, and its name at the destination.
struct Item {
    SourceItem source;
    struct statx facts;
    std::string name;
    std::string relative_path;

    [[nodiscard]] bool is_folder() const { return S_ISDIR(facts.stx_mode); }
    [[nodiscard]] std::int64_t size() const
    {
        return S_ISREG(facts.stx_mode) ? static_cast<std::int64_t>(facts.stx_size) : 0;
    }
};

bool exists_in(const DestinationFolder& folder, const std::string& name)
{
    struct stat status {};
    return ::fstatat(folder.fd, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

/// Whether a hidden item is marked to be ignored, or a file of the library that is not finished.
bool is_left_out(const SourceItem& source)
{
    if (!source.name.starts_with('.'))
        return false;
    const FileDescriptor item(
        ::openat(source.folder, source.name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    if (item && ext_attr(item.get(), "orv_ignore") == "true")
        return true;
    const auto ext = name_parts(source.name).ext;
    return ext == "orvresume" || ext == "jgd";
}

/// The size of all that lies in a folder, as far as it can be told.
std::int64_t size_of_contents(const Url& folder)
{
    try {
        return folder_size(folder, [] {});
    } catch (const Error&) {
        return 0;
    }
}

class TreeCopy {
public:
    TreeCopy(Request<CopyOperation>& request, const CopyPlan& plan, const CopyProgress& progress)
        : request_(request), plan_(plan), progress_(progress),
          records_(plan.source, plan.destination)
    {
    }

    void run()
    {
        try {
            copy_top();
            records_.write();
        } catch (...) {
            settle_after_failure();
            throw;
        }
    }

    [[nodiscard]] const CopyProgress& progress() const { return progress_; }

private:
    void copy_top();
    void copy_contents(const Place& source, const OpenedDestination& top);
    void enter(const TreeWalk& walk, const OpenedDestination& top);
    void leave(const TreeWalk& walk);
    bool handle(const Item& item, const DestinationFolder& destination);
    void copy(const Item& item, const DestinationFolder& destination);
    void copy_file(const Item& item, const DestinationFolder& destination);
    void tell(const Item& item, float part_done);
    void settle_after_failure() noexcept;

    Request<CopyOperation>& request_;
    const CopyPlan& plan_;
    CopyProgress progress_;
    RecordCopies records_;
    ItemCopier copier_;
    std::int64_t processed_ = 0; // bytes

    std::optional<DestinationFolders> folders_;
    /// What becomes of the folder that was handled last, should the walk enter it.
    DestinationFolders::Kept kept_;
    /// Set while the walk is in a folder to which none corresponds at the destination.
    std::optional<Error> no_folder_;
};

Item top_item(const Place& place, const CopyPlan& plan)
{
    Item item{
        {place.folder(), place.path, plan.source}, {}, plan.destination.last_path_component(), {}};
    if (::statx(place.folder(), place.name(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS,
                &item.facts) != 0)
        throw platform_error(errno, plan.source);
    return item;
}

void TreeCopy::copy_top()
{
    const Place place = Place::in_opened_folder(plan_.source);
    const Item item = top_item(place, plan_);
    std::optional<OpenedDestination> destination;
    try {
        destination.emplace(plan_.destination, item.is_folder());
    } catch (const Error&) {
        tell(item, 0);
        throw;
    }
    const bool is_taken_in = handle(item, destination->folder());
    if (is_taken_in && item.is_folder())
        copy_contents(place, *destination);
}

void TreeCopy::copy_contents(const Place& source, const OpenedDestination& top)
{
    OpenFolder folder = open_folder(source.folder(), source.name());
    if (folder.error != 0)
        throw platform_error(folder.error, plan_.source);
    TreeWalk walk(std::move(folder), plan_.source,
                  {.unreadable = TreeWalkOptions::Unreadable::fail});
    for (;;) {
        switch (walk.next()) {
        case TreeWalk::Event::item: {
            if (no_folder_)
                throw *no_folder_;
            const Item item{{walk.folder(), walk.name(), walk.path()},
                            walk.facts(),
                            walk.name(),
                            walk.relative_path()};
            if (!handle(item, folders_->innermost()))
                walk.skip_contents();
            break;
        }
        case TreeWalk::Event::entered:
            enter(walk, top);
            break;
        case TreeWalk::Event::left:
            leave(walk);
            break;
        case TreeWalk::Event::end:
            return;
        }
    }
}

/// Something else than a folder may stand where a merge needs one: only an item that is to go into
/// it makes that an error.
void TreeCopy::enter(const TreeWalk& walk, const OpenedDestination& top)
{
    try {
        if (folders_)
            folders_->enter(walk.name(), kept_);
        else
            folders_.emplace(top.folder(), top.name(), kept_);
    } catch (const Error& error) {
        if (kept_)
            throw;
        no_folder_ = error;
    }
}

void TreeCopy::leave(const TreeWalk& walk)
{
    if (no_folder_)
        no_folder_.reset();
    else
        folders_->leave(walk.folder());
}

/// Copies the item unless it is to be left out or merged with. Says whether its contents are to
/// follow.
bool TreeCopy::handle(const Item& item, const DestinationFolder& destination)
{
    request_.check_cancelled();
    kept_.reset();
    if (is_left_out(item.source)) {
        processed_ += item.is_folder() ? size_of_contents(item.source.url) : item.size();
        return false;
    }
    if (!plan_.merges || !exists_in(destination, item.name))
        copy(item, destination);
    processed_ += item.size();
    return true;
}

void TreeCopy::copy(const Item& item, const DestinationFolder& destination)
{
    tell(item, 0);
    if (item.is_folder()) {
        pause_in_test_mode(std::chrono::milliseconds(500));
        ItemCopier::create_folder(destination, item.name);
        kept_ = ModeAndTimes(item.facts);
    } else {
        copy_file(item, destination);
    }
    if (!S_ISLNK(item.facts.stx_mode))
        records_.add(item.relative_path);
    tell(item, 1);
}

void TreeCopy::copy_file(const Item& item, const DestinationFolder& destination)
{
    if (item.size() >= long_file_size)
        request_.report_all_held();
    ProgressInterval interval;
    copier_.copy(item.source, item.facts.stx_mode, destination, item.name, [&](float part_done) {
        request_.check_cancelled();
        request_.report_held();
        if (interval.is_due())
            tell(item, part_done);
    });
}

void TreeCopy::tell(const Item& item, float part_done)
{
    const auto total = static_cast<float>(plan_.total_size);
    const auto done = static_cast<float>(
        processed_ + static_cast<std::int64_t>(static_cast<float>(item.size()) * part_done));
    const float value = total > 0 ? std::clamp(done / total, 0.0F, 1.0F) : 0.0F;
    progress_ = {item.name, item.is_folder(), value};
    request_.report_soon(status::progress<CopyProgress>{progress_});
}

/// What was copied stays, so it gets what belongs to it.
void TreeCopy::settle_after_failure() noexcept
{
    if (folders_)
        folders_->abandon();
    try {
        records_.write();
    } catch (const std::exception&) {
        return; // the request already ends with an earlier error
    }
}

} // namespace

CopyProgress copy_tree(Request<CopyOperation>& request, const CopyPlan& plan,
                       const CopyProgress& progress)
{
    TreeCopy copy(request, plan, progress);
    copy.run();
    return copy.progress();
}

} // namespace orv
