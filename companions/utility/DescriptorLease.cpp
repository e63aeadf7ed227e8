#include "utility/DescriptorLease.hpp"

#include "utility/WorkerPool.hpp"

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <limits>
#include <mutex>

#include <sys/resource.h>

namespace orv {

struct DescriptorWaiter {
    explicit DescriptorWaiter(DescriptorNeed its_need) : need(its_need) {}

    DescriptorNeed need;
    std::condition_variable changed;
    int granted = 0;
    bool has_given_up = false;
};

namespace {

/// The descriptors all requests may open together. The limit may change at any time.
int budget()
{
    // Descriptors the library keeps open, and those of short work on some threads.
    constexpr rlim_t least_reserve = 24;
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY)
        return std::numeric_limits<int>::max();
    const rlim_t reserve = std::max(least_reserve, limit.rlim_cur / 4);
    const rlim_t left = limit.rlim_cur - std::min(reserve, limit.rlim_cur);
    return static_cast<int>(std::min<rlim_t>(left, std::numeric_limits<int>::max()));
}

/// The leases and the queue for them.
///
/// Threading: under its lock.
struct Leases {
    std::mutex mutex;
    int taken = 0;
    std::deque<DescriptorWaiter*> line;

    static Leases& instance()
    {
        static auto* leases = new Leases;
        return *leases;
    }

    /// The share for `need`; 0 if it has to wait. A share is at most a quarter of the rest, unless
    /// that is too little, to leave something for later requests.
    int take(DescriptorNeed need)
    {
        const int left = budget() - taken;
        if (taken > 0 && left < need.least)
            return 0;
        const int share = std::clamp(left / 4, need.least, need.most);
        taken += share;
        return share;
    }

    /// First come, first served: otherwise small needs could keep a large one waiting for ever.
    void serve_line()
    {
        while (!line.empty()) {
            DescriptorWaiter& first = *line.front();
            first.granted = take(first.need);
            if (first.granted == 0)
                return;
            line.pop_front();
            first.changed.notify_one();
        }
    }
};

} // namespace

std::optional<DescriptorLease> DescriptorLease::try_take(DescriptorNeed need)
{
    Leases& leases = Leases::instance();
    const std::lock_guard lock(leases.mutex);
    const int share = leases.line.empty() ? leases.take(need) : 0;
    return share == 0 ? std::nullopt : std::optional(DescriptorLease(share));
}

DescriptorLease::~DescriptorLease()
{
    if (count_ == 0)
        return;
    Leases& leases = Leases::instance();
    const std::lock_guard lock(leases.mutex);
    leases.taken -= count_;
    leases.serve_line();
}

DescriptorTurn::DescriptorTurn(DescriptorNeed need)
    : waiter_(std::make_unique<DescriptorWaiter>(need))
{
}

DescriptorTurn::~DescriptorTurn() = default;

std::optional<DescriptorLease> DescriptorTurn::wait()
{
    const WorkerPool::Blocked blocked(WorkerPool::Wait::brief);
    Leases& leases = Leases::instance();
    std::unique_lock lock(leases.mutex);
    leases.line.push_back(waiter_.get());
    leases.serve_line();
    waiter_->changed.wait(lock, [this] { return waiter_->granted > 0 || waiter_->has_given_up; });
    if (waiter_->granted > 0)
        return DescriptorLease(waiter_->granted);
    std::erase(leases.line, waiter_.get());
    leases.serve_line();
    return std::nullopt;
}

void DescriptorTurn::give_up()
{
    const std::lock_guard lock(Leases::instance().mutex);
    waiter_->has_given_up = true;
    waiter_->changed.notify_one();
}

} // namespace orv
