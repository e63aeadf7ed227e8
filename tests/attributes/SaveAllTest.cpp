#include "attributes/AttributesTest.hpp"

#include <orv/CustomAttributes/CustomAttributes.hpp>
#include <orv/utility/Error.hpp>

namespace orv::test {
namespace {

class SaveAll : public AttributesTest {};

CustomAttributes numbered(Url url, std::optional<std::int64_t> order_no)
{
    return {std::move(url), false, order_no, false, false};
}

CustomAttributes is_protected(Url url)
{
    return {std::move(url), true, {}, false, false};
}

TEST_F(SaveAll, stores_what_is_not_default_and_removes_the_rest)
{
    put({"a=1", "b=2", "c=3"});
    save_all({numbered(home("a"), {}),
              is_protected(home("b")),
              {home("d"), false, -3, true, false},
              {outside("e"), false, {}, false, true}},
             false);
    EXPECT_EQ(rows(),
              (Texts{outside("e").path() + "= once", "b= protected", "c=3", "d=-3 sorted"}));
}

TEST_F(SaveAll, stores_all_or_nothing)
{
    put({"a=1", "b=2"});
    database().execute(
        "CREATE TRIGGER no BEFORE INSERT ON custom_attributes"
        " WHEN new.relative_path IN ('full', '') BEGIN SELECT RAISE(FAIL, 'no'); END");
    const auto full = numbered(home("full"), 4);
    EXPECT_THROW(save_all({numbered(home("a"), {}), numbered(home("b"), 3), full}, false), Error);
    EXPECT_THROW(save_all({numbered(home("a"), {}), numbered(home("b"), 3)}, true), Error)
        << "the folder's own flags";
    EXPECT_THROW(save_all({numbered(home("b"), 3), numbered(Url(), 3)}, false), Error);
    EXPECT_EQ(rows(), (Texts{"a=1", "b=2"}));
}

TEST_F(SaveAll, updates_order_numbers_and_the_folders_flags)
{
    const Url folder = home("f");
    const auto in = [&](const char* name) { return folder.appending(name); };
    const CustomAttributes sorted_folder{folder, false, {}, true, true};
    struct Case {
        const char* name;
        std::vector<CustomAttributes> stored;
        std::vector<CustomAttributes> saved;
        Texts after;
    };
    const Case cases[] = {
        {"nothing saved", {sorted_folder}, {}, {"f= sorted once"}},
        {"numbers become positions, none becomes no number",
         {},
         {numbered(in("a"), 7), is_protected(in("b")), numbered(in("c"), 7)},
         {"f= sorted once", "f/a=0", "f/b= protected", "f/c=2"}},
        {"the folder's other attributes stay",
         {is_protected(folder)},
         {numbered(in("a"), 7)},
         {"f= protected sorted once", "f/a=0"}},
        {"no number, and the folder was not sorted",
         {},
         {is_protected(in("a"))},
         {"f/a= protected"}},
        {"the last number goes",
         {sorted_folder, numbered(in("a"), 0), numbered(in("sub/x"), 1), numbered(home("f0"), 1)},
         {numbered(in("a"), {})},
         {"f= once", "f/sub/x=1", "f0=1"}},
        {"the flag was the folder's only attribute",
         {{folder, false, {}, true, false}},
         {is_protected(in("a"))},
         {"f/a= protected"}},
        {"an item not saved keeps its number",
         {sorted_folder, numbered(in("a"), 0), numbered(in("\xFF"), 1)},
         {numbered(in("a"), {})},
         {"f= sorted once", "f/\xFF=1"}},
    };
    for (const Case& one : cases) {
        database().execute("DELETE FROM custom_attributes");
        save_all(one.stored, false);
        save_all(one.saved, true);
        EXPECT_EQ(rows(), in_order(one.after)) << one.name;
    }
}

TEST_F(SaveAll, treats_the_home_folder_like_any_other)
{
    const CustomAttributes sorted_home{home(""), false, {}, true, true};
    save_all({sorted_home, numbered(home("a"), 1)}, false);
    put({"sub/x=1", "/elsewhere=2"});
    save_all({numbered(home("a"), {})}, true);
    EXPECT_EQ(rows(), (Texts{"/elsewhere=2", "= once", "sub/x=1"}));
    save_all({numbered(home("a"), 4)}, true);
    EXPECT_EQ(rows(), (Texts{"/elsewhere=2", "= sorted once", "a=0", "sub/x=1"}));
}

} // namespace
} // namespace orv::test
