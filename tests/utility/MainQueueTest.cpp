#include <orv/utility/MainQueue.hpp>

#include <atomic>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <poll.h>

namespace orv::test {
namespace {

using namespace std::chrono_literals;

MainQueue& queue()
{
    return MainQueue::instance();
}

bool is_readable(std::chrono::milliseconds at_most = 0ms)
{
    pollfd event{queue().fd(), POLLIN, 0};
    return ::poll(&event, 1, static_cast<int>(at_most.count())) == 1;
}

TEST(MainQueue, is_readable_while_something_is_queued)
{
    std::vector<bool> inside;
    EXPECT_FALSE(is_readable());
    main_async([&] { inside.push_back(is_readable()); });
    EXPECT_TRUE(is_readable());
    main_async([&] { inside.push_back(is_readable()); });
    EXPECT_TRUE(is_readable());
    queue().drain();
    EXPECT_FALSE(is_readable());
    EXPECT_EQ(inside, (std::vector{true, false}));
}

TEST(MainQueue, is_readable_exactly_then_under_load)
{
    constexpr int thread_count = 8;
    constexpr int rounds = 2'000;
    int run = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < thread_count; ++i)
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                main_async([&] { ++run; });
                main_sync([&] { ++run; });
            }
        });
    while (run < 2 * thread_count * rounds) {
        ASSERT_TRUE(is_readable(60s)) << "a closure was queued and the loop not woken";
        const int before = run;
        queue().drain();
        ASSERT_GT(run, before) << "the loop was woken and nothing was queued";
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_FALSE(is_readable());
}

TEST(MainQueue, is_not_readable_once_everything_has_run)
{
    constexpr int no_more = -1;
    std::atomic<int> round = 0;
    std::atomic<int> pushed = 0;
    int run = 0;
    std::thread background([&] {
        for (int i = 1; round != no_more; std::this_thread::yield()) {
            if (round < i)
                continue;
            main_async([&] { ++run; });
            pushed = i++;
        }
    });
    const auto end = std::chrono::steady_clock::now() + 1s; // on a busy machine rounds are slow
    for (int i = 1; i <= 20'000 && std::chrono::steady_clock::now() < end; ++i) {
        round = i;
        while (run < i) // a pop may meet the push at any of its steps
            queue().drain();
        while (pushed < i)
            std::this_thread::yield();
        EXPECT_FALSE(is_readable()) << "in round " << i;
    }
    round = no_more;
    background.join();
}

TEST(MainQueue, a_nested_drain_runs_the_rest)
{
    std::string log;
    main_async([&] {
        log += "(";
        main_async([&] { log += "c"; });
        queue().drain();
        log += ")";
    });
    main_async([&] { log += "b"; });
    queue().drain();
    EXPECT_EQ(log, "(bc)");
}

TEST(MainQueue, a_closure_that_queues_itself_starves_nobody)
{
    int runs = 0;
    std::function<void()> again = [&] {
        if (++runs < 5)
            main_async(again);
    };
    main_async(again);
    for (int drains = 1; drains <= 5; ++drains) {
        queue().drain();
        EXPECT_EQ(runs, drains);
    }
    EXPECT_FALSE(is_readable());
}

TEST(MainQueue, an_exception_leaves_the_drain_and_nothing_else)
{
    bool rest_has_run = false;
    std::thread background([] { main_sync([] { throw std::runtime_error("from the closure"); }); });
    ASSERT_TRUE(is_readable(60s));
    main_async([&] { rest_has_run = true; });
    EXPECT_THROW(queue().drain(), std::runtime_error);
    background.join();
    EXPECT_FALSE(rest_has_run);
    EXPECT_TRUE(is_readable());
    queue().drain();
    EXPECT_TRUE(rest_has_run);
}

TEST(MainQueue, sync_on_the_main_thread_runs_in_place)
{
    std::string log;
    main_async([&] { log += "queued"; });
    EXPECT_EQ(main_sync([&] { return log += "now "; }), "now ");
    EXPECT_THROW(main_sync([] { throw std::runtime_error("in place"); }), std::runtime_error);
    queue().drain();
    EXPECT_EQ(log, "now queued");
}

