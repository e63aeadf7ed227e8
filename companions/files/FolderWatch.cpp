#include "files/FolderWatch.hpp"

#include "utility/FileDescriptor.hpp"
#include "utility/SignalsBlocked.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <map>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <unordered_map>
#include <utility>

#include <linux/magic.h>
#include <poll.h>
#include <pthread.h>
#include <sys/inotify.h>
#include <sys/statfs.h>

namespace orv {
namespace {

using Clock = std::chrono::steady_clock;
using Milliseconds = std::chrono::milliseconds;

// During a stream of changes, the intervals between reads grow from the one to the other. The
// kernel's queue holds 16,384 changes, some 50 ms of one core's work.
constexpr Milliseconds shortest_pause(5);
constexpr Milliseconds longest_pause(20);
/// The kernel tells the two halves of a renaming one after the other; between them the queue may
/// seem empty.
constexpr Milliseconds wait_for_other_half(2);

// Those without a name in a header of the system: SMB 1 to 3, GFS2, GPFS, Lustre.
constexpr std::array<std::uint32_t, 15> remote_volumes{
    NFS_SUPER_MAGIC, SMB_SUPER_MAGIC,   CIFS_SUPER_MAGIC, SMB2_SUPER_MAGIC, FUSE_SUPER_MAGIC,
    AFS_SUPER_MAGIC, AFS_FS_MAGIC,      CODA_SUPER_MAGIC, CEPH_SUPER_MAGIC, V9FS_MAGIC,
    NCP_SUPER_MAGIC, OCFS2_SUPER_MAGIC, 0x01161970,       0x47504653,       0x0BD00BD0};
// The kernel generates their content during reads.
constexpr std::array<std::uint32_t, 4> made_up_volumes{PROC_SUPER_MAGIC, SYSFS_MAGIC,
                                                       CGROUP_SUPER_MAGIC, CGROUP2_SUPER_MAGIC};

constexpr std::uint32_t watched_events = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO |
                                         IN_MODIFY | IN_CLOSE_WRITE | IN_ATTRIB | IN_DELETE_SELF |
                                         IN_MOVE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;
constexpr std::uint32_t ending_events = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

int poll_timeout(Clock::duration duration)
{
    const auto left = std::chrono::ceil<Milliseconds>(duration).count();
    return static_cast<int>(std::max<std::int64_t>(left, 0));
}

bool has_events(int inotify, Clock::duration at_most)
{
    pollfd event{inotify, POLLIN, 0};
    return ::poll(&event, 1, poll_timeout(at_most)) > 0;
}

/// The notices of one read of the kernel's queue, by watch.
class QueuedNotices {
public:
    explicit QueuedNotices(int inotify)
    {
        read_all(inotify);
        if (!moved_from_.empty() && has_events(inotify, wait_for_other_half))
            read_all(inotify);
    }

    [[nodiscard]] const std::map<int, FolderNotice>& by_watch() const { return by_watch_; }

    /// The queue was full: changes in any folder may be lost.
    [[nodiscard]] bool overflowed() const { return overflowed_; }

private:
    struct MovedFrom {
        int watch;
        std::string name;
    };

    void read_all(int inotify)
    {
        std::array<std::byte, 64 * 1024> buffer;
        constexpr ssize_t largest_event = sizeof(inotify_event) + NAME_MAX + 1;
        ssize_t bytes = buffer.size();
        // A read with room to spare has emptied the queue; another one would only chase the writer.
        while (bytes > static_cast<ssize_t>(buffer.size()) - largest_event) {
            bytes = ::read(inotify, buffer.data(), buffer.size());
            for (const std::byte* at = buffer.data();
                 at < buffer.data() + std::max<ssize_t>(bytes, 0);) {
                inotify_event event{};
                std::memcpy(&event, at, sizeof event);
                const char* name =
                    static_cast<const char*>(static_cast<const void*>(at + sizeof event));
                take(event, event.len > 0 ? name : "");
                at += sizeof event + event.len;
            }
        }
    }

