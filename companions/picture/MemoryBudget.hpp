#pragma once

#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <stop_token>

namespace orv::picture {

/// The memory several helpers may take together for their current files.
///
/// Threading: any.
/// Units: bytes.
class MemoryBudget {
public:
    explicit MemoryBudget(std::uint64_t total) : total_(total) {}
    MemoryBudget(const MemoryBudget&) = delete;
    MemoryBudget& operator=(const MemoryBudget&) = delete;

    /// The budget of all helpers of this process: a quarter of the machine's memory, at most 2 GiB.
    static MemoryBudget& of_all_helpers();

    /// A part of the budget, given back at the end of its life.
    class Share {
    public:
        /// Waits until as much is free; those who came before get theirs first. Nobody gets more
        /// than there is in all.
        ///
        /// Cancel: `stop` ends the waiting at once, with an `Exception`.
        Share(MemoryBudget& budget, std::uint64_t wanted, const std::stop_token& stop);
        ~Share();
        Share(const Share&) = delete;
        Share& operator=(const Share&) = delete;

        [[nodiscard]] std::uint64_t size() const { return size_; }
        [[nodiscard]] bool is_all() const { return size_ == budget_.total_; }

    private:
        MemoryBudget& budget_;
        std::uint64_t size_;
    };

private:
    const std::uint64_t total_;
    std::mutex mutex_;
    std::condition_variable_any changed_;
    std::uint64_t taken_ = 0;
    std::list<const Share*> waiting_; ///< in order of arrival
};

} // namespace orv::picture
