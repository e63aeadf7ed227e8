#include "picture/MemoryBudget.hpp"

#include <orv/utility/Error.hpp>

#include <algorithm>

#include <unistd.h>

namespace orv::picture {

MemoryBudget& MemoryBudget::of_all_helpers()
{
    static auto* budget = new MemoryBudget([] {
        constexpr std::uint64_t most = std::uint64_t{2} << 30;
        const auto pages = static_cast<std::uint64_t>(::sysconf(_SC_PHYS_PAGES));
        const auto page = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
        return std::min(pages * page / 4, most);
    }());
    return *budget;
}

MemoryBudget::Share::Share(MemoryBudget& budget, std::uint64_t wanted, const std::stop_token& stop)
    : budget_(budget), size_(std::min(wanted, budget.total_))
{
    std::unique_lock lock(budget_.mutex_);
    const auto place = budget_.waiting_.insert(budget_.waiting_.end(), this);
    const auto is_next = [&] {
        return budget_.waiting_.front() == this && budget_.taken_ + size_ <= budget_.total_;
    };
    const bool is_granted = budget_.changed_.wait(lock, stop, is_next) && !stop.stop_requested();
    budget_.waiting_.erase(place);
    // The next in the queue may have waited for this one alone.
    budget_.changed_.notify_all();
    if (!is_granted)
        throw Exception();
    budget_.taken_ += size_;
}

MemoryBudget::Share::~Share()
{
    const std::lock_guard lock(budget_.mutex_);
    budget_.taken_ -= size_;
    budget_.changed_.notify_all();
}

} // namespace orv::picture
