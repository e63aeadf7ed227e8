#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

constexpr auto replace = ConflictBehaviour::replace;
constexpr auto keep_both = ConflictBehaviour::keep_both;
constexpr auto stop = ConflictBehaviour::stop;

/// What a caller says to a question.
struct Said {
    ConflictBehaviour behaviour;
    bool for_all = false;
};

struct MultiMoveCase {
    std::string name;
    Texts before;
    Texts sources;
    std::vector<Said> answers;
    Texts statuses; ///< of a conflict with "+" when more are to come
    Texts after;
};

const Texts two = {"a=1", "b=2", "in/", "in/a=3", "in/b=4"};
const std::string missing = "error: Source item doesn't exist.";

const MultiMoveCase cases[] = {
    {"all are moved",
     {"a=1", "f/x=2", "in/"},
     {"a", "f"},
     {},
     {"success"},
     {"in/", "in/a=1", "in/f/", "in/f/x=2"}},
    {"a link moves its target under the link's name",
     {"in/", "l->t", "t=1"},
     {"l"},
     {},
     {"success"},
     {"in/", "in/l=1", "l->t"}},
    {"nothing to move", {"in/"}, {}, {}, {"success"}, {"in/"}},
    {"a missing second one",
     {"a=1", "c=3", "in/"},
     {"a", "b", "c"},
     {},
     {missing},
     {"c=3", "in/", "in/a=1"}},
    {"one answer for all",
     two,
     {"a", "b"},
     {{replace, true}},
     {"conflict a+", "success"},
     {"in/", "in/a=1", "in/b=2"}},
    {"one answer each",
     two,
     {"a", "b"},
     {{replace}, {keep_both}},
     {"conflict a+", "conflict b", "success"},
     {"in/", "in/a=1", "in/b 2=2", "in/b=4"}},
    {"stopped at the second",
     two,
     {"a", "b"},
     {{replace}, {stop}},
     {"conflict a+", "conflict b", "cancelled"},
     {"b=2", "in/", "in/a=1", "in/b=4"}},
};

class MultiMoveTest : public EngineTest {
protected:
    Texts moved(std::vector<Url> sources, const Url& to, std::vector<Said> answers = {})
    {
        Texts texts;
        std::size_t asked = 0;
        const auto operation = manager().move(sources, to, [&](const auto& status) {
            texts.push_back(text_of(status));
            if (const auto* conflict = std::get_if<status::conflict_occured>(&status)) {
                if (conflict->resolver->more_conflicts_exist())
                    texts.back() += "+";
                const Said said = answers.at(asked++);
                conflict->resolver->resume(said.behaviour, said.for_all);
            }
        });
        pump_until([&] { return !operation->is_busy(); });
        return texts;
    }
};

TEST_F(MultiMoveTest, moves_one_after_the_other_up_to_the_first_that_fails)
{
    for (const MultiMoveCase& row : cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, row.before);
        std::vector<Url> sources;
        for (const std::string& source : row.sources)
            sources.push_back(root.appending(source));
        EXPECT_EQ(moved(sources, root.appending("in"), row.answers), row.statuses);
        EXPECT_EQ(tree(root), row.after);
        expect_no_locks();
    }
}

TEST_F(MultiMoveTest, the_destination_must_be_a_folder)
{
    make_tree(folder(), {"a=1", "file=2"});
    EXPECT_EQ(moved({at("a")}, at("gone")), Texts{"error: Destination folder doesn't exist."});
    EXPECT_EQ(moved({at("a")}, at("file")),
              Texts{"error: Destination url must point to a folder."});
    EXPECT_EQ(tree(folder()), (Texts{"a=1", "file=2"}));
}

TEST_F(MultiMoveTest, is_refused_before_anything_is_touched_when_a_source_cannot_go_there)
{
    const Texts before{"a=1", "in/", "in/a=2", "in/in/", "in/in/b=3", "l->in", "outer->."};
    make_tree(folder(), before);
    const std::string no_name =
        "error: Source url must end in the name of an item, not in \".\" or \"..\".";
    const std::string conflict = "error: Source path conflicts with destination path.";
    const struct {
        const char* source;
        std::string end;
    } rows[] = {{"in/.", no_name}, {"in/..", no_name}, {"in/../.", no_name},
                {"in", conflict},  {"l", conflict},    {"outer", conflict}};
    for (const auto& row : rows) {
        const std::vector<Url> sources{at("a"), at(row.source)};
        EXPECT_EQ(moved(sources, at("in")), Texts{row.end}) << row.source;
        const auto copied = statuses_of<MultiCopyOperation>(
            [&](auto take) { return manager().copy(sources, at("in"), take); });
        EXPECT_EQ(texts_of(copied), Texts{row.end}) << row.source;
    }
    EXPECT_EQ(tree(folder()), before);
}

TEST_F(MultiMoveTest, braces_around_one_location_are_a_list)
{
    make_tree(folder(), {"a=1", "in/"});
    const auto operation = manager().move({at("a")}, at("in"), {});
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(tree(folder()), (Texts{"in/", "in/a=1"}));
}

TEST_F(MultiMoveTest, a_cancel_stops_the_move_at_work_and_those_to_come)
{
    make_tree(folder(), {"a=1", "b=2", "in/", "in/a=3"});
    store_rows(folder(), {"a", "b"});
    std::shared_ptr<MultiMoveOperation> operation;
    Texts said;
    operation = manager().move({at("a"), at("b")}, at("in"), [&](const auto& status) {
        said.push_back(text_of(status));
        if (const auto* conflict = std::get_if<status::conflict_occured>(&status)) {
            operation->cancel();
            conflict->resolver->resume(keep_both, true);
        }
    });
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(said, (Texts{"conflict a", "cancelled"}));
    EXPECT_EQ(tree(folder()), (Texts{"b=2", "in/", "in/a 2=1", "in/a=3"}));
    EXPECT_EQ(stored_rows(folder()), (Texts{"b", "in/a 2"}));
}

} // namespace
} // namespace orv::test
