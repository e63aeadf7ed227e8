#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <algorithm>
#include <filesystem>

namespace orv::test {
namespace {

class CopyConflictTest : public EngineTest {
protected:
    /// The statuses but for progress.
    std::vector<std::string> copied(const Url& from, const Url& to, ConflictBehaviour behaviour)
    {
        std::vector<std::string> said;
        const auto operation = manager().copy(from, to, [&](const auto& status) {
            answer(status, behaviour);
            if (!text_of(status).starts_with("progress "))
                said.push_back(text_of(status));
        });
        pump_until([&] { return !operation->is_busy(); });
        return said;
    }
};

constexpr auto merge = ConflictBehaviour::merge;
constexpr auto replace = ConflictBehaviour::replace;
constexpr auto keep_both = ConflictBehaviour::keep_both;
constexpr auto stop = ConflictBehaviour::stop;

using Texts = std::vector<std::string>;

struct ConflictCase {
    std::string name;
    Texts before;
    std::string source;
    std::string destination;
    ConflictBehaviour answer;
    Texts statuses; ///< but for progress
    Texts after;
};

const Texts done = {"conflict b", "preparing", "success"};
const Texts done_mergeable = {"conflict mergeable b", "preparing", "success"};
const Texts stopped = {"conflict b", "cancelled"};
const std::string clash = "error: Source path conflicts with destination path.";
const std::string not_moved = "error: Couldn't move the item";
const std::string not_created = "error: Couldn't create destination directory.";

const Texts files = {"a=1", "b=2"};
const Texts folders = {"a/", "a/x=1", "a/y=1", "b/", "b/x=2", "b/z=2"};
const Texts file_folder = {"a=1", "b/", "b/x=2"};
const Texts folder_file = {"a/", "a/x=1", "b=2"};

const ConflictCase conflict_cases[] = {
    {"file/file, merge", files, "a", "b", merge, done, files},
    {"file/file, replace", files, "a", "b", replace, done, {"a=1", "b=1"}},
    {"file/file, keep both", files, "a", "b", keep_both, done, {"a=1", "b 2=1", "b=2"}},
    {"file/file, stop", files, "a", "b", stop, stopped, files},

    {"folders, merge",
     folders,
     "a",
     "b",
     merge,
     done_mergeable,
     {"a/", "a/x=1", "a/y=1", "b/", "b/x=2", "b/y=1", "b/z=2"}},
    {"folders, replace",
     folders,
     "a",
     "b",
     replace,
     done_mergeable,
     {"a/", "a/x=1", "a/y=1", "b/", "b/x=1", "b/y=1"}},
    {"folders, keep both",
     folders,
     "a",
     "b",
     keep_both,
     done_mergeable,
     {"a/", "a/x=1", "a/y=1", "b 2/", "b 2/x=1", "b 2/y=1", "b/", "b/x=2", "b/z=2"}},
    {"folders, stop", folders, "a", "b", stop, {"conflict mergeable b", "cancelled"}, folders},

    {"file/folder, merge", file_folder, "a", "b", merge, done, file_folder},
    {"file/folder, replace", file_folder, "a", "b", replace, done, {"a=1", "b=1"}},
    {"file/folder, keep both",
     file_folder,
     "a",
     "b",
     keep_both,
     done,
     {"a=1", "b 2=1", "b/", "b/x=2"}},
    {"file/folder, stop", file_folder, "a", "b", stop, stopped, file_folder},

    {"folder/file, merge",
     folder_file,
     "a",
     "b",
     merge,
     {"conflict b", "preparing", not_moved},
     folder_file},
    {"folder/file, replace", folder_file, "a", "b", replace, done, {"a/", "a/x=1", "b/", "b/x=1"}},
    {"folder/file, keep both",
     folder_file,
     "a",
     "b",
     keep_both,
     done,
     {"a/", "a/x=1", "b 2/", "b 2/x=1", "b=2"}},
    {"folder/file, stop", folder_file, "a", "b", stop, stopped, folder_file},

    {"a file, itself, merge", {"b=1"}, "b", "b", merge, {"conflict b", clash}, {"b=1"}},
    {"a file, itself, replace", {"b=1"}, "b", "b", replace, {"conflict b", "success"}, {"b=1"}},
    {"a file, itself, keep both", {"b=1"}, "b", "b", keep_both, done, {"b 2=1", "b=1"}},
    {"a file, itself, stop", {"b=1"}, "b", "b", stop, stopped, {"b=1"}},
    {"a folder, itself, merge",
     {"b/x=1"},
     "b",
     "b",
     merge,
     {"conflict mergeable b", clash},
     {"b/", "b/x=1"}},
    {"a folder, itself, replace",
     {"b/x=1"},
     "b",
     "b",
     replace,
     {"conflict mergeable b", "success"},
     {"b/", "b/x=1"}},
    {"itself by way of a link, replace",
     {"l->.", "b=1"},
     "l/b",
     "b",
     replace,
     {"conflict b", "success"},
     {"b=1", "l->."}},
    {"a link to the source, replace",
     {"a=1", "b->a"},
     "a",
     "b",
     replace,
     {"conflict a", "success"},
     {"a=1", "b->a"}},
    {"a link to another file, replace",
     {"a=1", "b->c", "c=3"},
     "a",
     "b",
     replace,
     {"conflict c", "preparing", "success"},
     {"a=1", "b->c", "c=1"}},

    {"the folder it is in, replace",
     {"b/x=1"},
     "b/x",
     "b",
     replace,
     {"conflict b", clash},
     {"b/", "b/x=1"}},
    {"a folder in itself, replace",
     {"a/b/x=1"},
     "a",
     "a/b",
     replace,
     {"conflict mergeable b", clash},
     {"a/", "a/b/", "a/b/x=1"}},

    {"merge at depth",
     {"a/k/l/m=1", "a/k/l/n=1", "a/k/o/p=1", "a/q->m", "a/r->m", "b/k/l/m=2", "b/k/s=2", "b/q=2"},
     "a",
     "b",
     merge,
     done_mergeable,
     {"a/", "a/k/", "a/k/l/", "a/k/l/m=1", "a/k/l/n=1", "a/k/o/", "a/k/o/p=1", "a/q->m", "a/r->m",
      "b/", "b/k/", "b/k/l/", "b/k/l/m=2", "b/k/l/n=1", "b/k/o/", "b/k/o/p=1", "b/k/s=2", "b/q=2",
      "b/r->m"}},
    {"merge with a file in the way of a folder with a file",
     {"a/k/x=1", "b/k=2"},
     "a",
     "b",
     merge,
     {"conflict mergeable b", "preparing", not_moved},
     {"a/", "a/k/", "a/k/x=1", "b/", "b/k=2"}},
    {"merge with a file in the way of a folder with a folder",
     {"a/k/x/", "b/k=2"},
     "a",
     "b",
     merge,
     {"conflict mergeable b", "preparing", not_created},
     {"a/", "a/k/", "a/k/x/", "b/", "b/k=2"}},
    {"merge with a file in the way of an empty folder",
     {"a/k/", "b/k=2"},
     "a",
     "b",
     merge,
     done_mergeable,
     {"a/", "a/k/", "b/", "b/k=2"}},
    {"merge with a file in the way of what is left out",
     {"a/k/.x.jgd/y=1", "b/k=2"},
     "a",
     "b",
     merge,
     done_mergeable,
     {"a/", "a/k/", "a/k/.x.jgd/", "a/k/.x.jgd/y=1", "b/", "b/k=2"}},
    {"merge never leaves the destination by a link",
     {"a/k/x=1", "b/k->../c", "c/"},
     "a",
     "b",
     merge,
     {"conflict mergeable b", "preparing", not_moved},
     {"a/", "a/k/", "a/k/x=1", "b/", "b/k->../c", "c/"}},

    {"keep both counts on",
     {"a.txt=1", "b 2.txt=2", "b.txt=3"},
     "a.txt",
     "b.txt",
     keep_both,
     {"conflict b.txt", "preparing", "success"},
     {"a.txt=1", "b 2.txt=2", "b 3.txt=1", "b.txt=3"}},
};

TEST_F(CopyConflictTest, ends_as_the_answer_says)
{
    for (const ConflictCase& row : conflict_cases) {
        SCOPED_TRACE(row.name);
        std::string name = row.name;
        std::replace(name.begin(), name.end(), '/', '-');
        const Url root = at(name);
        make_tree(root, row.before);
        EXPECT_EQ(copied(root.appending(row.source), root.appending(row.destination), row.answer),
                  row.statuses);
        EXPECT_EQ(tree(root), row.after);
        expect_no_locks();
    }
}

TEST_F(CopyConflictTest, two_names_of_one_file_are_one_item)
{
    make_tree(folder(), {"a=1"});
    std::filesystem::create_hard_link(at("a"), at("b"));
    EXPECT_EQ(copied(at("a"), at("b"), replace), (Texts{"conflict b", "success"}));
    EXPECT_EQ(tree(folder()), (Texts{"a=1", "b=1"}));
    EXPECT_EQ(std::filesystem::hard_link_count(at("b")), 2U);
}

TEST_F(CopyConflictTest, keeping_both_shortens_a_name_that_is_full)
{
    const std::string full = std::string(251, 'n') + ".txt";
    make_tree(folder(), {"a=1", full + "=2"});
    EXPECT_EQ(copied(at("a"), at(full), keep_both).back(), "success");
    EXPECT_EQ(tree(folder()), (Texts{"a=1", std::string(249, 'n') + " 2.txt=1", full + "=2"}));
}

TEST_F(CopyConflictTest, an_empty_closure_answers_stop)
{
    make_tree(folder(), files);
    const auto operation = manager().copy(at("a"), at("b"), {});
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_TRUE(operation->is_cancelled());
    EXPECT_EQ(tree(folder()), files);
}

TEST_F(CopyConflictTest, what_was_to_be_replaced_survives_a_source_that_vanishes_meanwhile)
{
    const auto vanish = [&](const auto& status) {
        std::filesystem::remove(at("a"));
        answer(status, replace);
    };
    make_tree(folder(), files);
    const std::shared_ptr<OrvOperation> copy = manager().copy(at("a"), at("b"), vanish);
    pump_until([&] { return !copy->is_busy(); });
    EXPECT_EQ(tree(folder()), Texts{"b=2"});
    make_tree(folder(), files);
    const std::shared_ptr<OrvOperation> move = manager().move(at("a"), at("b"), vanish);
    pump_until([&] { return !move->is_busy(); });
    EXPECT_EQ(tree(folder()), Texts{"b=2"});
}

TEST_F(CopyConflictTest, what_was_to_be_replaced_survives_a_cancel_during_the_question)
{
    for (const ConflictBehaviour behaviour : {merge, replace, keep_both, stop}) {
        make_tree(folder(), files);
        std::shared_ptr<ConflictResolver> question;
        std::string last;
        const auto operation = manager().copy(at("a"), at("b"), [&](const auto& status) {
            last = text_of(status);
            if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
                question = conflict->resolver;
        });
        pump_until([&] { return question != nullptr; });
        operation->cancel();
        EXPECT_TRUE(operation->is_busy());
        EXPECT_EQ(last, "conflict b");
        question->resume(behaviour, false);
        pump_until([&] { return !operation->is_busy(); });
        EXPECT_EQ(last, "cancelled");
        EXPECT_EQ(tree(folder()), files);
    }
}

} // namespace
} // namespace orv::test
