#include "Operations/transfer/TransferCopy.hpp"

#include "Global/TestMode.hpp"
#include "Operations/copying/LeftOut.hpp"
#include "Operations/transfer/TransferErrors.hpp"
#include "files/ItemStatus.hpp"
#include "files/OpenFolder.hpp"
#include "files/Place.hpp"

#include <orv/utility/Error.hpp>
#include <orv/utility/Match.hpp>

#include <algorithm>
#include <cerrno>
#include <utility>

#include <fcntl.h>

namespace orv {
namespace {

// The copy of a larger file takes so long that work ahead on it only delays earlier items.
constexpr std::int64_t large_file_size = 1 << 20;

FileDescriptor opened_again(int fd)
{
    return FileDescriptor(::fcntl(fd, F_DUPFD_CLOEXEC, 0));
}

SourceItem source_item(int folder, const CopyItem& item)
{
    return {folder, item.name, item.url};
}

} // namespace

TransferCopy::TransferCopy(TransferRun& run, std::size_t steps_ahead)
    : run_(run), steps_ahead_(steps_ahead), target_(run)
{
    walked_.push_back({{}, false});
}

void TransferCopy::copy(const std::vector<TransferSource>& sources)
{
    try {
        for (const TransferSource& source : sources)
            copy_source(source);
        take_all();
        target_.finish();
    } catch (...) {
        target_.abandon();
        throw;
    }
}

void TransferCopy::copy_source(const TransferSource& source)
{
    const std::string name = source.url.last_path_component();
    CopyItem item{source.index, true, source.url, name, source.new_name, name, {}};
    for (;;) {
        try {
            open_folder_of(source.url);
            item.facts = item_facts(opened_source_folder_->get(), name.c_str(), source.url);
            break;
        } catch (const Error& cause) {
            take_all();
            const Error error = source_error(cause, source.url);
            if (run_.questions.settle(source.url, error) == FailureChoice::retry)
                continue;
            return target_.leave_out(item, error);
        }
    }
    walked_folder_ = opened_source_folder_;
    if (come_to(item, opened_source_folder_->get()))
        copy_contents_of_folder(opened_source_folder_->get(), name, item);
}

/// Copies the contents of the latest folder.
void TransferCopy::copy_contents_of_folder(int parent, const std::string& name, const CopyItem& top)
{
    for (;;) {
        OpenFolder folder = open_folder(parent, name.c_str());
        if (folder.error == 0)
            return copy_contents(std::move(folder), top);
        if (!is_tried_again(top, platform_error(folder.error, top.url)))
            return;
    }
}

/// Many sources lie in one folder; it is opened once.
void TransferCopy::open_folder_of(const Url& source)
{
    const Url folder = source.deleting_last_path_component();
    if (source_folder_ == folder)
        return;
    take_all(); // the rows of another folder
    const Place place = Place::of(folder);
    FileDescriptor opened(::openat(place.folder(), place.name(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!opened)
        throw platform_error(errno, source);
    opened_source_folder_ = std::make_shared<FileDescriptor>(std::move(opened));
    source_folder_ = folder;
    target_.come_from(folder);
}

/// Copies the item in the open folder, now or later. True if it is a folder whose contents may
/// follow.
bool TransferCopy::come_to(CopyItem item, int folder)
{
    if (item.is_link() && run_.plan.policy.links == TransferPolicy::Links::follow) {
        follow(std::move(item));
        return false;
    }
    const std::optional<ItemFacts> there = seen_at_destination(item);
    const bool is_folder = item.is_folder();
    if (!there && can_go_ahead() && keep_open(folder)) {
        go_ahead(std::move(item));
        return is_folder;
    }
    take_all();
    const SourceItem source = source_item(folder, item);
    return target_.handle(std::move(item), source, there);
}

/// The item at the destination of the item. The copy will meet a failed look again.
std::optional<ItemFacts> TransferCopy::seen_at_destination(const CopyItem& item) const
{
    if (is_in_new_folder())
        return std::nullopt;
    try {
        return target_.facts_at_destination(item);
    } catch (const Error&) {
        return std::nullopt;
    }
}

void TransferCopy::copy_contents(OpenFolder folder, const CopyItem& top)
{
    walked_folder_.reset();
    const TreeWalkOptions options{
        .on_passed_over = [&](const Error& error) { come_to_unreadable(top, error); }};
    TreeWalk contents(std::move(folder), top.url, options);
    walk(contents, top);
}

void TransferCopy::walk(TreeWalk& walk, const CopyItem& top)
{
    for (;;) {
        switch (walk.next()) {
        case TreeWalk::Event::item:
            come_to_item(walk, top);
            break;
        case TreeWalk::Event::entered:
            come_to_contents(walk);
            break;
        case TreeWalk::Event::left:
            come_to_end(walk);
            break;
        case TreeWalk::Event::end:
            return;
        }
    }
}

void TransferCopy::come_to_item(TreeWalk& walk, const CopyItem& top)
{
    const std::string name = walk.name();
    CopyItem item{top.source,  false, walk.path(),
                  name,        name,  top.path + "/" + walk.relative_path(),
                  walk.facts()};
    const Error* refusal = run_.refusal_of(item.url);
    if (refusal)
        target_.leave_out(item, *refusal);
    const bool is_skipped =
        refusal || (name.starts_with('.') && is_left_out(source_item(walk.folder(), item)));
    if (is_skipped || !come_to(std::move(item), walk.folder()))
        walk.skip_contents();
}

void TransferCopy::come_to_contents(const TreeWalk& walk)
{
    walked_folder_.reset();
    const bool is_waiting = !steps_.empty();
    walked_.push_back({identity_of(walk.facts()), is_waiting || target_.is_entry_new()});
    if (is_waiting)
        return add(EntryAhead{});
    if (!is_in_new_folder())
        building_folder_.reset();
    target_.enter();
}

void TransferCopy::come_to_end(const TreeWalk& walk)
{
    const bool was_new = is_in_new_folder();
    walked_.pop_back();
    if (was_new && can_go_ahead() && keep_open(walk.folder())) {
        add(EndAhead{std::exchange(walked_folder_, {})});
        if (!is_in_new_folder())
            take_all(); // from here on, the items of the destination are looked at
        return;
    }
    walked_folder_.reset();
    take_all();
    target_.leave(walk.folder());
    if (!was_new)
        building_folder_.reset();
}

/// Settles the fate of an unreadable folder in the source. If it becomes readable, a walk of its
/// own copies its contents.
void TransferCopy::come_to_unreadable(const CopyItem& top, const Error& error)
{
    CopyItem folder = top;
    folder.url = error.path().value_or(top.url);
    folder.is_source = folder.url == top.url;
    if (const auto below = relative_path(folder.url, top.url); below && !below->empty())
        folder.path += "/" + *below;
    if (!is_tried_again(folder, error) || folder.is_source)
        return;
    const Place place = Place::in_opened_folder(folder.url);
    copy_contents_of_folder(place.folder(), place.path, folder);
}

/// Settles the fate of an unreadable folder after its turn.
bool TransferCopy::is_tried_again(const CopyItem& folder, const Error& error)
{
    take_all();
    if (run_.questions.settle(folder.url, error) == FailureChoice::retry)
        return true;
    target_.give_up_folder();
    target_.leave_out(folder, error);
    return false;
}

/// Copies the link's target in the link's place.
void TransferCopy::follow(CopyItem link)
{
    take_all();
    const Url target = link.url.resolving_symlinks();
    for (;;) {
        try {
            const Place place = Place::in_opened_folder(target);
            link.facts = item_facts(place.folder(), place.name(), target);
            check_leads_elsewhere(link);
            CopyItem item = link;
            item.name = place.path;
            const SourceItem source{place.folder(), place.path, link.url};
            if (target_.handle(item, source, seen_at_destination(item)))
                copy_contents_of_folder(place.folder(), place.path, item);
            return;
        } catch (const Error& error) {
            if (run_.questions.settle(link.url, error) == FailureChoice::retry)
                continue;
            return target_.leave_out(link, error);
        }
    }
}

/// Refuses a link back to a folder around the walk: it would never end.
void TransferCopy::check_leads_elsewhere(const CopyItem& link) const
{
    const Identity target = identity_of(link.facts);
    const bool leads_back = std::ranges::any_of(
        walked_, [&](const Walked& folder) { return folder.identity == target; });
    if (leads_back || link.is_link())
        throw platform_error(ELOOP, link.url);
}

bool TransferCopy::can_go_ahead() const
{
    return target_.can_build() && !intr_test_mode();
}

/// Keeps the walk's current folder open, if possible.
bool TransferCopy::keep_open(int folder)
{
    if (walked_folder_)
        return true;
    FileDescriptor opened = opened_again(folder);
    if (opened)
        walked_folder_ = std::make_shared<FileDescriptor>(std::move(opened));
    return walked_folder_ != nullptr;
}

void TransferCopy::go_ahead(CopyItem item)
{
    if (!building_folder_)
        building_folder_ = std::make_shared<FileDescriptor>(opened_again(target_.innermost().fd));
    const bool is_built = item.is_file() && item.size() < large_file_size && *building_folder_;
    if (is_built)
        files_ahead_.add(source_item(walked_folder_->get(), item),
                         {{building_folder_->get(), run_.folder}, item.new_name});
    add(ItemAhead{std::move(item), walked_folder_, is_built});
}

void TransferCopy::add(StepAhead step)
{
    if (steps_.size() >= steps_ahead_)
        take_next();
    steps_.push_back(std::move(step));
}

void TransferCopy::take_next()
{
    StepAhead next = std::move(steps_.front());
    steps_.pop_front();
    match(
        next, [this](ItemAhead& ahead) { take(ahead); },
        [this](const EntryAhead&) { target_.enter(); },
        [this](const EndAhead& end) { target_.leave(end.folder->get()); });
}

void TransferCopy::take_all()
{
    while (!steps_.empty())
        take_next();
}

void TransferCopy::take(ItemAhead& ahead)
{
    const SourceItem source = source_item(ahead.folder->get(), ahead.item);
    target_.handle(std::move(ahead.item), source, {}, ahead.is_built ? &files_ahead_ : nullptr);
}

} // namespace orv
