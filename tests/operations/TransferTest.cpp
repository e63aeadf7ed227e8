#include "operations/TransferTest.hpp"

#include "support/Records.hpp"
#include "support/Volume.hpp"

#include <algorithm>
#include <chrono>
#include <filesystem>

namespace orv::test {
namespace {

using std::chrono::hours;

enum class Date { older, newer, equal };

/// What happens to the item "i", which stands at the destination, too.
struct PolicyCase {
    std::string name;
    Texts source; ///< below the source's folder
    Texts there;  ///< below the destination
    OnConflict policy;
    bool merges_folders;
    std::string outcome;
    Texts after;     ///< below the destination
    Texts remaining; ///< of the source after a move
    Date date = Date::older;
};

const Texts file{"i=new"};
const Texts file_there{"i=old"};
const Texts folder_of_source{"i/", "i/a=new", "i/b=1"};
const Texts folder_there{"i/", "i/a=old", "i/c=2"};
const Texts merged{"i/", "i/a=old", "i/b=1", "i/c=2"};
const Texts merged_new{"i/", "i/a=new", "i/b=1", "i/c=2"};
const Texts deep{"i/", "i/d/", "i/d/e/", "i/d/e/x=new", "i/d/y=1"};
const Texts deep_there{"i/", "i/d/", "i/d/e/", "i/d/e/x=old"};
const Texts link{"i->a"};
const Texts other_link{"i->b"};
const std::string two_kinds = "failed|A file and a folder have the same name.";

const PolicyCase policy_cases[] = {
    {"file", file, file_there, OnConflict::merge, false, "unchanged", file_there, file},
    {"file", file, file_there, OnConflict::skip, false, "skipped", file_there, file},
    {"file", file, file_there, OnConflict::replace, false, "done", file, {}},
    {"file", file, file_there, OnConflict::keep_both, false, "done", {"i (2)=new", "i=old"}, {}},
    {"file", file, file_there, OnConflict::stop, false, "stop", file_there, file},
    {"older", file, file_there, OnConflict::replace_if_older, false, "done", file, {}},
    {"newer", file, file_there, OnConflict::replace_if_older, false, "unchanged", file_there, file,
     Date::newer},
    {"same date", file, file_there, OnConflict::replace_if_older, false, "unchanged", file_there,
     file, Date::equal},
    {"same size and date", file, file_there, OnConflict::skip_if_equal, false, "unchanged",
     file_there, file, Date::equal},
    {"other date", file, file_there, OnConflict::skip_if_equal, false, "done", file, {}},
    {"other size",
     file,
     {"i=longer"},
     OnConflict::skip_if_equal,
     false,
     "done",
     file,
     {},
     Date::equal},

    {"folder",
     folder_of_source,
     folder_there,
     OnConflict::merge,
     false,
     "done",
     merged,
     {"i/", "i/a=new"}},
    {"folder", folder_of_source, folder_there, OnConflict::skip, false, "skipped", folder_there,
     folder_of_source},
    {"folder",
     folder_of_source,
     folder_there,
     OnConflict::replace,
     false,
     "done",
     folder_of_source,
     {}},
    {"folder",
     folder_of_source,
     folder_there,
     OnConflict::keep_both,
     false,
     "done",
     {"i (2)/", "i (2)/a=new", "i (2)/b=1", "i/", "i/a=old", "i/c=2"},
     {}},
    {"folder", folder_of_source, folder_there, OnConflict::stop, false, "stop", folder_there,
     folder_of_source},
    {"folder",
     folder_of_source,
     folder_there,
     OnConflict::replace_if_older,
     false,
     "done",
     merged_new,
     {}},
    {"folder",
     folder_of_source,
     folder_there,
     OnConflict::skip_if_equal,
     false,
     "done",
     merged_new,
     {}},
    {"folder", folder_of_source, folder_there, OnConflict::replace, true, "done", merged_new, {}},
    {"folder",
     folder_of_source,
     folder_there,
     OnConflict::skip,
     true,
     "partly done|i/a",
     merged,
     {"i/", "i/a=new"}},
    {"folder",
     folder_of_source,
     folder_there,
     OnConflict::keep_both,
     true,
     "done",
     {"i/", "i/a (2)=new", "i/a=old", "i/b=1", "i/c=2"},
     {}},

    {"file on folder", file, folder_there, OnConflict::merge, false, "unchanged", folder_there,
     file},
    {"file on folder", file, folder_there, OnConflict::replace, true, "done", file, {}},
    {"file on folder", file, folder_there, OnConflict::replace_if_older, false, two_kinds,
     folder_there, file},
    {"file on folder", file, folder_there, OnConflict::skip_if_equal, false, two_kinds,
     folder_there, file},
    {"folder on file",
     folder_of_source,
     file_there,
     OnConflict::replace,
     true,
     "done",
     folder_of_source,
     {}},
    {"folder on file", folder_of_source, file_there, OnConflict::skip, true, "skipped", file_there,
     folder_of_source},
    {"folder on file",
     folder_of_source,
     file_there,
     OnConflict::keep_both,
     false,
     "done",
     {"i (2)/", "i (2)/a=new", "i (2)/b=1", "i=old"},
     {}},

    {"link on file", link, file_there, OnConflict::replace, false, "done", link, {}},
    {"link on folder", link, folder_there, OnConflict::replace, false, "done", link, {}},
    {"folder on link",
     folder_of_source,
     {"d/", "i->d"},
     OnConflict::merge,
     true,
     "unchanged",
     {"d/", "i->d"},
     folder_of_source},
    {"link on its like", link, link, OnConflict::skip_if_equal, false, "unchanged", link, link},
    {"link on another", link, other_link, OnConflict::skip_if_equal, false, "done", link, {}},

    {"deep",
     deep,
     deep_there,
     OnConflict::skip,
     true,
     "partly done|i/d/e/x",
     {"i/", "i/d/", "i/d/e/", "i/d/e/x=old", "i/d/y=1"},
     {"i/", "i/d/", "i/d/e/", "i/d/e/x=new"}},
    {"deep", deep, deep_there, OnConflict::replace, true, "done", deep, {}},
    {"deep",
     deep,
     {"i/", "i/d/", "i/d/e=3"},
     OnConflict::keep_both,
     true,
     "done",
     {"i/", "i/d/", "i/d/e (2)/", "i/d/e (2)/x=new", "i/d/e=3", "i/d/y=1"},
     {}},
    {"deep", deep, {"i/", "i/d=4"}, OnConflict::replace, true, "done", deep, {}},
};

void set_dates(const Url& folder, hours offset)
{
    namespace fs = std::filesystem;
    const auto now = fs::file_time_type::clock::now();
    const auto date = std::chrono::floor<std::chrono::seconds>(now) + offset;
    for (const auto& entry : fs::recursive_directory_iterator(folder))
        if (entry.is_regular_file() && !entry.is_symlink())
            fs::last_write_time(entry.path(), date);
}

class EveryPolicy : public TransferTest {
protected:
    void check(const PolicyCase& row, Kind kind, const Url& from, const Url& in)
    {
        SCOPED_TRACE(row.name + ", policy " + std::to_string(static_cast<int>(row.policy)) +
                     (kind == Kind::copy ? ", copied" : ", moved"));
        std::filesystem::remove_all(from);
        for (const auto& entry : std::filesystem::directory_iterator(in))
            std::filesystem::remove_all(entry);
        make_tree(from, row.source);
        make_tree(in, row.there);
        set_dates(from, hours(0));
        set_dates(in, row.date == Date::older   ? hours(-1)
                      : row.date == Date::newer ? hours(1)
                                                : hours(0));

        const Policy policy{.on_conflict = row.policy,
                            .merges_folders = row.merges_folders,
                            .on_error = Policy::OnError::skip};
        const auto told = texts_of(ended(plan_of(kind, {from / "i"}, in, policy)), from);
        EXPECT_EQ(tree(in), row.after);
        EXPECT_EQ(tree(from), kind == Kind::copy ? sorted(row.source) : row.remaining);
        // What was to stay at the destination stays at the source, too.
        const bool stays = kind == Kind::move && row.outcome == "done" && !row.remaining.empty();
        check_report(stays ? "partly done" : row.outcome, told);
    }

