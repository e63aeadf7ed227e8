#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"

#include <algorithm>
#include <filesystem>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

constexpr auto merge = ConflictBehaviour::merge;
constexpr auto replace = ConflictBehaviour::replace;
constexpr auto keep_both = ConflictBehaviour::keep_both;
constexpr auto stop = ConflictBehaviour::stop;

class MoveTest : public EngineTest {
protected:
    Texts moved(const Url& from, const Url& to, ConflictBehaviour behaviour = stop)
    {
        return texts_of(statuses_of<MoveOperation>([&](MoveOperation::StatusClosure take) {
            return manager().move(from, to, [take, behaviour](const auto& status) {
                take(status);
                answer(status, behaviour);
            });
        }));
    }
};

struct MoveCase {
    std::string name;
    Texts before;
    std::string source;
    std::string destination;
    ConflictBehaviour answer;
    Texts statuses;
    Texts after;
};

const Texts done = {"success"};
const Texts done_after_question = {"conflict b", "success"};
const std::string clash = "error: Source path conflicts with destination path.";
const std::string not_moved = "error: Couldn't move the item";

const Texts files = {"a=1", "b=2"};
const Texts folders = {"a/", "a/x=1", "b/", "b/y=2"};
const Texts file_folder = {"a=1", "b/", "b/y=2"};

const MoveCase move_cases[] = {
    {"a file", {"a=1", "f/"}, "a", "f/b", stop, done, {"f/", "f/b=1"}},
    {"a folder", {"a/x/y=1", "a/z->x"}, "a", "b", stop, done, {"b/", "b/x/", "b/x/y=1", "b/z->x"}},
    {"a link moves its target", {"a->t", "t=1"}, "a", "b", stop, done, {"a->t", "b=1"}},
    {"nothing", {"b=2"}, "a", "b", stop, {"error: Source item doesn't exist."}, {"b=2"}},
    {"into a missing folder", {"a=1"}, "a", "f/b", stop, {not_moved}, {"a=1"}},
    {"into a file", files, "a", "b/c", stop, {not_moved}, files},
    {"into itself", {"a/x=1"}, "a", "a/b", stop, {clash}, {"a/", "a/x=1"}},

    {"taken, merge", files, "a", "b", merge, {"conflict b", not_moved}, files},
    {"taken, replace", files, "a", "b", replace, done_after_question, {"b=1"}},
    {"taken, keep both", files, "a", "b", keep_both, done_after_question, {"b 2=1", "b=2"}},
    {"taken, stop", files, "a", "b", stop, {"conflict b", "cancelled"}, files},
    {"two folders do not merge", folders, "a", "b", merge, {"conflict b", not_moved}, folders},
    {"two folders, replace", folders, "a", "b", replace, done_after_question, {"b/", "b/x=1"}},
    {"a folder by a file", file_folder, "a", "b", replace, done_after_question, {"b=1"}},

    {"itself, merge", {"b=1"}, "b", "b", merge, {"conflict b", clash}, {"b=1"}},
    {"itself, replace", {"b=1"}, "b", "b", replace, done_after_question, {"b=1"}},
    {"itself, keep both", {"b=1"}, "b", "b", keep_both, done_after_question, {"b=1"}},
    {"itself, stop", {"b=1"}, "b", "b", stop, {"conflict b", "cancelled"}, {"b=1"}},
    {"itself by way of a link",
     {"b=1", "l->."},
     "l/b",
     "b",
     replace,
     done_after_question,
     {"b=1", "l->."}},
    {"the folder it is in, replace",
     {"b/x=1"},
     "b/x",
     "b",
     replace,
     {"conflict b", clash},
     {"b/", "b/x=1"}},
};

TEST_F(MoveTest, ends_as_the_answer_says)
{
    for (const MoveCase& row : move_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, row.before);
        EXPECT_EQ(moved(root.appending(row.source), root.appending(row.destination), row.answer),
                  row.statuses);
        EXPECT_EQ(tree(root), row.after);
        expect_no_locks();
    }
}

