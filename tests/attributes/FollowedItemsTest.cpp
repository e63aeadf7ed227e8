#include "CustomAttributes/FollowedItems.hpp"

#include "CustomAttributes/ItemIdentity.hpp"
#include "CustomAttributes/RecordMove.hpp"
#include "attributes/AttributesTest.hpp"

#include <orv/CustomAttributes/CustomAttributes.hpp>
#include <orv/Misc/FileItem.hpp>

#include <cstdlib>
#include <filesystem>

namespace orv::test {
namespace {

class FollowedItems : public AttributesTest {
protected:
    ~FollowedItems() override { set_follows_items(false); }

    /// Four items with order numbers, and one without.
    void begin(bool follows)
    {
        set_follows_items(follows);
        std::filesystem::remove_all(home(""));
        database().execute("DELETE FROM custom_attributes");
        make_tree(home(""), {"d/a=1", "d/b=2", "d/n=3", "d/f/in=4", "e/"});
        std::vector<CustomAttributes> attributes;
        std::int64_t number = 0;
        for (const char* name : {"d/a", "d/b", "d/f", "d/f/in"})
            attributes.push_back({home(name), false, ++number, false, false});
        save_all(attributes, false);
    }
    static void run(const std::string& commands)
    {
        ASSERT_EQ(std::system(("cd " + home("").path() + " && (" + commands + ")").c_str()), 0);
    }

    /// Lists the folders, one after the other.
    static void look_at(const Texts& folders)
    {
        for (const std::string& folder : folders) {
            std::vector<FileItem> items;
            for (const auto& entry : std::filesystem::directory_iterator(home(folder)))
                items.emplace_back(Url(entry.path()));
            load_all_custom_attrs(items);
        }
    }
};

struct FollowCase {
    const char* what;
    std::string commands; ///< of other programs
    Texts looked_at;
    Texts rows;
};

const FollowCase follow_cases[] = {
    {"nothing", "true", {"d", "e"}, {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
    {"a new name", "mv d/a d/c", {"d"}, {"d/b=2", "d/c=1", "d/f/in=4", "d/f=3"}},
    {"another folder", "mv d/a e/c", {"e"}, {"d/b=2", "d/f/in=4", "d/f=3", "e/c=1"}},
    {"a folder takes along what is below",
     "mv d/f e/g",
     {"e"},
     {"d/a=1", "d/b=2", "e/g/in=4", "e/g=3"}},
    {"a folder above", "mv d e/d", {"e/d"}, {"e/d/a=1", "e/d/b=2", "e/d/f/in=4", "e/d/f=3"}},
    {"an exchange of names",
     "mv d/a t; mv d/b d/a; mv t d/b",
     {"d"},
     {"d/a=2", "d/b=1", "d/f/in=4", "d/f=3"}},
    {"an exchange over two folders, one of them looked at",
     "mv d/a e/a; mv d/f/in d/a; mv e/a d/f/in",
     {"d"},
     {"d/a=4", "d/b=2", "d/f/in=1", "d/f=3"}},
    {"another item in its place", "mv d/a d/b", {"d"}, {"d/b=1", "d/f/in=4", "d/f=3"}},
    {"a different item under the old name",
     "mv d/a e/c; echo > d/a",
     {"d"},
     {"d/b=2", "d/f/in=4", "d/f=3", "e/c=1"}},
    {"saved by an editor",
     "cp d/a d/.a; mv d/.a d/a",
     {"d"},
     {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
    {"saved by an editor that keeps a backup",
     "mv d/a d/a~; echo > d/a",
     {"d"},
     {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
    {"checked out anew", "rm d/a; echo > d/a", {"d"}, {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
    {"a second name", "ln d/a e/c", {"e", "d"}, {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
    {"away", "mv d/a e/a", {"e"}, {"d/b=2", "d/f/in=4", "d/f=3", "e/a=1"}},
    {"away and back",
     "mv d/a e/a; mv e/a d/a",
     {"e", "d"},
     {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
    {"gone", "rm d/a", {"d", "e"}, {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
    {"hidden by a request under way",
     "mv d/a d/.0.orvresume",
     {"d"},
     {"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}},
};

TEST_F(FollowedItems, have_their_attributes_where_others_took_them)
{
    begin(true);
    if (!identity_at(home("d/a")))
        GTEST_SKIP() << "this volume keeps no dates of creation";
    for (const auto& [what, commands, looked_at, rows_then] : follow_cases) {
        SCOPED_TRACE(what);
        begin(true);
        run(commands);
        look_at(looked_at);
        EXPECT_EQ(rows(), rows_then);
    }
}

TEST_F(FollowedItems, are_known_after_a_move_of_our_own_and_a_save)
{
    begin(true);
    if (!identity_at(home("d/a")))
        GTEST_SKIP() << "this volume keeps no dates of creation";
    RecordMove move(record_key(home("d/f")), record_key(home("e/g")), false);
    move.store_for_both([] {});
    run("mv d/f e/g; rm d/a; echo > d/a");
    move.finish([] {}, [] { return true; });
    look_at({"d"});
    run("mv e/g/in e/i; mv d/a e/c");
    EXPECT_EQ(found_again(home("e/g/in")), home("e/i"));
    EXPECT_EQ(CustomAttributes::fetch(home("e/c")).value().order_no, 1);
    EXPECT_EQ(rows(), (Texts{"d/b=2", "e/c=1", "e/g=3", "e/i=4"}));
}

TEST_F(FollowedItems, of_two_names_keep_their_own_when_one_goes)
{
    begin(true);
    run("ln d/a d/l");
    save_all({{home("d/l"), false, 9, false, false}, {home("d/a"), false, 1, false, false}}, false);
    run("rm d/l");
    look_at({"d"});
    EXPECT_EQ(CustomAttributes::fetch(home("d/a")).value().order_no, 1);
}

TEST_F(FollowedItems, stay_with_their_paths_unless_asked_for)
{
    begin(false);
    run("mv d/a d/c");
    look_at({"d"});
    EXPECT_EQ(rows(), (Texts{"d/a=1", "d/b=2", "d/f/in=4", "d/f=3"}));
    EXPECT_FALSE(RecItemIdentity::any_known());
}

} // namespace
} // namespace orv::test
