#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace orv {

/// The changes in a watched folder. An empty notice says that it is time to look again.
struct FolderNotice {
    struct Renaming {
        std::string from;
        std::string to;
    };

    /// The entries that were added, removed or changed; some may be named more than once.
    std::vector<std::string> names;
    /// Those of them that were renamed within the folder.
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

/// Tells of changes in one folder, made by any program, for as long as it lives. Knows nothing of
/// what is in the folder below the names.
///
/// All folders share one thread, `orv-watcher`, and several watches of one folder cost the kernel
/// one. The thread ends some seconds after the last watch.
///
/// Threading: any.
class FolderWatch {
public:
    /// Is called on the watching thread and has to return soon. It may make and end watches. A call
    /// may still be under way after the watch has ended.
    using Listener = std::function<void(const FolderNotice&)>;

    /// Which changes the kernel tells of: all, those made on this computer (on network and FUSE
    /// volumes), or none.
    enum class Reach { all_changes, local_changes, no_changes };

    /// Watches the folder that is open as `folder`. Where the kernel's limits on watches are
    /// reached, it only tells when it is time to look again.
    ///
    /// Errors: the platform's, when no thread can be started.
    FolderWatch(int folder, Listener listener);
    ~FolderWatch();
    FolderWatch(const FolderWatch&) = delete;
    FolderWatch& operator=(const FolderWatch&) = delete;

    [[nodiscard]] Reach reach() const;

    /// What bounds watching.
    struct Bounds {
        /// Folders that are watched at once, beside the kernel's own limit.
        std::size_t watches = SIZE_MAX;
        /// The time between two notices that tell to look again.
        std::chrono::milliseconds look_interval{2000};
    };

    /// For tests: takes effect at the next watch.
    static void set_bounds(const Bounds& bounds);

private:
    friend class FolderWatcher;
    struct Subscription;
    std::unique_ptr<Subscription> subscription_;
};

/// Which changes the kernel can tell of on the volume of the open folder.
[[nodiscard]] FolderWatch::Reach reach_on_volume_of(int folder);

} // namespace orv
