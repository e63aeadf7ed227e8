#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orv {

/// The changes in a watched folder. An empty notice means it is time to look again.
struct FolderNotice {
    struct Renaming {
        std::string from;
        std::string to;
    };

    /// The added, removed and changed entries; a name may come more than once.
    std::vector<std::string> names;
    /// The entries renamed within the folder.
    std::vector<Renaming> renamings;
    /// Some changes were lost: anything in the folder may have changed.
    bool is_incomplete = false;
    /// The folder itself was deleted, moved or unmounted.
    bool has_ended = false;

    [[nodiscard]] bool is_time_to_look() const
    {
        return names.empty() && !is_incomplete && !has_ended;
    }
};

/// Reports changes in one folder, by any program, during its lifetime. Knows names only, and
/// nothing of the items behind them.
///
/// All folders share one thread, `orv-watcher`, and several watches of one folder cost the kernel
/// one. The thread ends some seconds after the last watch.
///
/// Threading: any.
class FolderWatch {
public:
    /// Called on the watching thread; must return soon. It may make and end watches. A call may
    /// still run after the end of the watch.
    using Listener = std::function<void(const FolderNotice&)>;

    /// The changes the kernel reports: all, those of this computer (on network and FUSE volumes),
    /// or none.
    enum class Reach { all_changes, local_changes, no_changes };

    /// Watches the folder open as `folder`. Beyond the kernel's limits on watches, it only reports
    /// times to look again.
    ///
    /// Errors: the platform's, if no thread starts.
    FolderWatch(int folder, Listener listener);
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    [[nodiscard]] Reach reach() const;

    /// The bounds of watching.
    struct Bounds {
        /// Folders watched at once, beside the kernel's own limit.
        std::size_t watches = SIZE_MAX;
        /// The time between two notices to look again.
        std::chrono::milliseconds look_interval{2000};
    };

    /// For tests: takes effect at the next watch.
    static void set_bounds(const Bounds& bounds);

private:
    friend class FolderWatcher;
    struct Subscription;
    std::unique_ptr<Subscription> subscription_;
};

/// The changes the kernel can report on the volume of the open folder.
[[nodiscard]] FolderWatch::Reach reach_on_volume_of(int folder);

} // namespace orv
