#include <orv/integrations/GuardedDrain.hpp>

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

std::string text_of(const std::exception_ptr& exception)
{
    try {
        std::rethrow_exception(exception);
    } catch (const std::exception& e) {
        return e.what();
    }
}

TEST(GuardedDrain, gives_the_handler_what_a_closure_threw_and_keeps_the_closures_behind_it)
{
    std::string seen;
    const auto handler = [&](const std::exception_ptr& thrown) { seen += text_of(thrown); };
    main_async([] { throw std::runtime_error("first"); });
    main_async([&] { seen += " second"; });

    guarded_drain(handler);
    EXPECT_EQ(seen, "first");
    guarded_drain(handler);
    EXPECT_EQ(seen, "first second");
}

TEST(GuardedDrainDeathTest, ends_the_process_with_what_was_thrown_when_nobody_takes_it)
{
    const auto drain_after = [](const std::function<void()>& closure) {
        main_async(closure);
        guarded_drain({});
    };
    EXPECT_DEATH(drain_after([] { throw std::runtime_error("out of paper"); }),
                 "orv: A closure threw through the event loop: out of paper\n");
    EXPECT_DEATH(drain_after([] { throw 7; }), "no std::exception");
}

} // namespace
} // namespace orv::test