    static void check_report(const std::string& expected, const Texts& told)
    {
        const std::size_t bar = expected.find('|');
        const std::string outcome = expected.substr(0, bar);
        if (outcome == "stop") {
            EXPECT_EQ(told, (Texts{"error: Destination item already exists.", "i: not reached"}));
            return;
        }
        ASSERT_GE(told.size(), 2U);
        EXPECT_EQ(told[0], "success");
        EXPECT_TRUE(told[1].starts_with("i: " + outcome)) << told[1];
        const bool is_left_out = outcome == "skipped" || bar != std::string::npos;
        ASSERT_EQ(told.size(), is_left_out ? 3U : 2U) << told.back();
        if (outcome == "skipped") {
            EXPECT_EQ(told[2], "left out i");
        } else if (outcome == "failed") {
            EXPECT_EQ(told[2], "left out i: " + expected.substr(bar + 1));
        } else if (is_left_out) {
            EXPECT_EQ(told[2], "left out " + expected.substr(bar + 1));
        }
    }

    static Texts sorted(Texts texts)
    {
        std::sort(texts.begin(), texts.end());
        return texts;
    }
};

TEST_F(EveryPolicy, decides_alike_for_a_copy_and_a_move_on_one_volume_and_two)
{
    make_tree(folder(), {"in/"});
    const auto volume = Volume::bound();
    for (const PolicyCase& row : policy_cases)
        for (const Kind kind : {Kind::copy, Kind::move}) {
            check(row, kind, at("s"), at("in"));
            if (volume)
                check(row, kind, at("s"), volume->url());
        }
}

TEST_F(TransferTest, puts_any_number_of_sources_from_anywhere_into_a_folder)
{
    make_tree(folder(), {"a=1", "s/b=2", "s/f/x=3", "s/f/deep/er/y=4", "s/l->f", "in/"});
    const std::vector<Url> sources{at("a"), at("s/b"), at("s/f"), at("s/l")};
    const Texts inside{"a=1",        "b=2",           "f/",    "f/deep/",
                       "f/deep/er/", "f/deep/er/y=4", "f/x=3", "l->f"};
    EXPECT_EQ(texts_of(ended(plan_of(Kind::copy, sources, at("in"))), folder()),
              (Texts{"success", "a: done -> in/a", "s/b: done -> in/b", "s/f: done -> in/f",
                     "s/l: done -> in/l"}));
    EXPECT_EQ(tree(at("in")), inside);
    make_tree(folder(), {"to/"});
    ended(plan_of(Kind::move, sources, at("to")));
    EXPECT_EQ(tree(at("to")), inside);
    EXPECT_EQ(tree(at("s")), Texts{});

    TransferPlan renamed = plan_of(Kind::move, {at("to/f")}, at("s"));
    renamed.name = "g";
    EXPECT_EQ(texts_of(ended(renamed), folder()), (Texts{"success", "to/f: done -> s/g"}));
    EXPECT_EQ(tree(at("s")), (Texts{"g/", "g/deep/", "g/deep/er/", "g/deep/er/y=4", "g/x=3"}));
}

TEST_F(TransferTest, goes_on_after_what_fails_and_tells_of_it)
{
    make_tree(folder(), {"a=1", "s/bad->/dev/null", "s/c=3", "s/d/gone->nowhere", "in/"});
    const Policy policy{.on_error = Policy::OnError::skip, .links = Policy::Links::follow};
    const auto told = texts_of(
        ended(plan_of(Kind::copy, {at("a"), at("missing"), at("s")}, at("in"), policy)), folder());
    EXPECT_EQ(Texts(told.begin(), told.begin() + 4),
              (Texts{"success", "a: done -> in/a", "missing: failed", "s: partly done -> in/s"}));
    EXPECT_EQ(tree(at("in")), (Texts{"a=1", "s/", "s/c=3", "s/d/"}));
    ASSERT_EQ(told.size(), 7U);
    EXPECT_EQ(told[4], "left out missing: Source item doesn't exist.");
    for (const std::string expected : {"left out s/bad: Device files can't be copied.",
                                       "left out s/d/gone: No such file or directory."})
        EXPECT_EQ(std::count(told.begin(), told.end(), expected), 1) << expected;

    Policy stopping = policy;
    stopping.on_error = Policy::OnError::stop;
    EXPECT_EQ(
        texts_of(ended(plan_of(Kind::copy, {at("missing"), at("a")}, at("in"), stopping)),
                 folder()),
        (Texts{"error: Source item doesn't exist.", "missing: not reached", "a: not reached"}));
}

TEST_F(TransferTest, follows_links_if_asked_to_and_never_in_circles)
{
    make_tree(folder(), {"t/x=1", "t/y/z=2", "s/l->../t", "s/m->../t/x", "s/round->.", "in/"});
    const Policy policy{.on_error = Policy::OnError::skip, .links = Policy::Links::follow};
    const auto told =
        texts_of(ended(plan_of(Kind::copy, {at("s"), at("s/m")}, at("in"), policy)), folder());
    EXPECT_EQ(tree(at("in")),
              (Texts{"m=1", "s/", "s/l/", "s/l/x=1", "s/l/y/", "s/l/y/z=2", "s/m=1"}));
    EXPECT_EQ(told.back(), "left out s/round: Too many levels of symbolic links.");
}

TEST_F(TransferTest, never_replaces_an_item_by_one_that_it_holds_or_is)
{
    make_tree(folder(), {"d/d/x=1", "d/e/", "a=1", "s/a=2", "in/"});
    const Policy policy{.on_conflict = OnConflict::replace, .on_error = Policy::OnError::skip};
    const auto told = [&](Kind kind, const std::vector<Url>& sources, const Url& to) {
        return texts_of(ended(plan_of(kind, sources, to, policy)), folder());
    };
    const std::string clash = "Source path conflicts with destination path.";
    for (const Kind kind : {Kind::copy, Kind::move}) {
        const auto before = tree(folder());
        EXPECT_EQ(told(kind, {at("d")}, at("d/e")),
                  (Texts{"success", "d: failed", "left out d: " + clash}));
        EXPECT_EQ(told(kind, {at("d/d")}, folder()),
                  (Texts{"success", "d/d: failed", "left out d/d: " + clash}));
        EXPECT_EQ(told(kind, {at("a")}, folder()), (Texts{"success", "a: unchanged -> a"}));
        EXPECT_EQ(tree(folder()), before);
        EXPECT_EQ(told(kind, {at("a"), at("s/a")}, at("in")),
                  (Texts{"success", "a: done -> in/a", "s/a: failed",
                         "left out s/a: Two of the items have this name."}));
        EXPECT_EQ(tree(at("in")), (Texts{"a=1"}));
        manager().sync_delete_item(at("in/a"));
    }
}

TEST_F(TransferTest, refuses_a_plan_that_makes_no_sense)
{
    make_tree(folder(), {"a=1", "b=2", "in/"});
    const auto error = [&](TransferPlan plan) { return texts_of(ended(plan), folder()).front(); };
    EXPECT_EQ(error(plan_of(Kind::copy, {at("a")}, at("none"))),
              "error: Destination folder doesn't exist.");
    EXPECT_EQ(error(plan_of(Kind::copy, {at("a")}, at("b"))),
              "error: Destination url must point to a folder.");
    EXPECT_EQ(error(plan_of(Kind::move, {Url()}, at("in"))),
              "error: Source url points to an undefined path.");
    EXPECT_EQ(error(plan_of(Kind::move, {at("in/..")}, at("in"))),
              "error: Source url must end in the name of an item, not in \".\" or \"..\".");
    TransferPlan named = plan_of(Kind::copy, {at("a"), at("b")}, at("in"));
    named.name = "c";
    EXPECT_EQ(error(named), "error: A new name can be given to a single item only.");
    named.sources.pop_back();
    named.name = "c/d";
    EXPECT_EQ(error(named), "error: New name cannot contain a slash.");
    EXPECT_EQ(error(plan_of(Kind::copy, {}, at("in"))), "success");
    EXPECT_EQ(tree(at("in")), Texts{});
}

/// One of the questions of a transfer, and what is said to it.
struct Said {
    std::string question; ///< "taken name", "failed …"; of the item that is asked about
    std::function<void(Question&)> answer;
};

TEST_F(TransferTest, asks_and_does_as_it_is_told)
{
    const auto say = [](Answer answer, bool for_all = false) {
        return [=](Question& question) { question.answer(answer, for_all); };
    };
    const auto another_name = [](Question& question) { question.answer_with_name("other"); };
    const struct {
        std::string name;
        std::vector<Said> said;
        Texts told;
        Texts after;
    } cases[] = {
        {"each",
         {{"in/a", say(Answer::replace)},
          {"in/b", say(Answer::keep_both)},
          {"in/c", say(Answer::skip)},
          {"in/f", say(Answer::merge)},
          {"in/f/x", say(Answer::skip)}},
         {"success", "a: done -> in/a", "b: done -> in/b (2)", "c: skipped",
          "f: partly done -> in/f", "left out c", "left out f/x"},
         {"a=1", "b (2)=2", "b=", "c=", "f/", "f/x=", "f/y=4"}},
        {"all files, all folders",
         {{"in/a", say(Answer::replace, true)}, {"in/f", say(Answer::merge, true)}},
         {"success", "a: done -> in/a", "b: done -> in/b", "c: done -> in/c", "f: done -> in/f"},
         {"a=1", "b=2", "c=3", "f/", "f/x=3", "f/y=4"}},
        {"another name, which is taken, too",
         {{"in/a", another_name},
          {"in/b", another_name},
          {"in/other", say(Answer::keep_both)},
          {"in/c", say(Answer::stop)}},
         {"cancelled", "a: done -> in/other", "b: done -> in/other (2)", "c: not reached",
          "f: not reached"},
         {"a=", "b=", "c=", "f/", "f/x=", "other (2)=2", "other=1"}},
        {"dropped",
         {{"in/a", [](Question&) {}}},
         {"cancelled", "a: not reached", "b: not reached", "c: not reached", "f: not reached"},
         {"a=", "b=", "c=", "f/", "f/x="}},
    };
    for (const auto& row : cases)
        for (const Kind kind : {Kind::copy, Kind::move}) {
            SCOPED_TRACE(row.name);
            const Url root = at(row.name + (kind == Kind::copy ? " copied" : " moved"));
            make_tree(root, {"a=1", "b=2", "c=3", "f/x=3", "f/y=4",
                             "in/a=", "in/b=", "in/c=", "in/f/x="});
            std::size_t asked = 0;
            const auto ask = [&](Question& question) {
                ASSERT_LT(asked, row.said.size());
                EXPECT_EQ(question.destination()->url, root.appending(row.said[asked].question));
                EXPECT_TRUE(question.source().modification_date);
                EXPECT_EQ(question.allows(Answer::merge), question.destination()->is_dir);
                row.said[asked++].answer(question);
            };
            const auto status = answered(
                plan_of(kind, {root / "a", root / "b", root / "c", root / "f"}, root / "in"), ask);
            EXPECT_EQ(texts_of(status, root), row.told);
            EXPECT_EQ(tree(root / "in"), row.after);
            EXPECT_EQ(asked, row.said.size());
        }
}

TEST_F(TransferTest, tries_a_failed_item_again_if_asked_to)
{
    make_tree(folder(), {"s/a=1", "s/b=2", "in/"});
    int asked = 0;
    const auto ask = [&](Question& question) {
        EXPECT_EQ(question.about(), Question::About::failed_item);
        EXPECT_EQ(question.error()->sentence(), "Source item doesn't exist.");
        EXPECT_THROW(question.answer(Answer::merge), Error);
        if (++asked == 2)
            make_tree(folder(), {"late=3"});
        question.answer(Answer::retry);
    };
    EXPECT_EQ(
        texts_of(answered(plan_of(Kind::copy, {at("late"), at("s")}, at("in")), ask), folder()),
        (Texts{"success", "late: done -> in/late", "s: done -> in/s"}));
    EXPECT_EQ(asked, 2);
}

TEST_F(TransferTest, a_cancel_answers_an_open_question)
{
    make_tree(folder(), {"a=1", "in/a="});
    std::shared_ptr<Question> open;
    std::string last;
    const auto operation =
        transfer(plan_of(Kind::copy, {at("a")}, at("in")), [&](const auto& status) {
            if (const auto* asked = std::get_if<TransferOperation::question>(&status))
                open = asked->question;
            last = texts_of(status, folder()).empty() ? "" : texts_of(status, folder()).front();
        });
    pump_until([&] { return open != nullptr; });
    operation->cancel();
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(last, "cancelled");
    open->answer(Answer::replace);
    EXPECT_EQ(tree(at("in")), Texts{"a="});
}

TEST_F(TransferTest, rows_follow_each_item)
{
    int count = 0;
    const auto rows_after = [&](Kind kind, const Policy& policy) {
        const Url root = at(std::to_string(++count));
        make_tree(root, {"s/a=1", "s/f/x=2", "s/f/y=3", "t/f/x=", "t/f/z="});
        store_rows(root, {"s/a", "s/f", "s/f/x", "t/f", "t/f/x", "t/f/z"});
        ended(plan_of(kind, {root / "s/a", root / "s/f"}, root / "t", policy));
        return stored_rows(root);
    };
    const Policy replacing{.on_conflict = OnConflict::replace};
    const Policy merging{.on_conflict = OnConflict::replace, .merges_folders = true};
    const Policy keeping{.on_conflict = OnConflict::keep_both};
    EXPECT_EQ(rows_after(Kind::copy, replacing),
              (Texts{"s/a", "s/f", "s/f/x", "t/a", "t/f", "t/f/x"}));
    EXPECT_EQ(rows_after(Kind::copy, keeping), (Texts{"s/a", "s/f", "s/f/x", "t/a", "t/f",
                                                      "t/f (2)", "t/f (2)/x", "t/f/x", "t/f/z"}));
    EXPECT_EQ(rows_after(Kind::copy, merging),
              (Texts{"s/a", "s/f", "s/f/x", "t/a", "t/f", "t/f/x", "t/f/z"}));
    EXPECT_EQ(rows_after(Kind::move, replacing), (Texts{"t/a", "t/f", "t/f/x"}));
    EXPECT_EQ(rows_after(Kind::move, merging), (Texts{"t/a", "t/f", "t/f/x", "t/f/z"}));
}

TEST_F(TransferTest, whenever_it_is_cancelled_every_item_is_whole_somewhere)
{
    for (const Kind kind : {Kind::copy, Kind::move})
        for (std::size_t cancel_at = 0, ended_by_itself = 0; ended_by_itself < 1; ++cancel_at) {
            SCOPED_TRACE(cancel_at);
            manager().sync_delete_item(at("s"));
            manager().sync_delete_item(at("in"));
            make_tree(folder(), {"s/a=one", "s/f/b=two", "s/f/c=three", "in/f/b=old"});
            std::shared_ptr<TransferOperation> operation;
            std::size_t count = 0;
            TransferOperation::Status last;
            const Policy policy{.on_conflict = OnConflict::replace, .merges_folders = true};
            operation = transfer(plan_of(kind, {at("s/a"), at("s/f")}, at("in"), policy),
                                 [&](const auto& status) {
                                     last = status;
                                     if (count++ == cancel_at)
                                         operation->cancel();
                                 });
            pump_until([&] { return !operation->is_busy(); });
            if (std::holds_alternative<TransferOperation::success>(last))
                ++ended_by_itself;
            const auto now = tree(folder());
            for (const std::string name : {"a=one", "f/b=two", "f/c=three"})
                EXPECT_TRUE(std::ranges::count(now, "s/" + name) +
                                std::ranges::count(now, "in/" + name) >=
                            1)
                    << name;
            EXPECT_EQ(std::ranges::count(now, "in/f/b=old") + std::ranges::count(now, "in/f/b=two"),
                      1);
        }
}

} // namespace
} // namespace orv::test
