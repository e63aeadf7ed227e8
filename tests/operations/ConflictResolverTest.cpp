#include "support/Engine.hpp"
#include "support/Statuses.hpp"

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

TEST_F(ConflictResolverTest, any_number_of_open_questions_stops_no_other_request)
{
    constexpr int asking = 200;
    make_tree(folder(), {"a=1", "taken=2", "tree/b=3", "tree/c/d=4"});
    std::vector<std::shared_ptr<ConflictResolver>> questions;
    int ended = 0;
    for (int i = 0; i < asking; ++i)
        manager().copy(at("a"), at("taken"), [&](const auto& status) {
            if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
                questions.push_back(conflict->resolver);
            if (is_final(status))
                ++ended;
        });
    pump_until([&] { return questions.size() == asking; });

    const auto said = statuses_of<CopyOperation>(
        [&](auto take) { return manager().copy(at("tree"), at("copy"), take); });
    EXPECT_EQ(text_of(said.back()), "success");
    EXPECT_EQ(ended, 0);

    for (const auto& question : questions)
        question->resume(ConflictBehaviour::stop, false);
    pump_until([&] { return ended == asking; });
    EXPECT_EQ(read_file(at("taken")), "2");
}

} // namespace
} // namespace orv::test
