#pragma once

#include "Folder/FolderSnapshot.hpp"
#include "Folder/ItemBatches.hpp"
#include "Folder/StatusOutlet.hpp"
#include "Misc/FileItem.hpp"
#include "files/FolderWatch.hpp"
#include "files/OpenFolder.hpp"

#include <orv/Folder/OrvFolder.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace orv {

/// The work behind a folder on display: lists it, then makes a round after every change. The rounds
/// run on the worker pool, one at a time. Between them it holds no thread and no descriptor.
class LivingFolder : public std::enable_shared_from_this<LivingFolder> {
public:
    LivingFolder(Url url, SortType sort, OrvFolder::Options options,
                 OrvFolder::StatusClosure closure);

    void start();

    /// Threading: main thread.
    void end();

    /// Threading: any.
    [[nodiscard]] const Url& url() const { return url_; }
    [[nodiscard]] bool include_hidden_files();
    void set_include_hidden_files(bool include);
    [[nodiscard]] SortType sort();
    void set_sort(SortType sort);

private:
    using Clock = std::chrono::steady_clock;

    /// The work of the next round.
    struct Task {
        bool lists = false;
        bool compares = false;
        bool looks = false;  ///< true to check that the folder is still there
        bool is_due = false; ///< it is time to look again
        bool was_moved = false;
        bool overflowed = false;
        std::unordered_set<std::string> names;
        std::unordered_map<std::string, std::string> former_names;
    };

    void take(const FolderNotice& notice);
    void schedule(FunctionRef<void(Task&)> change);
    void work();
    std::optional<Task> next_task();

    void carry_out(const Task& task);
    void list();
    std::unordered_set<std::string> list_some(int folder, ItemBatches& batches);
    void list_tree();
    void make_round(const Task& task);
    void compare(const OpenFolder& folder, const Task& task);
    void look_at(const OpenFolder& folder, const Task& task);

    [[nodiscard]] OpenFolder opened() const;
    void watch(int folder);
    void tell_reach(FolderWatch::Reach reach);
    void check_is_the_same(const OpenFolder& folder, const Task& task);
    void for_each_entry(int folder, FunctionRef<bool(const char*, const struct statx&)> use);
    [[nodiscard]] bool is_shown(std::string_view name) const;

    void post(const FolderChanges& changes, const std::vector<Sighting>& sightings);
    void post_gone(const Error& error);

    const Url url_;
    const bool is_recursive_;
    const std::shared_ptr<StatusOutlet> outlet_;

    std::mutex mutex_; // guards the members below
    SortType sort_;
    bool include_hidden_files_;
    Task task_;
    bool is_at_work_ = false;

    // Of the round at work.
    ItemFolder item_folder_;
    struct statx root_facts_ = {};
    bool has_lasting_identities_ = true;
    bool shows_hidden_ = false;
    std::optional<FolderSnapshot> snapshot_;
    std::unique_ptr<FolderWatch> watch_;
    bool compares_now_and_then_ = false;
    bool is_outdated_ = false; ///< a round failed for want of descriptors or memory
    bool is_in_doubt_ = false; ///< a change may have left no trace
    Clock::time_point next_comparison_ = {};
};

} // namespace orv