TEST_F(MoveTest, refuses_locations_that_are_none)
{
    make_tree(folder(), {"a=1"});
    const auto only = [](const char* sentence) { return Texts{std::string("error: ") + sentence}; };
    EXPECT_EQ(moved("", at("b")), only("Source url points to an undefined path."));
    EXPECT_EQ(moved("/..", at("b")), only("Source url points to root directory."));
    EXPECT_EQ(moved(at("a"), ""), only("Destination url points to an undefined path."));
    EXPECT_EQ(moved(at("a"), "/"), only("Destination url points to root directory."));
}

TEST_F(MoveTest, rows_follow_the_item_and_all_below_it)
{
    make_tree(folder(), {"a/b/c=1", "a b=2", "ab=3", "f/"});
    store_rows(folder(), {"a", "a/b/c", "a b", "ab", "f/z/b/stale"});
    EXPECT_EQ(moved(at("a"), at("f/z")), done);
    EXPECT_EQ(stored_rows(folder()), (Texts{"a b", "ab", "f/z", "f/z/b/c"}));
}

TEST_F(MoveTest, a_failure_leaves_every_row_where_it_was)
{
    make_tree(folder(), files);
    store_rows(folder(), {"a", "b"});
    save_all({{.url = at("b"), .order_no = 7}}, false);
    EXPECT_EQ(moved(at("a"), at("b"), merge).back(), not_moved);
    EXPECT_EQ(stored_rows(folder()), (Texts{"a", "b"}));
    EXPECT_EQ(CustomAttributes::fetch(at("b"))->order_no, 7);
}

TEST_F(MoveTest, two_names_of_one_file_are_one_item)
{
    make_tree(folder(), {"a=1"});
    std::filesystem::create_hard_link(at("a"), at("b"));
    for (const ConflictBehaviour behaviour : {replace, keep_both})
        EXPECT_EQ(moved(at("a"), at("b"), behaviour), done_after_question);
    EXPECT_EQ(tree(folder()), (Texts{"a=1", "b=1"}));
}

TEST_F(MoveTest, one_that_was_begun_is_done_and_holds_both_places_meanwhile)
{
    OrvFileManager::set_test_mode(true);
    make_tree(folder(), {"a/x=1"});
    std::string last;
    const auto operation =
        manager().move(at("a"), at("b"), [&](const auto& status) { last = text_of(status); });
    pump_until([&] { return UrlLocker::is_write_locked(at("b")); });
    EXPECT_TRUE(UrlLocker::is_read_locked(at("a/x")));
    operation->cancel();
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(last, "cancelled");
    EXPECT_EQ(tree(folder()), (Texts{"b/", "b/x=1"}));
}

TEST_F(MoveTest, a_folder_swapped_for_a_link_takes_nothing_elsewhere)
{
    OrvFileManager::set_test_mode(true);
    make_tree(folder(), {"a/x=1", "to/", "from/b=2", "elsewhere/"});
    Texts ends;
    const auto take = [&](const auto& status) { ends.push_back(text_of(status)); };
    manager().move(at("a"), at("to/a"), take);
    manager().move(at("from/b"), at("b"), take);
    manager().create_new_folder(at("to/new/folder"), true, take);
    pump_until([&] {
        return UrlLocker::is_write_locked(at("to/a")) && UrlLocker::is_read_locked(at("from/b")) &&
               UrlLocker::is_write_locked(at("to/new/folder"));
    });
    for (const char* name : {"to", "from"}) {
        std::filesystem::rename(at(name), at(std::string(name) + " old"));
        std::filesystem::create_directory_symlink("elsewhere", at(name));
    }
    write_file(at("elsewhere/b"), "3");
    pump_until([&] { return ends.size() == 3; });
    for (const std::string& end : ends)
        EXPECT_TRUE(end.starts_with("error: ")) << end;
    EXPECT_EQ(tree(folder()),
              (Texts{"a/", "a/x=1", "elsewhere/", "elsewhere/b=3", "from old/", "from old/b=2",
                     "from->elsewhere", "to old/", "to->elsewhere"}));
}

} // namespace
} // namespace orv::test
