#pragma once

#include <orv/Operations/Failure.hpp>
#include <orv/Operations/Progress.hpp>
#include <orv/utility/Url.hpp>

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

namespace orv {

/// A request's progress so far.
///
/// Threading: the worker of the request writes, any thread reads.
class Tally {
public:
    /// Sets the totals; -1 if unknown. The first call knows the whole request, and later ones from
    /// its parts have no effect.
    void expect(std::int64_t bytes, std::int64_t items)
    {
        if (is_expected_)
            return;
        is_expected_ = true;
        bytes_.set_total(bytes);
        items_.set_total(items);
    }

    void add_bytes(std::int64_t count) { bytes_.add(count); }
    void add_items(std::int64_t count) { items_.add(count); }

    /// Adds a requested item as done.
    void add_result(Url url)
    {
        const std::lock_guard lock(mutex_);
        results_.push_back(std::move(url));
    }

    /// The same for an item done in one step; counts it, too.
    void add_done(Url url)
    {
        expect(-1, 1);
        add_items(1);
        add_result(std::move(url));
    }

    /// Forgets the results after an undo.
    void clear_results()
    {
        const std::lock_guard lock(mutex_);
        results_.clear();
    }

    void add_failure(Failure failure)
    {
        const std::lock_guard lock(mutex_);
        failures_.push_back(std::move(failure));
    }

    [[nodiscard]] Amount amount() const
    {
        Amount amount;
        bytes_.read(amount.bytes_done, amount.bytes_total);
        items_.read(amount.items_done, amount.items_total);
        return amount;
    }

    [[nodiscard]] std::vector<Url> results() const
    {
        const std::lock_guard lock(mutex_);
        return results_;
    }

    [[nodiscard]] std::vector<Failure> failures() const
    {
        const std::lock_guard lock(mutex_);
        return failures_;
    }

private:
    /// One writer, so plain loads and stores count: they cost nothing beside any system call.
    class Count {
    public:
        void add(std::int64_t count)
        {
            const std::int64_t before = done_.load(std::memory_order_relaxed);
            done_.store(std::max<std::int64_t>(before, 0) + count, std::memory_order_relaxed);
        }

        void set_total(std::int64_t total)
        {
            if (total < 0)
                return;
            add(0);
            total_.store(total, std::memory_order_relaxed);
        }

        void read(std::int64_t& done, std::int64_t& total) const
        {
            done = done_.load(std::memory_order_relaxed);
            total = total_.load(std::memory_order_relaxed);
            if (total >= 0) // items added meanwhile
                total = std::max(done, total);
        }

    private:
        std::atomic<std::int64_t> done_ = -1;
        std::atomic<std::int64_t> total_ = -1;
    };

    bool is_expected_ = false; // the worker's alone
    Count bytes_;
    Count items_;
    mutable std::mutex mutex_;
    std::vector<Url> results_;
    std::vector<Failure> failures_;
};

/// Counts the running sums of a part of a request. Repeated work counts once.
class RunningSums {
public:
    explicit RunningSums(Tally& tally) : tally_(tally) {}

    void bytes_up_to(std::int64_t done) { tally_.add_bytes(new_part(bytes_, done)); }
    void items_up_to(std::int64_t done) { tally_.add_items(new_part(items_, done)); }

private:
    static std::int64_t new_part(std::int64_t& counted, std::int64_t done)
    {
        const std::int64_t before = std::exchange(counted, std::max(counted, done));
        return counted - before;
    }

    Tally& tally_;
    std::int64_t bytes_ = 0;
    std::int64_t items_ = 0;
};

} // namespace orv
