#include "utility/WorkerPool.hpp"

#include <orv/utility/MainQueue.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
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
    Counter running, gate, done;
    std::atomic<int> most = 0;
    for (int i = 0; i < task_count; ++i)
        bg_async([&] {
            const int now = running.add();
            for (int seen = most; seen < now && !most.compare_exchange_weak(seen, now);)
                continue;
            gate.reaches(1);
            running.add(-1);
            done.add();
        });
    EXPECT_TRUE(running.reaches(most_at_once));
    gate.add();
    EXPECT_TRUE(done.reaches(task_count));
    EXPECT_EQ(most, most_at_once) << "tasks that wait took a place, or gave more than one";
    gate_of_waiting.add();
    EXPECT_TRUE(back.reaches(most_at_once));
}

} // namespace
} // namespace orv::test