    void take(const inotify_event& event, std::string_view name)
    {
        if ((event.mask & IN_Q_OVERFLOW) != 0) {
            overflowed_ = true;
            return;
        }
        FolderNotice& notice = by_watch_[event.wd];
        notice.has_ended = notice.has_ended || (event.mask & ending_events) != 0;
        if (name.empty())
            return;
        if (notice.names.empty() || notice.names.back() != name)
            notice.names.emplace_back(name);
        if ((event.mask & IN_MOVED_FROM) != 0)
            moved_from_[event.cookie] = {event.wd, std::string(name)};
        else if ((event.mask & IN_MOVED_TO) != 0)
            pair_up(event, name, notice);
    }

    void pair_up(const inotify_event& event, std::string_view name, FolderNotice& notice)
    {
        const auto from = moved_from_.find(event.cookie);
        if (from == moved_from_.end())
            return;
        if (from->second.watch == event.wd)
            notice.renamings.push_back({std::move(from->second.name), std::string(name)});
        moved_from_.erase(from);
    }

    std::map<int, FolderNotice> by_watch_;
    std::unordered_map<std::uint32_t, MovedFrom> moved_from_; // by cookie
    bool overflowed_ = false;
};

} // namespace

struct FolderWatch::Subscription {
    explicit Subscription(Listener to_tell)
        : listener(std::make_shared<Listener>(std::move(to_tell)))
    {
    }

    std::shared_ptr<const Listener> listener;
    int watch = -1;
    Reach reach = Reach::no_changes;
};

/// The watches of the process, and the one thread that listens to the kernel.
class FolderWatcher {
public:
    using Subscription = FolderWatch::Subscription;
    using Reach = FolderWatch::Reach;

    // Never destroyed: its thread may run while the process ends.
    static FolderWatcher& instance()
    {
        static auto* the_watcher = new FolderWatcher;
        return *the_watcher;
    }

    void set_bounds(const FolderWatch::Bounds& bounds)
    {
        const std::lock_guard lock(mutex_);
        bounds_ = bounds;
    }

