#include "CustomAttributes/RecCustomAttr.hpp"

#include "CustomAttributes/CustomAttributes.hpp"
#include "CustomAttributes/RecordMove.hpp"
#include "CustomAttributes/RecordTree.hpp"
#include "attributes/AttributesTest.hpp"

#include <algorithm>

namespace orv::test {
namespace {

class Records : public AttributesTest {
protected:
    /// How the database finds the records of a tree, one line a step.
    Texts plan(std::string_view statement)
    {
        Texts steps;
        const std::string sql =
            "EXPLAIN QUERY PLAN " + std::string(statement) + std::string(RecordTree::condition);
        database().query(sql, RecordTree(RecordKey("a")).ranges(), [&](const Row& row) {
            steps.emplace_back(row.text(3));
            return true;
        });
        return steps;
    }
};

constexpr auto yes = [] { return true; };
constexpr auto no = [] { return false; };

RecordKey key(std::string text)
{
    return RecordKey(std::move(text));
}

struct TreeCase {
    std::string from;
    std::string to;
    Texts before;
    Texts duplicated;
    Texts moved;
    Texts deleted;
};

// Siblings of "A" whose keys lie close to its tree.
const Texts beside_a = {"A =8",  "A\x01=9", "A!/x=10", "A.b=11",
                        "A0=12", "AB/x=13", "B=14",    "a/x=15"};

Texts with_beside_a(Texts rows)
{
    rows.insert(rows.end(), beside_a.begin(), beside_a.end());
    return rows;
}

TEST_F(Records, of_a_tree_follow_it)
{
    const TreeCase cases[] = {
        {"A", "C", with_beside_a({"A=1", "A/x=2", "A/x/y=3"}),
         with_beside_a({"A=1", "A/x=2", "A/x/y=3", "C=1", "C/x=2", "C/x/y=3"}),
         with_beside_a({"C=1", "C/x=2", "C/x/y=3"}), with_beside_a({})},
        {"A",
         "C",
         {"A/x=2", "C/stale=5", "C/x=6", "C0=7"},
         {"A/x=2", "C/stale=5", "C/x=2", "C0=7"},
         {"C/x=2", "C0=7"},
         {"C/stale=5", "C/x=6", "C0=7"}},
        {"A",
         "C/D/E",
         {"A/x=2", "C=3"},
         {"A/x=2", "C=3", "C/D/E/x=2"},
         {"C=3", "C/D/E/x=2"},
         {"C=3"}},
        {"%_*[x]?",
         "\xFF'\"",
         {"%_*[x]?/\xFE=1", "ab/x=2"},
         {"%_*[x]?/\xFE=1", "ab/x=2", "\xFF'\"/\xFE=1"},
         {"ab/x=2", "\xFF'\"/\xFE=1"},
         {"ab/x=2"}},
        {"\xC3",
         "b",
         {"\xC3/\xA4=1", "\xC3\xA4/x=2"},
         {"b/\xA4=1", "\xC3/\xA4=1", "\xC3\xA4/x=2"},
         {"b/\xA4=1", "\xC3\xA4/x=2"},
         {"\xC3\xA4/x=2"}},
        {"A",
         "/out/C",
         {"/out=1", "A=2", "A/x=3"},
         {"/out=1", "/out/C=2", "/out/C/x=3", "A=2", "A/x=3"},
         {"/out=1", "/out/C=2", "/out/C/x=3"},
         {"/out=1"}},
        {"/out/C",
         "A",
         {"/out/C/x=3", "/out/C=2"},
         {"/out/C=2", "/out/C/x=3", "A=2", "A/x=3"},
         {"A=2", "A/x=3"},
         {}},
        {"",
         "/out",
         {"=1", "/a/b=2", "0=3", "a/b=4"},
         {"=1", "/a/b=2", "/out=1", "/out/0=3", "/out/a/b=4", "0=3", "a/b=4"},
         {"/a/b=2", "/out=1", "/out/0=3", "/out/a/b=4"},
         {"/a/b=2"}},
        {"/out",
         "",
         {"/out=1", "/out/a=2"},
         {"=1", "/out=1", "/out/a=2", "a=2"},
         {"=1", "a=2"},
         {}},
        {"/",
         "A",
         {"/=1", "/x=2", "b=3"},
         {"/=1", "/x=2", "A=1", "A/x=2", "b=3"},
         {"A=1", "A/x=2", "b=3"},
         {"b=3"}},
        {"A", "A", {"A=1", "A/x=2"}, {"A=1", "A/x=2"}, {"A=1", "A/x=2"}, {}},
        {"A", "C", {"B=1", "C=2"}, {"B=1", "C=2"}, {"B=1", "C=2"}, {"B=1", "C=2"}},
    };
    for (const TreeCase& one : cases) {
        const auto start_again = [&] {
            database().execute("DELETE FROM custom_attributes");
            put(one.before);
        };
        start_again();
        RecCustomAttr::delete_records(key(one.from));
        EXPECT_EQ(rows(), in_order(one.deleted)) << one.from;
        EXPECT_FALSE(RecCustomAttr::any_records_below(key(one.from)));

        start_again();
        RecCustomAttr::duplicate_records(key(one.from), key(one.to));
        EXPECT_EQ(rows(), in_order(one.duplicated)) << one.from << " to " << one.to;
        start_again();
        RecordMove move(key(one.from), key(one.to), false);
        move.store_for_both([] {});
        move.finish([] {}, yes);
        EXPECT_EQ(rows(), in_order(one.moved)) << one.from << " to " << one.to;
    }
}

TEST_F(Records, of_an_item_that_is_moved_out_of_a_folder_being_moved_stay_with_it)
{
    put({"A=1", "A/x=2"});
    RecordMove out(key("A/x"), key("x"), false);
    RecordMove whole(key("A"), key("B"), false);
    out.store_for_both([] {});
    whole.store_for_both([] {});
    whole.finish([] {}, yes);
    out.finish([] {}, yes);
    EXPECT_EQ(RecCustomAttr::fetch(key("x"))->order_no, 2);
    EXPECT_EQ(RecCustomAttr::fetch(key("B"))->order_no, 1);
}

struct MoveCase {
    const char* name;
    Texts before;
    Texts meanwhile; ///< saved while the item is being moved
    bool has_moved;  ///< and still is at its new place
    Texts finished;
    Texts taken_back; ///< had the move failed instead
};

TEST_F(Records, that_are_saved_during_a_move_of_their_item_arrive)
{
    const MoveCase cases[] = {
        {"none", {"A=1", "B/stale=5"}, {}, true, {"B=1"}, {"A=1", "B/stale=5"}},
        {"at the old place",
         {"A=1", "A/x=2"},
         {"A=7", "A/y=8"},
         true,
         {"B=7", "B/x=2", "B/y=8"},
         {"A=7", "A/x=2", "A/y=8"}},
        {"at the new place", {"A=1", "A/x=2"}, {"B=7"}, true, {"B=7", "B/x=2"}, {"A=1", "A/x=2"}},
        {"the first one", {}, {"A=7"}, true, {"B=7"}, {"A=7"}},
        {"and the item is moved on", {"A=1"}, {"A=7"}, false, {"A=7", "B=1"}, {"A=7"}}};
    for (const MoveCase& one : cases)
        for (const bool fails : {false, true}) {
            SCOPED_TRACE(one.name);
            database().execute("DELETE FROM custom_attributes");
            put(one.before);
            RecordMove move(key("A"), key("B"), false);
            move.store_for_both([] {});
            put(one.meanwhile);
            if (fails)
                move.take_back(no);
            else
                move.finish([] {}, [&] { return one.has_moved; });
            EXPECT_EQ(rows(), in_order(fails ? one.taken_back : one.finished)) << fails;
        }
}

TEST_F(Records, that_another_process_took_from_the_new_place_are_stored_there_again)
{
    put({"A=1"});
    RecordMove move(key("A"), key("B"), false);
    move.store_for_both([] {});
    RecCustomAttr::delete_records(key("B"));
    move.finish([] {}, yes);
    EXPECT_EQ(rows(), Texts{"B=1"});
}

TEST_F(Records, of_a_tree_are_found_through_the_index)
{
    for (const char* statement :
         {"SELECT * FROM custom_attributes WHERE ", "DELETE FROM custom_attributes WHERE "}) {
        const Texts steps = plan(statement);
        const auto starts_with = [&](std::string_view text) {
            return std::count_if(steps.begin(), steps.end(),
                                 [&](const std::string& step) { return step.starts_with(text); });
        };
        EXPECT_EQ(starts_with("SEARCH"), 2) << statement;
        EXPECT_EQ(starts_with("SCAN"), 0) << statement;
    }
}

TEST_F(Records, are_duplicated_one_by_one_with_everything_in_them)
{
    const RecCustomAttr full{"a", 1, -7, 1, 1};
    const RecCustomAttr bare{"b", 1, std::nullopt, 0, 0};
    replace_in(database(), "custom_attributes", std::vector{full, bare});
    put({"to_b=9", "to_none=8"});

    RecCustomAttr::duplicate_record(home("a"), home("single"));
    RecCustomAttr::duplicate_record(key("none"), key("to_none"));
    RecCustomAttr::duplicate_each_record(std::vector<RecordCopy>{{key("a"), key("to_a")},
                                                                 {key("none"), key("to_none")},
                                                                 {key("b"), key("to_b")},
                                                                 {key("a"), key("again")}});
    EXPECT_EQ(rows(), (Texts{"a=-7 protected sorted once", "again=-7 protected sorted once",
                             "b= protected", "single=-7 protected sorted once",
                             "to_a=-7 protected sorted once", "to_b= protected", "to_none=8"}));
}

TEST_F(Records, say_whether_there_are_any)
{
    EXPECT_FALSE(RecCustomAttr::any_records());
    EXPECT_FALSE(RecCustomAttr::any_records_below(key("")));
    put({"a/b=1"});
    EXPECT_TRUE(RecCustomAttr::any_records());
    EXPECT_TRUE(RecCustomAttr::any_records_below(key("")));
    EXPECT_TRUE(RecCustomAttr::any_records_below(key("a")));
    EXPECT_FALSE(RecCustomAttr::any_records_below(key("a/b/c")));
}

TEST_F(Records, are_fetched_by_condition_and_by_location)
{
    make_tree(home(""), {"real/", "link->real"});
    replace_in(database(), "custom_attributes",
               std::vector<RecCustomAttr>{{"link/a", 1, std::nullopt, 0, 0}, {"b", 0, 5, 0, 2}});
    const auto by_url = fetch_attributes_where("is_protected = ?", {1});
    ASSERT_EQ(by_url.size(), 1U);
    EXPECT_EQ(by_url.at(home("real/a")),
              (CustomAttributes{home("real/a"), true, std::nullopt, false, false}));

    EXPECT_EQ(CustomAttributes::fetch(home("b")),
              (CustomAttributes{home("b"), false, 5, false, true}));
    EXPECT_EQ(CustomAttributes::fetch(home("none")), std::nullopt);
    const auto all = CustomAttributes::fetch_all({home("none"), home("b"), home("b")});
    ASSERT_EQ(all.size(), 1U);
    EXPECT_EQ(all.at(home("b")).order_no, 5);
    EXPECT_TRUE(CustomAttributes::fetch_all({home("none")}).empty());
    EXPECT_TRUE(CustomAttributes::fetch_all({}).empty());
}

TEST_F(Records, of_a_hundred_thousand_items_are_fetched_saved_and_deleted_at_once)
{
    std::vector<CustomAttributes> list;
    std::vector<Url> urls;
    for (int i = 0; i < 100'000; ++i) {
        urls.push_back(home("folder/" + std::to_string(i)));
        list.push_back({urls.back(), false, i, false, false});
    }
    save_all(list, false);
    const auto found = CustomAttributes::fetch_all(urls);
    EXPECT_EQ(found.size(), urls.size());
    EXPECT_EQ(found.at(urls[70'000]).order_no, 70'000);
    for (CustomAttributes& attributes : list)
        attributes.order_no.reset();
    save_all(list, false);
    EXPECT_FALSE(RecCustomAttr::any_records());
}

} // namespace
} // namespace orv::test
