#include "Operations/copying/TreeCopy.hpp"

#include "Global/TestMode.hpp"
#include "Operations/FolderSizeOpr.hpp"
#include "Operations/SnglCopyOpr.hpp"
#include "Operations/copying/FilesAhead.hpp"
#include "Operations/copying/ItemCopier.hpp"
#include "Operations/copying/LeftOut.hpp"
#include "Operations/copying/OpenedDestination.hpp"
#include "Operations/copying/RecordCopies.hpp"
#include "Tool/Tool.hpp"
#include "Tool/ToolErrors.hpp"
#include "files/DestinationFolders.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"
#include "files/TreeWalk.hpp"
#include "utility/FileDescriptor.hpp"

#include <orv/utility/Match.hpp>

#include <algorithm>
#include <cerrno>
#include <deque>
#include <memory>
#include <optional>
#include <utility>
#include <variant>

#include <fcntl.h>

namespace orv {
namespace {

// A file from this size on may take long enough for statuses held back before it to be late.
constexpr std::int64_t long_file_size = 1 << 20;

/// The current item of the copy, without its folders, because they may change until its turn.
struct Item {
    Url url;
    std::string name; // at the destination
    std::string relative_path;
    struct statx facts;

    [[nodiscard]] bool is_folder() const { return S_ISDIR(facts.stx_mode); }
    [[nodiscard]] std::int64_t size() const
    {
        return S_ISREG(facts.stx_mode) ? static_cast<std::int64_t>(facts.stx_size) : 0;
    }
    [[nodiscard]] bool is_small_file() const
    {
        return S_ISREG(facts.stx_mode) && size() < long_file_size;
    }
};

/// A folder of the source, kept open for the steps ahead.
struct SourceFolder {
    FileDescriptor descriptor;
    Url destination;

