#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <functional>
#include <iterator>
#include <thread>

namespace orv::test {
namespace {

class ConflictResolverTest : public EngineTest {};

TEST_F(ConflictResolverTest, taken_names_are_counted_in_advance)
{
    make_tree(folder(), {"in/a=1", "in/dangling->gone", "x/a/", "y/a=", "y/A="});
    const auto conflicts = [&](const std::vector<Url>& urls) {
        return how_many_conflicts_occur(urls, at("in"));
    };
    EXPECT_EQ(conflicts({}), 0);
    EXPECT_EQ(conflicts({at("x/a"), at("y/a")}), 2);
    EXPECT_EQ(conflicts({at("x/a"), at("y/A"), at("dangling"), at("b")}), 2);
    EXPECT_EQ(how_many_conflicts_occur({at("x/a")}, at("missing")), 0);
}

TEST_F(ConflictResolverTest, the_answer_may_come_from_any_thread)
{
    make_tree(folder(), {"a=1", "b=2"});
    std::thread person;
    const auto said = statuses_of<CopyOperation>([&](CopyOperation::StatusClosure take) {
        return manager().copy(at("a"), at("b"), [&person, take](const auto& status) {
            take(status);
            if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
                person = std::thread([resolver = conflict->resolver] {
                    resolver->resume(ConflictBehaviour::keep_both, true);
                });
        });
    });
    person.join();
    EXPECT_EQ(text_of(said.back()), "success");
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"a=1", "b 2=1", "b=2"}));
}

TEST(ConflictAnswerTest, only_the_first_one_counts)
{
    ConflictResolver resolver(true, "/a");
    EXPECT_EQ(resolver.selected_behaviour(), std::nullopt);
    resolver.resume(ConflictBehaviour::merge, true);
#ifdef NDEBUG
    resolver.resume(ConflictBehaviour::replace, false);
#else
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(resolver.resume(ConflictBehaviour::replace, false), "answered twice");
#endif
    EXPECT_EQ(resolver.selected_behaviour(), ConflictBehaviour::merge);
    EXPECT_TRUE(resolver.apply_to_all());
}

#ifdef __SANITIZE_THREAD__
constexpr std::size_t asking = 200;
#else
constexpr std::size_t asking = 1'000;
#endif

/// Keeps the questions of requests, and counts those that have ended.
struct Caller {
    std::vector<std::shared_ptr<ConflictResolver>> questions;
    std::size_t ended = 0;

    template <class Status>
    void operator()(const Status& status)
    {
        if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
            questions.push_back(conflict->resolver);
        if (is_final(status))
            ++ended;
    }
};

TEST_F(ConflictResolverTest, any_number_of_open_questions_stops_no_other_request)
{
    make_tree(folder(), {"a=1", "d/a=2", "tree/b=3", "tree/c/d=4"});
    const auto before = tree(folder());
    const std::vector<Url> sources{at("a")};
    Caller caller;
    const auto take = [&](const auto& status) { caller(status); };
    const std::function<void()> starts[] = {
        [&] { manager().copy(at("a"), at("d/a"), take); },
        [&] { manager().move(at("a"), at("d/a"), take); },
        [&] { manager().copy(sources, at("d"), take); },
        [&] { manager().move(sources, at("d"), take); },
        [&] { manager().generate_file({std::byte{1}}, at("d/a"), take); },
        [&] { manager().reserve_file_url(at("d/a"), take); },
    };
    for (std::size_t i = 0; i < asking; ++i)
        starts[i % std::size(starts)]();
    pump_until([&] { return caller.questions.size() == asking; });

    const auto ends_well = [&](const auto& start) {
        const auto said = statuses_of<MoveOperation>(start);
        EXPECT_EQ(text_of(said.back()), "success");
    };
    ends_well([&](auto take_it) { return manager().move(at("tree"), at("moved"), take_it); });
    ends_well([&](auto take_it) { return manager().move(at("moved"), at("tree"), take_it); });
    EXPECT_EQ(caller.ended, 0U);

    std::thread person([&] {
        for (std::size_t i = 0; i < asking; i += 2)
            caller.questions[i]->resume(ConflictBehaviour::stop, false);
    });
    for (std::size_t i = 1; i < asking; i += 2)
        caller.questions[i]->resume(ConflictBehaviour::stop, false);
    pump_until([&] { return caller.ended == asking; });
    person.join();
    EXPECT_EQ(tree(folder()), before);
}

TEST_F(ConflictResolverTest, a_callback_may_start_requests_and_wait_for_them_in_a_loop_of_its_own)
{
    make_tree(folder(), {"a=1", "d/a=2"});
    std::vector<std::string> said;
    const auto answer_with_dialog = [&](const auto& status) {
        said.push_back(text_of(status));
        const auto* conflict = std::get_if<status::conflict_occured>(&status);
        if (!conflict)
            return;
        // A dialog that moves what is in the way aside, and asks whether that is right.
        const auto aside = manager().move(at("d/a"), at("aside"), {});
        pump_until([&] { return !aside->is_busy(); });
        main_async([&, resolver = conflict->resolver] {
            said.emplace_back("answer");
            resolver->resume(ConflictBehaviour::merge, false);
        });
        pump_until([&] { return said.back() == "answer"; });
        said.emplace_back("closed");
    };
    const auto operation = manager().move({at("a")}, at("d"), answer_with_dialog);
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(said, (std::vector<std::string>{"conflict a", "answer", "closed", "success"}));
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"aside=2", "d/", "d/a=1"}));
}

TEST_F(ConflictResolverTest, a_final_status_may_start_the_next_request_and_wait_for_it)
{
    make_tree(folder(), {"a=1"});
    int depth = 0;
    std::vector<std::string> said;
    std::function<void(const MoveOperation::Status&)> go_on = [&](const auto& status) {
        said.push_back(text_of(status));
        if (++depth == 20)
            return;
        const Url from = at(depth == 1 ? "b" : "b" + std::to_string(depth - 1));
        const auto next = manager().move(from, at("b" + std::to_string(depth)), go_on);
        pump_until([&] { return !next->is_busy() && depth == 20; });
    };
    manager().move(at("a"), at("b"), go_on);
    pump_until([&] { return depth == 20; });
    EXPECT_EQ(said, std::vector<std::string>(20, "success"));
    EXPECT_EQ(tree(folder()), std::vector<std::string>{"b19=1"});
}

} // namespace
} // namespace orv::test