TEST(MainQueue, sync_hands_the_result_back)
{
    std::unique_ptr<std::thread::id> ran_on;
    std::thread background([&] {
        ran_on =
            main_sync([] { return std::make_unique<std::thread::id>(std::this_thread::get_id()); });
        main_async([] { queue().quit(); });
    });
    queue().run();
    background.join();
    EXPECT_EQ(*ran_on, std::this_thread::get_id());
}

TEST(MainQueue, closures_end_on_the_main_thread)
{
    std::thread::id ended_on;
    std::thread background([&] {
        std::shared_ptr<void> held(nullptr, [&](void*) { ended_on = std::this_thread::get_id(); });
        main_async([held = std::move(held)] {});
    });
    background.join();
    queue().drain();
    EXPECT_EQ(ended_on, std::this_thread::get_id());
}

TEST(MainQueue, quit_ends_the_innermost_run)
{
    std::string log;
    const auto quit = [&] { queue().quit(); };
    quit(); // there is nothing to end yet
    main_async([&] {
        log += "outer(";
        queue().run();
        log += ")";
    });
    main_async([&] { log += "inner"; });
    main_async(quit);
    main_async([&] { log += " again"; });
    main_async(quit);
    main_async([&] { log += " later"; });
    queue().run();
    EXPECT_EQ(log, "outer(inner) again");
    queue().drain();
    EXPECT_EQ(log, "outer(inner) again later");
}

TEST(MainQueue, an_exception_ends_its_run_alone)
{
    std::string log;
    main_async([&] {
        main_async([] {
            queue().quit();
            throw std::runtime_error("after the quit");
        });
        EXPECT_THROW(queue().run(), std::runtime_error);
        main_async([&] {
            log += "the outer one goes on";
            queue().quit();
        });
    });
    queue().run();
    EXPECT_EQ(log, "the outer one goes on");
}

TEST(MainQueue, run_until_ends_by_the_predicate_or_the_time)
{
    int runs = 0;
    std::function<void()> again = [&] {
        ++runs;
        main_async(again);
    };
    main_async(again);
    EXPECT_TRUE(queue().run_until([&] { return runs == 3; }));
    EXPECT_EQ(runs, 3);
    EXPECT_FALSE(queue().run_until([] { return false; }, 0ms));
    EXPECT_EQ(runs, 4);
    EXPECT_TRUE(queue().run_until([&] { return runs == 6; }, std::chrono::nanoseconds::max()));
    again = [] {};
    queue().drain();
    queue().drain();

    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(queue().run_until([] { return false; }, 20ms));
    queue().run_for(20ms);
    EXPECT_GE(std::chrono::steady_clock::now() - start, 40ms);
}

TEST(MainQueueDeathTest, misuse_ends_the_process)
{
    const auto in_background = [](const std::function<void()>& misuse) {
        std::thread background(misuse);
        queue().run_for(10s);
        background.join();
    };
    const auto attach_late = [&] {
        main_async([] {});
        in_background([] { queue().attach(); });
    };
    const auto hand_over_with_lock = [&] {
        const MainQueue::ForbidHandOver elsewhere;
        main_sync([] {});
        in_background([] {
            main_sync([] {});
            const MainQueue::ForbidHandOver forbidden;
            main_sync([] {});
        });
    };
    const auto owe_a_result = [&] {
        std::thread background(
            [] { main_sync([]() -> int { throw std::runtime_error("none"); }); });
        EXPECT_THROW(queue().run_for(10s), std::runtime_error);
        background.join();
    };
    EXPECT_DEATH(attach_late(), "Another thread was attached");
    EXPECT_DEATH(hand_over_with_lock(), "hand-over to the main thread was made from inside");
    EXPECT_DEATH(owe_a_result(), "owed another thread its result");
    EXPECT_DEATH(in_background([] { queue().drain(); }), "drain.. was called off the main thread");
    EXPECT_DEATH(assert_bg_thread("copy"), "copy was called on the main thread");
}

TEST(MainQueueDeathTest, the_thread_that_attaches_first_is_the_main_thread)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe"); // in a process whose queue is unused
    const auto attach_another = [] {
        std::thread other([] {
            queue().attach();
            queue().attach();
            std::thread background([] {
                main_sync([] {});
                main_async([] { queue().quit(); });
            });
            queue().run();
            background.join();
        });
        other.join();
        std::_Exit(queue().is_main_thread() ? 1 : 0);
    };
    EXPECT_EXIT(attach_another(), testing::ExitedWithCode(0), "");
}

} // namespace
} // namespace orv::test