    [[nodiscard]] SourceItem source(const Item& item) const
    {
        return {descriptor.get(), item.name, item.url};
    }
};

/// The steps of the walk before their turn.
struct ItemAhead {
    Item item;
    std::shared_ptr<const SourceFolder> folder;
    bool is_built; // or on the way
};
struct EntryAhead {
    std::string name;
};
struct EndAhead {
    std::shared_ptr<const SourceFolder> folder;
};
using StepAhead = std::variant<ItemAhead, EntryAhead, EndAhead>;

bool exists(const DestinationItem& item)
{
    struct stat status {};
    return ::fstatat(item.folder.fd, item.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

FileDescriptor duplicate(int fd)
{
    return FileDescriptor(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
}

class TreeCopy {
public:
    TreeCopy(Request<CopyOperation>& request, const CopyPlan& plan, const CopyProgress& progress)
        : request_(request), plan_(plan), progress_(progress),
          records_(plan.source, plan.destination,
                   plan.replaces ? RecordCopies::Onto::replaced_item
                   : plan.merges ? RecordCopies::Onto::folder_to_merge_with
                                 : RecordCopies::Onto::nothing),
          copier_(plan.staging), sums_(request.tally())
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
    void publish(OpenedDestination& destination);
    void copy_contents(const Place& source, const OpenedDestination& top);
    TreeWalk::Event next_event(TreeWalk& walk);
    void come_to_item(TreeWalk& walk);
    void come_to_contents(const TreeWalk& walk, const OpenedDestination& top);
    void come_to_end(const TreeWalk& walk);
    void enter(const std::string& name, const OpenedDestination& top);
    void hide_in_top_folder();
    void leave(int source);

    bool handle(const Item& item, const SourceItem& source, const DestinationItem& destination);
    void pass_over(const Item& item, const SourceItem& source);
    bool leave_out(const Item& item, const SourceItem& source);
    TreeSize size_of_contents(const Url& folder);
    void copy(const Item& item, const SourceItem& source, const DestinationItem& destination);
    void copy_file(const Item& item, const SourceItem& source, const DestinationItem& destination);
    void finish(const Item& item);
    void count(std::int64_t bytes, std::int64_t items);
    [[nodiscard]] std::int64_t done_with(const Item& item, float part_done) const;
    void tell(const Item& item, float part_done);
    void settle_after_failure() noexcept;

    [[nodiscard]] bool can_go_ahead() const;
    bool keep_open(const TreeWalk& walk);
    void go_ahead(Item item);
    void add(StepAhead step);
    void take_next();
    void take_all();
    void take(const ItemAhead& ahead);

    Request<CopyOperation>& request_;
    const CopyPlan& plan_;
    CopyProgress progress_;
    RecordCopies records_;
    ItemCopier copier_;
    RunningSums sums_;
    std::int64_t processed_ = 0; // bytes

    std::optional<DestinationFolders> folders_;
    /// The mode and times for the latest folder, should the walk enter it.
    DestinationFolders::Kept kept_;
    /// Set while the walk is in a folder without a counterpart at the destination.
    std::optional<Error> no_folder_;

    std::deque<StepAhead> steps_;       // in the order of the walk
    FilesAhead* files_ahead_ = nullptr; // lives as long as the walk
    /// The walk's current folder, once one of its items waits.
    std::shared_ptr<const SourceFolder> walked_folder_;
    /// Files ahead grow in the top folder of the copy, because it exists already. Later folders
    /// share its volume and hand down its inherited properties to their files.
    FileDescriptor building_folder_;
};

Item top_item(const Place& place, const CopyPlan& plan)
{
    Item item{plan.source, plan.destination.last_path_component(), {}, {}};
    if (::statx(place.folder(), place.name(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS,
                &item.facts) != 0)
        throw platform_error(errno, plan.source);
    return item;
}

void TreeCopy::copy_top()
{
    const Place place = Place::in_resolved_folder(plan_.source);
    const Item item = top_item(place, plan_);
    std::optional<OpenedDestination> destination;
    try {
        destination.emplace(plan_.destination, item.is_folder(), plan_.replaces);
    } catch (const Error&) {
        tell(item, 0);
        throw;
    }
    copier_.hide_in({destination->item().folder});
    const SourceItem source{place.folder(), place.path, plan_.source};
    const bool is_taken_in = handle(item, source, destination->item());
    if (is_taken_in && item.is_folder())
        copy_contents(place, *destination);
    if (is_taken_in && plan_.replaces)
        publish(*destination);
}

/// Puts a copy in the place of the old item. A cancel before it leaves the old item; a later one
/// comes too late.
void TreeCopy::publish(OpenedDestination& destination)
{
    request_.check_cancelled();
    destination.publish();
    request_.set_done();
}

void TreeCopy::copy_contents(const Place& source, const OpenedDestination& top)
{
    OpenFolder folder = open_folder(source.folder(), source.name());
    if (folder.error != 0)
        throw platform_error(folder.error, plan_.source);
    TreeWalk walk(std::move(folder), plan_.source,
                  {.unreadable = TreeWalkOptions::Unreadable::fail});
    FilesAhead ahead;
    files_ahead_ = &ahead;
    for (;;) {
        switch (next_event(walk)) {
        case TreeWalk::Event::item:
            come_to_item(walk);
            break;
        case TreeWalk::Event::entered:
            come_to_contents(walk, top);
            break;
        case TreeWalk::Event::left:
            come_to_end(walk);
            break;
        case TreeWalk::Event::end:
            take_all();
            return;
        }
    }
}

/// Copies the items before a failure of the walk all the same.
TreeWalk::Event TreeCopy::next_event(TreeWalk& walk)
{
    try {
        return walk.next();
    } catch (const Error&) {
        take_all();
        throw;
    }
}

void TreeCopy::come_to_item(TreeWalk& walk)
{
    Item item{walk.path(), walk.name(), walk.relative_path(), walk.facts()};
    SourceItem source{walk.folder(), walk.name(), item.url};
    if (no_folder_) {
        pass_over(item, source);
        walk.skip_contents();
        return;
    }
    if (!item.name.starts_with('.') && can_go_ahead() && keep_open(walk)) {
        go_ahead(std::move(item));
        return;
    }
    take_all();
    if (!handle(item, source, {folders_->innermost(), item.name}))
        walk.skip_contents();
}

void TreeCopy::come_to_contents(const TreeWalk& walk, const OpenedDestination& top)
{
    walked_folder_.reset();
    if (can_go_ahead()) {
        add(EntryAhead{walk.name()});
        return;
    }
    take_all();
    enter(walk.name(), top);
}

void TreeCopy::come_to_end(const TreeWalk& walk)
{
    if (can_go_ahead() && keep_open(walk)) {
        add(EndAhead{std::exchange(walked_folder_, {})});
        return;
    }
    walked_folder_.reset();
    take_all();
    leave(walk.folder());
}

/// Another item may stand in the place of a folder for a merge. Only an item on its way into the
/// folder makes that an error.
void TreeCopy::enter(const std::string& name, const OpenedDestination& top)
{
    try {
        if (folders_) {
            folders_->enter(name, kept_);
        } else {
            folders_.emplace(top.item().folder, top.item().name, top.item().url(), kept_);
            building_folder_ = duplicate(folders_->innermost().fd);
            hide_in_top_folder();
        }
    } catch (const Error& error) {
        if (kept_)
            throw;
        no_folder_ = error;
    }
}

/// Only its owner can open a new folder until the copy leaves it. A folder for a replacement may go
/// before the note in it, so it hides nothing.
void TreeCopy::hide_in_top_folder()
{
    if (kept_ && building_folder_ && !plan_.replaces)
        copier_.hide_in({{building_folder_.get(), folders_->innermost().url}, true});
}

void TreeCopy::leave(int source)
{
    if (no_folder_)
        no_folder_.reset();
    else
        folders_->leave(source);
}

/// Copies the item, unless it is left out or merged. True if its contents follow.
bool TreeCopy::handle(const Item& item, const SourceItem& source,
                      const DestinationItem& destination)
{
    request_.check_cancelled();
    request_.report_held();
    kept_.reset();
    if (leave_out(item, source))
        return false;
    if (!plan_.merges || !exists(destination))
        copy(item, source, destination);
    count(item.size(), 1);
    return true;
}

/// Handles an item without a folder at the destination: it can only be left out.
void TreeCopy::pass_over(const Item& item, const SourceItem& source)
{
    request_.check_cancelled();
    if (leave_out(item, source))
        return;
    tell(item, 0);
    if (item.is_folder())
        throw single_copy_place("Couldn't create destination directory.").because_of(*no_folder_);
    throw move_error(*no_folder_);
}

/// True if no copy takes the item; counts it then.
bool TreeCopy::leave_out(const Item& item, const SourceItem& source)
{
    if (!is_left_out(source))
        return false;
    count(item.size(), 1);
    if (item.is_folder()) {
        const TreeSize contents = size_of_contents(item.url);
        count(contents.bytes, contents.items);
    }
    return true;
}

/// The size of all contents of a folder, as far as it is known.
TreeSize TreeCopy::size_of_contents(const Url& folder)
{
    try {
        return folder_size(folder, [this] { request_.check_cancelled(); });
    } catch (const Error&) {
        return {};
    }
}

void TreeCopy::copy(const Item& item, const SourceItem& source, const DestinationItem& destination)
{
    tell(item, 0);
    if (item.is_folder()) {
        pause_in_test_mode(std::chrono::milliseconds(500));
        ItemCopier::create_folder(destination);
        kept_ = ModeAndTimes(item.facts);
    } else {
        copy_file(item, source, destination);
    }
    finish(item);
}

void TreeCopy::copy_file(const Item& item, const SourceItem& source,
                         const DestinationItem& destination)
{
    BuiltAhead* const built = plan_.built;
    if (built && built->file && built->source == ItemVersion(item.facts))
        return copier_.place(std::exchange(built->file, std::nullopt), source, destination);
    if (item.size() >= long_file_size)
        request_.report_all_held();
    ProgressInterval interval;
    copier_.copy(source, item.facts.stx_mode, destination, [&](float part_done) {
        request_.check_cancelled();
        request_.report_held();
        sums_.bytes_up_to(done_with(item, part_done));
        if (interval.is_due())
            tell(item, part_done);
    });
}

void TreeCopy::finish(const Item& item)
{
    if (!S_ISLNK(item.facts.stx_mode))
        records_.add(item.relative_path);
    tell(item, 1);
}

/// True if the walk may run ahead of the steps. With items to leave out or to merge, the walk
/// depends on them.
bool TreeCopy::can_go_ahead() const
{
    return building_folder_ && !plan_.merges && copier_.can_build() && !intr_test_mode();
}

/// Keeps the walk's current folder open, if possible.
bool TreeCopy::keep_open(const TreeWalk& walk)
{
    if (walked_folder_)
        return true;
    FileDescriptor folder = duplicate(walk.folder());
    if (!folder)
        return false;
    walked_folder_ = std::make_shared<SourceFolder>(
        SourceFolder{std::move(folder), plan_.destination.appending(walk.relative_folder_path())});
    return true;
}

void TreeCopy::go_ahead(Item item)
{
    const bool is_built = item.is_small_file();
    if (is_built)
        files_ahead_->add(walked_folder_->source(item),
                          {{building_folder_.get(), walked_folder_->destination}, item.name});
    add(ItemAhead{std::move(item), walked_folder_, is_built});
}

void TreeCopy::add(StepAhead step)
{
    if (steps_.size() >= plan_.steps_ahead)
        take_next();
    steps_.push_back(std::move(step));
}

void TreeCopy::take_next()
{
    const StepAhead next = std::move(steps_.front());
    steps_.pop_front();
    match(
        next, [this](const ItemAhead& ahead) { take(ahead); },
        [this](const EntryAhead& entry) { folders_->enter(entry.name, kept_); },
        [this](const EndAhead& end) { folders_->leave(end.folder->descriptor.get()); });
}

void TreeCopy::take_all()
{
    while (!steps_.empty())
        take_next();
}

void TreeCopy::take(const ItemAhead& ahead)
{
    const Item& item = ahead.item;
    const SourceItem source = ahead.folder->source(item);
    const DestinationItem destination{folders_->innermost(), item.name};
    if (!ahead.is_built) {
        handle(item, source, destination);
        return;
    }
    request_.check_cancelled();
    tell(item, 0);
    copier_.place(files_ahead_->take(), source, destination);
    finish(item);
    count(item.size(), 1);
}

void TreeCopy::count(std::int64_t bytes, std::int64_t items)
{
    processed_ += bytes;
    sums_.bytes_up_to(processed_);
    request_.tally().add_items(items);
}

/// The finished bytes of an item in progress. In double precision, to keep the size of a whole item
/// exact.
std::int64_t TreeCopy::done_with(const Item& item, float part_done) const
{
    return processed_ + static_cast<std::int64_t>(static_cast<double>(item.size()) * part_done);
}

void TreeCopy::tell(const Item& item, float part_done)
{
    const auto total = static_cast<float>(plan_.total_size);
    const auto done = static_cast<float>(done_with(item, part_done));
    const float value = total > 0 ? std::clamp(done / total, 0.0F, 1.0F) : 0.0F;
    progress_ = {item.name, item.is_folder(), value};
    request_.report_soon(status::progress<CopyProgress>{progress_});
}

/// Finishes the items left in place. A copy meant to replace an item goes.
void TreeCopy::settle_after_failure() noexcept
{
    if (plan_.replaces)
        return;
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
