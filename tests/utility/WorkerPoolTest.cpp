#include "utility/WorkerPool.hpp"

#include "support/Limits.hpp"

#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <mutex>
#include <thread>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

const int most_at_once = std::max(4, 2 * static_cast<int>(std::thread::hardware_concurrency()));

/// A number that threads count up and wait for.
class Counter {
public:
    int add(int number = 1)
    {
        const std::lock_guard lock(mutex_);
        value_ += number;
        changed_.notify_all();
        return value_;
    }

    /// Says whether the number came to `value` within a minute.
    bool reaches(int value)
    {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::minutes(1), [&] { return value_ >= value; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    int value_ = 0;
};

TEST(WorkerPool, a_burst_of_tasks_runs_whole)
{
    Counter done;
    for (int i = 0; i < 10'000; ++i)
        bg_async([&] { done.add(); });
    EXPECT_TRUE(done.reaches(10'000));
}

TEST(WorkerPool, a_thousand_blocked_tasks_stop_no_other)
{
    Counter blocked, gate, done;
    for (int i = 0; i < 1000; ++i)
        bg_async([&] {
            blocked.add();
            {
                const WorkerPool::Blocked waits;
                gate.reaches(1);
            }
            done.add();
        });
    EXPECT_TRUE(blocked.reaches(1000));
    Counter other;
    bg_async([&] { other.add(); });
    EXPECT_TRUE(other.reaches(1));
    gate.add();
    EXPECT_TRUE(done.reaches(1000));
}

TEST(WorkerPool, tasks_that_wait_for_the_main_thread_stop_no_other)
{
    const int task_count = 4 * most_at_once;
    Counter other, done;
    for (int i = 0; i < task_count; ++i)
        bg_async([&] {
            main_sync([] {});
            done.add();
        });
    bg_async([&] { other.add(); });
    EXPECT_TRUE(other.reaches(1));
    int handed_over = 0;
    for (int i = 0; i < task_count; ++i)
        bg_async([&] { main_sync([&] { ++handed_over; }); });
    EXPECT_TRUE(MainQueue::instance().run_until([&] { return handed_over == task_count; },
                                                std::chrono::minutes(1)));
    EXPECT_TRUE(done.reaches(task_count));
}

TEST(WorkerPool, parents_may_wait_for_their_children)
{
    constexpr int generations = 200;
    Counter born, done;
    std::function<void()> live = [&] {
        if (born.add() < generations)
            bg_async(live);
        {
            const WorkerPool::Blocked waits;
            const WorkerPool::Blocked nested;
            born.reaches(generations);
        }
        done.add();
    };
    bg_async(live);
    EXPECT_TRUE(done.reaches(generations));
}

TEST(WorkerPool, as_many_run_at_once_as_keep_the_machine_busy)
{
    Counter waiting, gate_of_waiting, back;
    for (int i = 0; i < most_at_once; ++i)
        bg_async([&] {
            {
                const WorkerPool::Blocked waits;
                const WorkerPool::Blocked nested;
                waiting.add();
                gate_of_waiting.reaches(1);
            }
            back.add();
        });
    ASSERT_TRUE(waiting.reaches(most_at_once));

    const int task_count = 20 * most_at_once;
    Counter running, done;
    std::atomic<int> most = 0;
    std::atomic<bool> gate = false;
    for (int i = 0; i < task_count; ++i)
        bg_async([&] {
            const int now = running.add();
            for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);)
                continue;
            while (!gate)
                continue; // who sleeps here is stuck
            running.add(-1);
            done.add();
        });
    EXPECT_TRUE(running.reaches(most_at_once));
    gate = true;
    EXPECT_TRUE(done.reaches(task_count));
    EXPECT_EQ(most, most_at_once) << "tasks that wait took a place, or gave more than one";
    gate_of_waiting.add();
    EXPECT_TRUE(back.reaches(most_at_once));
}

// Threads that a sanitizer keeps for itself.
constexpr int sanitizers_own = ORV_IS_SANITIZED ? 1 : 0;

int thread_count()
{
    int count = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task"))
        count += thread.exists() ? 1 : 0;
    return count;
}

TEST(WorkerPool, stuck_tasks_stop_no_other_and_get_no_more_threads_than_tasks)
{
    const int stuck_count = 3 * most_at_once;
    Counter stuck, gate, done, other;
    for (int i = 0; i < stuck_count; ++i)
        bg_async([&] {
            stuck.add();
            gate.reaches(1);
            done.add();
        });
    bg_async([&] { other.add(); });
    EXPECT_TRUE(other.reaches(1));
    EXPECT_TRUE(stuck.reaches(stuck_count));
    EXPECT_LE(thread_count(), stuck_count + 3 + sanitizers_own)
        << "the main one, the other, and one that stands by";
    gate.add();
    EXPECT_TRUE(done.reaches(stuck_count));
}

/// Runs tasks one after the other, `under_way` at once, each of which hands over and starts the
/// next one from there. Returns the largest number of threads that were seen.
int most_threads_of(int task_count, int under_way)
{
    int started = 0;
    int ended = 0;
    int most = 0;
    std::function<void()> start = [&] {
        ++started;
        bg_async([&] {
            main_sync([&] {
                ++ended;
                most = std::max(most, thread_count());
                if (started < task_count)
                    start();
            });
        });
    };
    while (started < under_way)
        start();
    EXPECT_TRUE(MainQueue::instance().run_until([&] { return ended == task_count; },
                                                std::chrono::minutes(1)));
    return most;
}

TEST(WorkerPool, has_no_more_threads_than_tasks_under_way_and_that_may_run)
{
    EXPECT_LE(most_threads_of(3000, 8), 8 + most_at_once + 3 + sanitizers_own);
}

TEST(WorkerPool, holds_to_its_bound_but_for_open_waits)
{
    auto& pool = WorkerPool::instance();
    pool.set_max_threads(3);
    EXPECT_LE(most_threads_of(1000, 100), 3 + 2 + sanitizers_own)
        << "the main one, and one that stands by";

    Counter asked, gate, other, answered;
    for (int i = 0; i < 20; ++i)
        bg_async([&] {
            asked.add();
            {
                const WorkerPool::Blocked waits;
                gate.reaches(1);
            }
            answered.add();
        });
    EXPECT_TRUE(asked.reaches(20));
    bg_async([&] { other.add(); });
    EXPECT_TRUE(other.reaches(1));
    gate.add();
    EXPECT_TRUE(answered.reaches(20));
    pool.set_max_threads(WorkerPool::default_max_threads);
}

TEST(WorkerPool, refuses_tasks_only_when_no_thread_will_come_to_them)
{
    const auto in_child = [](bool has_thread) {
        Counter running, gate, done, refused;
        const auto task = [&] {
            running.add();
            gate.reaches(1);
            done.add();
        };
        if (has_thread)
            bg_async(task);
        const bool is_running = !has_thread || running.reaches(1);
        forbid_threads();
        WorkerPool::instance().async(task, [&] { refused.add(); });
        gate.add();
        const bool is_right = has_thread ? done.reaches(2) : refused.reaches(1);
        std::_Exit(is_running && is_right ? 0 : 1);
    };
    EXPECT_EXIT(in_child(false), testing::ExitedWithCode(0), "");
    EXPECT_EXIT(in_child(true), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace orv::test
