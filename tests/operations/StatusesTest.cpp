#include "support/Statuses.hpp"

#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"

#include <chrono>
#include <stdexcept>
#include <thread>

namespace orv::test {
namespace {

/// How the statuses of a request reach its caller, whatever the request is.
class StatusesTest : public EngineTest {
protected:
    StatusesTest() { make_tree(folder(), {"a/1=one", "a/2=two", "a/3/4=four"}); }

    void expect_copied() { EXPECT_EQ(tree(at("z")), tree(at("a"))); }
};

TEST_F(StatusesTest, they_come_on_the_main_thread_and_one_is_final)
{
    std::shared_ptr<CopyOperation> operation;
    int finals = 0;
    operation = manager().copy(at("a"), at("z"), [&](const auto& status) {
        EXPECT_TRUE(MainQueue::instance().is_main_thread());
        EXPECT_EQ(finals, 0);
        finals += is_final(status) ? 1 : 0;
        EXPECT_NE(operation->is_busy(), is_final(status)) << text_of(status);
        const bool is_at_work = text_of(status).starts_with("progress");
        EXPECT_EQ(UrlLocker::is_write_locked(at("z")), is_at_work || text_of(status) == "preparing")
            << text_of(status);
    });
    EXPECT_TRUE(operation->is_busy());
    EXPECT_FALSE(operation->is_cancelled());
    pump_until([&] { return finals != 0; });
    EXPECT_FALSE(operation->is_busy());

    operation->cancel();
    EXPECT_TRUE(operation->is_cancelled());
    EXPECT_FALSE(operation->is_busy());
    MainQueue::instance().drain();
    EXPECT_EQ(finals, 1);
    expect_copied();
}

TEST_F(StatusesTest, flags_may_be_asked_from_any_thread)
{
    const auto operation = manager().copy(at("a"), at("z"), {});
    bool was_busy = false;
    bool done = false;
    std::thread other([&] {
        was_busy = operation->is_busy();
        operation->cancel();
        main_async([&] { done = true; });
    });
    pump_until([&] { return done && !operation->is_busy(); });
    other.join();
    EXPECT_TRUE(operation->is_cancelled());
}

TEST_F(StatusesTest, a_callback_that_throws_stops_nothing)
{
    std::vector<std::string> said;
    const auto operation = manager().copy(at("a"), at("z"), [&](const auto& status) {
        said.push_back(text_of(status));
        throw std::domain_error("from a callback");
    });
    std::size_t thrown = 0;
    for (bool done = false; !done;) {
        try {
            pump_until([&] { return thrown != 0 && said.back() == "success"; });
            done = true;
        } catch (const std::domain_error&) {
            ++thrown;
        }
    }
    EXPECT_FALSE(operation->is_busy());
    EXPECT_EQ(thrown, said.size());
    EXPECT_EQ(said.size(), 1U + 2U * 5U + 2U);
    EXPECT_EQ(said.back(), "success");
    expect_copied();
}

TEST_F(StatusesTest, a_callback_may_start_a_request)
{
    std::vector<std::string> second;
    manager().copy(at("a"), at("z"), [&](const auto& status) {
        if (std::holds_alternative<status::success>(status))
            manager().delete_item(at("a"),
                                  [&](const auto& its) { second.push_back(text_of(its)); });
    });
    pump_until([&] { return !second.empty(); });
    EXPECT_EQ(second, std::vector<std::string>{"success"});
    EXPECT_EQ(tree(folder()),
              (std::vector<std::string>{"z/", "z/1=one", "z/2=two", "z/3/", "z/3/4=four"}));
}

TEST_F(StatusesTest, a_nested_loop_in_a_callback_serves_other_requests_first)
{
    std::vector<std::string> said;
    int depth = 0;
    const auto outer = manager().copy(at("a"), at("z"), [&](const auto& status) {
        EXPECT_EQ(depth++, 0) << "a status came while the one before it was being handled";
        said.push_back(text_of(status));
        const auto inner = manager().calculate_folder_size(at("a"), {});
        pump_until([&] { return !inner->is_busy(); });
        --depth;
    });
    pump_until([&] { return !outer->is_busy(); });
    EXPECT_EQ(said.back(), "success");
    expect_copied();
}

TEST_F(StatusesTest, the_items_of_one_request_share_turns_of_the_main_loop)
{
    std::vector<Url> sources;
    std::vector<Url> moved;
    for (int i = 0; i < 100; ++i) {
        sources.push_back(at(std::to_string(i)));
        moved.push_back(at("in/" + std::to_string(i)));
        make_tree(folder(), {std::to_string(i) + "="});
    }
    make_tree(folder(), {"in/", "copies/", "out/"});
    // On a busy machine, time alone brings turns: a look every 5 ms, a due batch every 10 ms.
    const auto turns_of = [](const std::shared_ptr<OrvOperation>& operation) {
        const auto start = std::chrono::steady_clock::now();
        int turns = 0;
        pump_until([&] { return ++turns, !operation->is_busy(); });
        const std::chrono::duration<double, std::milli> passed =
            std::chrono::steady_clock::now() - start;
        return turns - static_cast<int>(passed.count() / 5 + passed.count() / 10);
    };
    EXPECT_LT(turns_of(manager().copy(sources, at("copies"), {})), 300);
    EXPECT_LT(turns_of(manager().zip(sources, at("zip"), {}, ConflictBehaviour::stop, {})), 50);
    EXPECT_LT(turns_of(manager().unzip(at("zip"), at("out/zip"), {}, {})), 50);
    EXPECT_LT(turns_of(manager().move(sources, at("in"), {})), 20);
    EXPECT_LT(turns_of(manager().delete_items(moved, {})), 20);
    EXPECT_EQ(tree(at("copies")).size(), sources.size());
    EXPECT_EQ(tree(at("in")).size(), 0U);
}

TEST_F(StatusesTest, a_dropped_operation_goes_on)
{
    std::string last;
    manager().copy(at("a"), at("z"), [&](const auto& status) { last = text_of(status); });
    pump_until([&] { return last == "success"; });
    expect_copied();
}

TEST_F(StatusesTest, without_a_closure_the_work_is_done)
{
    const auto operation = manager().copy(at("a"), at("z"), {});
    pump_until([&] { return !operation->is_busy(); });
    expect_copied();
}

TEST_F(StatusesTest, what_a_closure_holds_dies_on_the_main_thread_after_the_final_status)
{
    bool ended = false;
    bool died_after = false;
    bool died_on_main = false;
    const auto start = [&](bool throws) {
        ended = died_after = died_on_main = false;
        std::shared_ptr<int> held(new int(0), [&](const int* number) {
            died_after = ended;
            died_on_main = MainQueue::instance().is_main_thread();
            delete number;
        });
        return manager().calculate_folder_size(
            at("a"), [&ended, throws, held = std::move(held)](const auto&) {
                ended = true;
                if (throws)
                    throw std::runtime_error("from a callback");
            });
    };
    const auto operation = start(false);
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_TRUE(died_after);
    EXPECT_TRUE(died_on_main);

    const auto throwing = start(true);
    EXPECT_THROW(pump_until([&] { return ended && died_after; }), std::runtime_error);
    pump_until([&] { return died_after; });
    EXPECT_TRUE(died_on_main);
}

TEST_F(StatusesTest, a_status_may_be_kept)
{
    const auto statuses = statuses_of<CopyOperation>(
        [&](auto take) { return manager().copy(at("a/1"), at("z"), take); });
    EXPECT_EQ(texts_of(statuses),
              (std::vector<std::string>{"preparing", "progress z 0.00", "progress z 1.00",
                                        "progress z 1.00", "success"}));
}

TEST_F(StatusesTest, an_operation_that_cannot_be_cancelled_is_done)
{
    std::vector<std::string> said;
    const auto folder_operation = manager().create_new_folder(
        at("n"), false, [&](const auto& status) { said.push_back(text_of(status)); });
    folder_operation->cancel();
    const auto deletion = manager().delete_items(
        {at("a")}, [&](const auto& status) { said.push_back(text_of(status)); });
    deletion->cancel();
    pump_until([&] { return said.size() == 2; });
    EXPECT_EQ(said, (std::vector<std::string>{"success", "success"}));
    EXPECT_EQ(tree(folder()), std::vector<std::string>{"n/"});
}

} // namespace
} // namespace orv::test
