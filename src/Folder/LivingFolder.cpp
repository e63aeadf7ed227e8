#include "Folder/LivingFolder.hpp"

#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/FolderChecks.hpp"
#include "Tool/WalkedFolder.hpp"
#include "files/FolderReader.hpp"
#include "files/Place.hpp"
#include "utility/DescriptorLease.hpp"
#include "utility/WorkerPool.hpp"

#include <algorithm>
#include <cerrno>
#include <span>

#include <fcntl.h>
#include <unistd.h>

namespace orv {
namespace {

constexpr ErrorPlace folder_place{"src/Folder/LivingFolder",
                                  "OrvFolder(url:sort:options:status_closure:)"};

/// Rest after a comparison, as a multiple of its time.
constexpr int rests_of_comparison = 19;

bool is_want_of_means(const Error& error)
{
    return error.code() == EMFILE || error.code() == ENFILE || error.code() == ENOMEM;
}

/// Another item stands at the folder's place, or a link leads there.
Error other_folder(const Url& url)
{
    return folder_place("The folder was moved or replaced.").at(url);
}

std::optional<struct statx> facts_of(int folder, const char* name)
{
    struct statx facts {};
    if (::statx(folder, name, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT,
                item_facts_mask | STATX_INO | STATX_NLINK, &facts) == 0)
        return facts;
    if (errno == EMFILE || errno == ENFILE || errno == ENOMEM)
        throw platform_error(errno, {});
    return std::nullopt;
}

} // namespace

LivingFolder::LivingFolder(Url url, SortType sort, OrvFolder::Options options,
                           OrvFolder::StatusClosure closure)
    : url_(std::move(url)), is_recursive_(options.recursive),
      outlet_(std::make_shared<StatusOutlet>(std::move(closure))), sort_(sort),
      include_hidden_files_(options.include_hidden_files)
{
}

void LivingFolder::start()
{
    schedule([](Task& task) { task.lists = true; });
}

void LivingFolder::end()
{
    outlet_->close();
    schedule([](Task& task) { task.looks = true; }); // ends the watch
}

bool LivingFolder::include_hidden_files()
{
    const std::lock_guard lock(mutex_);
    return include_hidden_files_;
}

void LivingFolder::set_include_hidden_files(bool include)
{
    schedule([&](Task& task) {
        task.compares = task.compares || include_hidden_files_ != include;
        include_hidden_files_ = include;
    });
}

SortType LivingFolder::sort()
{
    const std::lock_guard lock(mutex_);
    return sort_;
}

void LivingFolder::set_sort(SortType sort)
{
    const std::lock_guard lock(mutex_);
    sort_ = sort;
}

void LivingFolder::take(const FolderNotice& notice)
{
    schedule([&](Task& task) {
        task.looks = true;
        task.is_due = task.is_due || notice.is_time_to_look();
        task.was_moved = task.was_moved || notice.has_ended;
        task.overflowed = task.overflowed || notice.is_incomplete;
        task.names.insert(notice.names.begin(), notice.names.end());
        for (const auto& [from, to] : notice.renamings)
            task.former_names[to] = from;
    });
}

/// Adds to the work, and gets it started.
void LivingFolder::schedule(FunctionRef<void(Task&)> change)
{
    {
        const std::lock_guard lock(mutex_);
        change(task_);
        if (std::exchange(is_at_work_, true))
            return;
    }
    const auto refused = [this] {
        const std::lock_guard lock(mutex_);
        is_at_work_ = false; // the next notice tries again
        return task_.lists;
    };
    WorkerPool::instance().async([self = shared_from_this()] { self->work(); },
                                 [self = shared_from_this(), refused] {
                                     if (refused())
                                         self->post_gone(no_thread_error());
                                 });
}

void LivingFolder::work()
{
    while (const std::optional<Task> task = next_task()) {
        if (outlet_->is_closed()) {
            watch_.reset();
            snapshot_.reset();
            continue;
        }
        try {
            carry_out(*task);
        } catch (const Exception&) {
            watch_.reset();
        } catch (const Error& error) {
            if (!task->lists && is_want_of_means(error))
                is_outdated_ = true;
            else
                post_gone(error);
        } catch (const std::exception& error) {
            post_gone(Error(error.what()));
        }
    }
}

std::optional<LivingFolder::Task> LivingFolder::next_task()
{
    const std::lock_guard lock(mutex_);
    shows_hidden_ = include_hidden_files_;
    const bool is_something =
        task_.lists || task_.compares || task_.looks || task_.overflowed || !task_.names.empty();
    is_at_work_ = is_something;
    return is_something ? std::optional(std::exchange(task_, {})) : std::nullopt;
}

void LivingFolder::carry_out(const Task& task)
{
    if (task.lists && is_recursive_)
        list_tree();
    else if (task.lists)
        list();
    else if (snapshot_)
        make_round(task);
}

void LivingFolder::list()
{
    check_is_folder(url_, folder_place("No item exists at given url."),
                    folder_place("Given url must point to a folder."));
    const OpenFolder folder = opened();
    root_facts_ = folder.facts;
    item_folder_ = {url_, url_.resolving_symlinks(), "", 1};
    // FUSE and network volumes may number items anew.
    has_lasting_identities_ =
        reach_on_volume_of(folder.descriptor.get()) == FolderWatch::Reach::all_changes;
    snapshot_.emplace(has_lasting_identities_);
    ItemBatches batches(*outlet_, [this] { return sort(); });
    Task listed_early;
    listed_early.names = list_some(folder.descriptor.get(), batches);
    watch(folder.descriptor.get()); // before the rest is read, to miss no change
    look_at(folder, listed_early);
    for_each_entry(folder.descriptor.get(), [&](const char* name, const struct statx& facts) {
        if (snapshot_->add(name, facts))
            batches.add(file_item(item_folder_, name, facts));
        return true;
    });
    batches.flush();
    outlet_->post(OrvFolder::complete());
}

/// Lists as many items as a window shows, and returns their names. For a watch on a large folder,
/// the kernel marks all cached entries of it: some 30 ms for 100,000.
std::unordered_set<std::string> LivingFolder::list_some(int folder, ItemBatches& batches)
{
    constexpr std::size_t some = 64;
    std::unordered_set<std::string> names;
    for_each_entry(folder, [&](const char* name, const struct statx& facts) {
        if (snapshot_->add(name, facts) && names.insert(name).second)
            batches.add(file_item(item_folder_, name, facts));
        return names.size() < some;
    });
    batches.flush();
    if (::lseek(folder, 0, SEEK_SET) != 0)
        throw platform_error(errno, url_);
    return names;
}

void LivingFolder::list_tree()
{
    check_is_folder(url_, folder_place("No item exists at given url."),
                    folder_place("Given url must point to a folder."));
    const auto descriptors = DescriptorTurn(needed_by_walk).wait();
    TreeWalkOptions options;
    options.include_hidden_files = shows_hidden_;
    TreeWalk walk = item_walk(url_, options);
    const Url resolved_root = url_.resolving_symlinks();
    ItemBatches batches(*outlet_, [this] { return sort(); });
    std::optional<ItemFolder> folder;
    for (auto event = walk.next(); event != TreeWalk::Event::end; event = walk.next()) {
        if (outlet_->is_closed())
            return;
        if (event != TreeWalk::Event::item) {
            folder.reset();
            continue;
        }
        if (!folder)
            folder = orv::item_folder(walk, resolved_root);
        batches.add(file_item(*folder, walk.name(), walk.facts()));
    }
    batches.flush();
    outlet_->post(OrvFolder::complete());
}

/// Makes the list true again.
void LivingFolder::make_round(const Task& task)
{
    const OpenFolder folder = opened();
    check_is_the_same(folder, task);
    if (task.overflowed)
        outlet_->post(OrvFolder::compared{
            Error("The folder is being compared, because more changed at once than the system "
                  "could tell."),
            false});
    const bool is_due =
        task.is_due && (compares_now_and_then_ || is_in_doubt_) && Clock::now() >= next_comparison_;
    if (task.compares || task.overflowed || task.was_moved || is_outdated_ || is_due)
        compare(folder, task);
    else if (!task.names.empty())
        look_at(folder, task);
}

void LivingFolder::compare(const OpenFolder& folder, const Task& task)
{
    const auto start = Clock::now();
    std::vector<Sighting> sightings;
    for_each_entry(folder.descriptor.get(), [&](const char* name, const struct statx& facts) {
        if (!snapshot_->is_as_told(name, facts))
            sightings.push_back({name, facts});
        return true;
    });
    for (std::string& name : snapshot_->take_unseen())
        sightings.push_back({std::move(name), std::nullopt});
    is_outdated_ = false;
    is_in_doubt_ = false;
    post(snapshot_->update(sightings, task.former_names), sightings);
    const auto end = Clock::now();
    next_comparison_ = end + rests_of_comparison * (end - start);
}

void LivingFolder::look_at(const OpenFolder& folder, const Task& task)
{
    std::vector<Sighting> sightings;
    sightings.reserve(task.names.size());
    const auto see = [&](const std::string& name) {
        sightings.push_back({name, facts_of(folder.descriptor.get(), name.c_str())});
        // It came and went, and may have been another name of a changed item.
        if (!sightings.back().facts && !snapshot_->knows(name))
            is_in_doubt_ = true;
    };
    for (const std::string& name : task.names)
        if (is_shown(name))
            see(name);
    for (const std::string& name : snapshot_->further_names(sightings))
        see(name);
    post(snapshot_->update(sightings, task.former_names), sightings);
}

OpenFolder LivingFolder::opened() const
{
    const Place place = Place::of(url_);
    OpenFolder folder = open_folder_following_links(place.folder(), place.name());
    if (folder.error != 0)
        throw platform_error(folder.error, url_);
    return folder;
}

void LivingFolder::watch(int folder)
{
    watch_.reset();
    watch_ = std::make_unique<FolderWatch>(folder,
                                           [living = weak_from_this()](const FolderNotice& notice) {
                                               if (const auto self = living.lock())
                                                   self->take(notice);
                                           });
    const bool watched_before = !compares_now_and_then_;
    compares_now_and_then_ = watch_->reach() != FolderWatch::Reach::all_changes;
    if (compares_now_and_then_ && watched_before)
        tell_reach(watch_->reach());
}

void LivingFolder::tell_reach(FolderWatch::Reach reach)
{
    const char* reason =
        reach == FolderWatch::Reach::local_changes
            ? "The folder is looked at every few seconds, because its volume doesn't tell of "
              "changes that are made elsewhere."
            : "The folder is looked at every few seconds, because the system watches no more "
              "folders. Raise \"fs.inotify.max_user_watches\" to change that.";
    outlet_->post(OrvFolder::compared{Error(reason).at(url_), true});
}

/// Refuses another folder at the location, and a link there to the old one.
void LivingFolder::check_is_the_same(const OpenFolder& folder, const Task& task)
{
    const bool has_other_birth = folder.facts.stx_btime.tv_sec != root_facts_.stx_btime.tv_sec ||
                                 folder.facts.stx_btime.tv_nsec != root_facts_.stx_btime.tv_nsec;
    if (has_lasting_identities_ &&
        (folder.identity() != identity_of(root_facts_) || has_other_birth))
        throw other_folder(url_);
    if (!task.was_moved)
        return;
    if (url_.resolving_symlinks() != item_folder_.resolved_url)
        throw other_folder(url_);
    watch(folder.descriptor.get()); // it moved away and back
}

/// Hands over the entries of the open folder until `use` returns false. Leaves out entries that
/// vanish meanwhile.
void LivingFolder::for_each_entry(int folder,
                                  FunctionRef<bool(const char*, const struct statx&)> use)
{
    FolderReader reader(std::make_unique_for_overwrite<std::byte[]>(FolderReader::buffer_bytes));
    while (const auto entry = reader.next(folder)) {
        if (outlet_->is_closed())
            throw Exception();
        if (!is_shown(entry->name))
            continue;
        const auto facts = facts_of(folder, entry->name);
        if (facts && !use(entry->name, *facts))
            return;
    }
    if (reader.error() != 0)
        throw platform_error(reader.error(), url_);
}

bool LivingFolder::is_shown(std::string_view name) const
{
    return shows_hidden_ || !name.starts_with('.');
}

/// Sends changes off, as many at a time as a status may carry.
void LivingFolder::post(const FolderChanges& changes, const std::vector<Sighting>& sightings)
{
    const auto in_batches = [](const auto& all, const auto& send) {
        for (std::size_t at = 0; at < all.size(); at += most_items_in_batch)
            send(std::span(all).subspan(at, std::min(most_items_in_batch, all.size() - at)));
    };
    const auto items_of = [&](const auto& batch, const auto& place_of) {
        std::vector<FileItem> items;
        items.reserve(batch.size());
        for (const auto& element : batch) {
            const Sighting& sighting = sightings[place_of(element)];
            items.push_back(file_item(item_folder_, sighting.name, *sighting.facts));
        }
        load_all_custom_attrs(items);
        return items;
    };
    const auto itself = [](std::size_t place) { return place; };

    in_batches(changes.removed, [&](auto batch) {
        outlet_->post(OrvFolder::removed{{batch.begin(), batch.end()}});
    });
    in_batches(changes.renamed, [&](auto batch) {
        std::vector<FileItem> items =
            items_of(batch, [](const FolderChanges::Renaming& renaming) { return renaming.item; });
        OrvFolder::renamed status;
        for (std::size_t i = 0; i < batch.size(); ++i)
            status.items.push_back({batch[i].from, std::move(items[i])});
        outlet_->post(std::move(status));
    });
    in_batches(changes.changed,
               [&](auto batch) { outlet_->post(OrvFolder::changed{items_of(batch, itself)}); });
    ItemBatches batches(*outlet_, [this] { return sort(); });
    for (const std::size_t place : changes.added)
        batches.add(file_item(item_folder_, sightings[place].name, *sightings[place].facts));
    batches.flush();
}

void LivingFolder::post_gone(const Error& error)
{
    watch_.reset();
    snapshot_.reset();
    outlet_->post(OrvFolder::gone{error.path() ? error : error.at(url_)});
}

} // namespace orv
