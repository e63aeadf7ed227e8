#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"

#include <orv/utility/Fatal.hpp>

#include <algorithm>
#include <filesystem>
#include <utility>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

constexpr auto merge = ConflictBehaviour::merge;
constexpr auto replace = ConflictBehaviour::replace;
constexpr auto keep_both = ConflictBehaviour::keep_both;

/// What a caller says to a question.
struct Said {
    ConflictBehaviour behaviour;
    bool for_all = false;
};

struct MultiCopyCase {
    std::string name;
    Texts before;
    Texts sources;
    std::vector<Said> answers;
    Texts statuses; ///< but for progress; of a conflict with "+" when more are to come
    Texts inside;   ///< what the destination holds afterwards
};

const MultiCopyCase cases[] = {
    {"all are copied",
     {"a=1", "f/x=2", "in/"},
     {"a", "f"},
     {},
     {"preparing", "success"},
     {"a=1", "f/", "f/x=2"}},
    {"one answer for all three",
     {"a=1", "b=2", "c=3", "in/a=", "in/b=", "in/c="},
     {"a", "b", "c"},
     {{replace, true}},
     {"preparing", "conflict a+", "success"},
     {"a=1", "b=2", "c=3"}},
    {"the last question is told to be the last",
     {"a=1", "b=2", "c=3", "in/a=", "in/b=", "in/c="},
     {"a", "b", "c"},
     {{keep_both}, {replace}, {replace}},
     {"preparing", "conflict a+", "conflict b+", "conflict c", "success"},
     {"a 2=1", "a=", "b=2", "c=3"}},
    {"merging for all is asked about again where it is impossible, and forgotten",
     {"a/x=1", "b=2", "c/y=3", "in/a/", "in/b/", "in/c/z="},
     {"a", "b", "c"},
     {{merge, true}, {keep_both}, {merge}},
     {"preparing", "conflict mergeable a+", "conflict b+", "conflict mergeable c", "success"},
     {"a/", "a/x=1", "b 2=2", "b/", "c/", "c/y=3", "c/z="}},
    {"numbers go on over the batch",
     {"Scan 1=1", "Scan 2=2", "in/Scan 1=", "in/Scan 2="},
     {"Scan 1", "Scan 2"},
     {{keep_both, true}},
     {"preparing", "conflict Scan 1+", "success"},
     {"Scan 1=", "Scan 2=", "Scan 3=1", "Scan 4=2"}},
    {"two of one name",
     {"x/a=1", "y/a=2", "in/"},
     {"x/a", "y/a"},
     {{keep_both}},
     {"preparing", "conflict a", "success"},
     {"a 2=2", "a=1"}},
    {"stopped at the second",
     {"a=1", "b=2", "c=3", "in/b="},
     {"a", "b", "c"},
     {{ConflictBehaviour::stop}},
     {"preparing", "conflict b", "cancelled"},
     {"a=1", "b="}},
    {"a failure ends the batch",
     {"a=1", "in/b/b=2", "c=3"},
     {"a", "in/b/b", "c"},
     {{replace}},
     {"preparing", "conflict b", "error: Source path conflicts with destination path."},
     {"a=1", "b/", "b/b=2"}},
};

class MultiCopyTest : public EngineTest {
protected:
    std::vector<MultiCopyOperation::Status> copied(const std::vector<Url>& sources, const Url& to,
                                                   const std::vector<Said>& answers = {})
    {
        std::size_t asked = 0;
        return statuses_of<MultiCopyOperation>([&](MultiCopyOperation::StatusClosure take) {
            return manager().copy(sources, to, [&, take](const auto& status) {
                take(status);
                if (const auto* conflict = std::get_if<status::conflict_occured>(&status)) {
                    const Said said = answers.at(asked++);
                    conflict->resolver->resume(said.behaviour, said.for_all);
                }
            });
        });
    }

    static Texts questions_and_ends(const std::vector<MultiCopyOperation::Status>& statuses)
    {
        Texts texts;
        for (const auto& status : statuses) {
            const auto* conflict = std::get_if<status::conflict_occured>(&status);
            const bool more = conflict && conflict->resolver->more_conflicts_exist();
            if (!text_of(status).starts_with("progress "))
                texts.push_back(text_of(status) + (more ? "+" : ""));
        }
        return texts;
    }
};

TEST_F(MultiCopyTest, copies_one_after_the_other_up_to_the_first_that_fails)
{
    for (const MultiCopyCase& row : cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, row.before);
        std::vector<Url> sources;
        for (const std::string& source : row.sources)
            sources.push_back(root.appending(source));
        EXPECT_EQ(questions_and_ends(copied(sources, root.appending("in"), row.answers)),
                  row.statuses);
        EXPECT_EQ(tree(root.appending("in")), row.inside);
        expect_no_locks();
    }
}