    void add(Subscription& subscription, int folder)
    {
        const std::lock_guard lock(mutex_);
        if (!is_running_)
            start();
        if (!inotify_)
            inotify_ = FileDescriptor(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
        watch(subscription, folder);
        subscriptions_.push_back(&subscription);
    }

    void remove(Subscription& subscription)
    {
        const std::lock_guard lock(mutex_);
        std::erase(subscriptions_, &subscription);
        const auto found = watched_.find(subscription.watch);
        if (found == watched_.end())
            return;
        std::erase(found->second, &subscription);
        if (!found->second.empty())
            return;
        ::inotify_rm_watch(inotify_.get(), subscription.watch);
        watched_.erase(found);
    }

private:
    using Listeners = std::vector<std::shared_ptr<const FolderWatch::Listener>>;

    void start()
    {
        const SignalsBlocked signals_blocked;
        try {
            std::thread([this] { run(); }).detach();
        } catch (const std::system_error& error) {
            throw platform_error(error.code().value(), {});
        }
        is_running_ = true;
    }

    void watch(Subscription& subscription, int folder)
    {
        const Reach reach = reach_on_volume_of(folder);
        if (reach == Reach::no_changes || !inotify_)
            return;
        const std::string path = "/proc/self/fd/" + std::to_string(folder);
        const int watch = ::inotify_add_watch(inotify_.get(), path.c_str(), watched_events);
        if (watch < 0)
            return;
        if (!watched_.contains(watch) && watched_.size() >= bounds_.watches) {
            ::inotify_rm_watch(inotify_.get(), watch);
            return;
        }
        watched_[watch].push_back(&subscription);
        subscription.watch = watch;
        subscription.reach = reach;
    }

    void run()
    {
        ::pthread_setname_np(::pthread_self(), "orv-watcher");
        Clock::time_point next_look = Clock::now() + bounds().look_interval;
        Milliseconds pause = shortest_pause;
        for (;;) {
            const int inotify = inotify_descriptor();
            if (has_events(inotify, next_look - Clock::now())) {
                tell(QueuedNotices(inotify));
                // Changes at the same time share a read, and one round of each listener.
                std::this_thread::sleep_for(pause);
                pause =
                    has_events(inotify, {}) ? std::min(2 * pause, longest_pause) : shortest_pause;
            }
            if (Clock::now() < next_look)
                continue;
            if (ends())
                return;
            tell_all({});
            next_look = Clock::now() + bounds().look_interval;
        }
    }

    /// Ends the thread's work when nobody listens.
    bool ends()
    {
        const std::lock_guard lock(mutex_);
        if (!subscriptions_.empty())
            return false;
        inotify_.reset();
        is_running_ = false;
        return true;
    }

    void tell(const QueuedNotices& queued)
    {
        for (const auto& [watch, notice] : queued.by_watch())
            for (const auto& listener : listeners_of(watch, notice.has_ended))
                (*listener)(notice);
        if (queued.overflowed()) {
            FolderNotice incomplete;
            incomplete.is_incomplete = true;
            tell_all(incomplete);
        }
    }

    void tell_all(const FolderNotice& notice)
    {
        Listeners listeners;
        {
            const std::lock_guard lock(mutex_);
            for (const Subscription* subscription : subscriptions_)
                listeners.push_back(subscription->listener);
        }
        for (const auto& listener : listeners)
            (*listener)(notice);
    }

    /// The listeners to `watch`; called without the lock.
    Listeners listeners_of(int watch, bool has_ended)
    {
        const std::lock_guard lock(mutex_);
        const auto found = watched_.find(watch);
        if (found == watched_.end())
            return {};
        Listeners listeners;
        for (const Subscription* subscription : found->second)
            listeners.push_back(subscription->listener);
        if (has_ended)
            stop_watching(found->second, watch);
        return listeners;
    }

    void stop_watching(const std::vector<Subscription*>& subscriptions, int watch)
    {
        for (Subscription* subscription : subscriptions)
            subscription->watch = -1;
        ::inotify_rm_watch(inotify_.get(), watch); // the kernel may have done so
        watched_.erase(watch);
    }

    int inotify_descriptor()
    {
        const std::lock_guard lock(mutex_);
        return inotify_.get();
    }

    FolderWatch::Bounds bounds()
    {
        const std::lock_guard lock(mutex_);
        return bounds_;
    }

    std::mutex mutex_;
    FolderWatch::Bounds bounds_;
    bool is_running_ = false;
    FileDescriptor inotify_;
    std::vector<Subscription*> subscriptions_;
    std::unordered_map<int, std::vector<Subscription*>> watched_; // by the kernel's number
};

FolderWatch::FolderWatch(int folder, Listener listener)
    : subscription_(std::make_unique<Subscription>(std::move(listener)))
{
    FolderWatcher::instance().add(*subscription_, folder);
}

FolderWatch::~FolderWatch()
{
    FolderWatcher::instance().remove(*subscription_);
}

FolderWatch::Reach FolderWatch::reach() const
{
    return subscription_->reach;
}

void FolderWatch::set_bounds(const Bounds& bounds)
{
    FolderWatcher::instance().set_bounds(bounds);
}

FolderWatch::Reach reach_on_volume_of(int folder)
{
    struct statfs volume {};
    if (::fstatfs(folder, &volume) != 0)
        return FolderWatch::Reach::no_changes;
    const auto is_one_of = [&](const auto& types) {
        return std::ranges::find(types, static_cast<std::uint32_t>(volume.f_type)) != types.end();
    };
    if (is_one_of(made_up_volumes))
        return FolderWatch::Reach::no_changes;
    return is_one_of(remote_volumes) ? FolderWatch::Reach::local_changes
                                     : FolderWatch::Reach::all_changes;
}

} // namespace orv