TEST_F(MultiCopyTest, nothing_is_copied_unless_all_is_there)
{
    make_tree(folder(), {"a=1", "file=2", "in/"});
    const auto last_of = [&](const std::vector<Url>& sources, const Url& to) {
        return text_of(copied(sources, to).back());
    };
    EXPECT_EQ(last_of({at("a")}, at("gone")), "error: Destination folder doesn't exist.");
    EXPECT_EQ(last_of({at("a")}, at("file")), "error: Destination url must point to a folder.");
    EXPECT_EQ(last_of({at("a"), at("gone")}, at("in")),
              "error: Source item doesn't exist. \n" + at("gone").description());
    EXPECT_EQ(tree(folder()), (Texts{"a=1", "file=2", "in/"}));
}

TEST_F(MultiCopyTest, progress_is_that_of_the_whole_batch)
{
    make_tree(folder(), {"a=1", "f/b=222", "none=", "in/"});
    EXPECT_EQ(texts_of(copied({at("a"), at("f")}, at("in"))),
              (Texts{"preparing", "progress a 0.00", "progress a 0.25", "progress a 0.25",
                     "progress f/ 0.25", "progress f/ 0.25", "progress b 0.25", "progress b 1.00",
                     "progress b 1.00", "progress b 1.00", "success"}));
    EXPECT_EQ(texts_of(copied({at("none")}, at("in"))),
              (Texts{"preparing", "progress none 0.00", "progress none 0.00", "progress none 0.00",
                     "progress none 1.00", "success"}));
}

TEST_F(MultiCopyTest, what_changes_before_its_turn_is_copied_as_it_is_then)
{
    make_tree(folder(), {"a=1", "b=1", "c=1", "d=1", "e=5", "in/"});
    MainQueue::instance().run_for(std::chrono::milliseconds(50)); // else none is built ahead
    bool is_first = true;
    const auto operation = manager().copy(
        {at("a"), at("b"), at("c"), at("d"), at("e")}, at("in"), [&](const auto& status) {
            answer(status, ConflictBehaviour::stop);
            if (text_of(status) != "progress a 0.00" || !std::exchange(is_first, false))
                return;
            MainQueue::instance().run_for(std::chrono::milliseconds(50)); // the others are built
            make_tree(folder(), {"b=22", "in/d="}); // in place, and a name that is taken
            std::filesystem::rename(at("e").path(), at("c").path());
            make_tree(folder(), {"e/x=3"});
        });
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(tree(at("in")), (Texts{"a=1", "b=22", "c=5", "d="}));
}

TEST_F(MultiCopyTest, rows_follow)
{
    make_tree(folder(), {"a=1", "f/b=2", "in/"});
    store_rows(folder(), {"a", "f/b"});
    copied({at("a"), at("f")}, at("in"));
    EXPECT_EQ(stored_rows(folder()), (Texts{"a", "f/b", "in/a", "in/f/b"}));
}

TEST_F(MultiCopyTest, whenever_it_is_cancelled_what_is_there_is_whole)
{
    make_tree(folder(), {"a=one", "f/b=two", "f/c=three"});
    std::string last;
    std::size_t cancel_at = 0;
    for (; last != "success"; ++cancel_at) {
        SCOPED_TRACE(cancel_at);
        manager().sync_delete_item(at("in"));
        make_tree(folder(), {"in/"});
        std::shared_ptr<MultiCopyOperation> operation;
        std::size_t count = 0;
        operation = manager().copy({at("a"), at("f")}, at("in"), [&](const auto& status) {
            last = text_of(status);
            if (count++ == cancel_at)
                operation->cancel();
        });
        pump_until([&] { return !operation->is_busy(); });
        EXPECT_TRUE(last == "cancelled" || last == "success") << last;
        for (const std::string& entry : tree(at("in")))
            EXPECT_TRUE(entry == "a=one" || entry == "f/" || entry == "f/b=two" ||
                        entry == "f/c=three")
                << entry;
        expect_no_locks();
    }
    EXPECT_EQ(tree(at("in")).size(), 4U);
    EXPECT_GE(cancel_at, 8U);
}

TEST_F(MultiCopyTest, an_empty_list_ends_the_process_unless_it_was_cancelled)
{
    make_tree(folder(), {"in/"});
    std::string last;
    const auto cancelled = manager().copy(std::vector<Url>{}, at("in"),
                                          [&](const auto& status) { last = text_of(status); });
    cancelled->cancel();
    pump_until([&] { return !cancelled->is_busy(); });
    EXPECT_EQ(last, "cancelled");

    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(copied({}, at("in")), "copy\\(src_urls:dest_folder_url:status_closure:\\) was "
                                       "called with an empty list");
}

} // namespace
} // namespace orv::test
