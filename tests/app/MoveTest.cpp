#include "app/Command.hpp"

namespace orv::test {
namespace {

const ChangeCase move_cases[] = {
    {{"a=1"}, {"mv", "a", "b"}, 0, "", {"b=1"}},
    {{"a=1", "d/"}, {"mv", "a", "d"}, 0, "", {"d/", "d/a=1"}},
    {{"a=1", "d/", "l->d"}, {"mv", "a", "l/"}, 0, "", {"d/", "d/a=1", "l->d"}},
    {{"s/a=1"}, {"mv", "s", "new/"}, 0, "", {"new/", "new/a=1"}},
    {{"a=1"}, {"mv", "a", "b/"}, 1, "orv: Destination is not a folder: $W/b\n", {"a=1"}},
    {{}, {"mv", "a", "b"}, 1, "orv: Source item doesn't exist: $W/a\n", {}},
    {{"d/a=1"},
     {"mv", "d", "d"},
     1,
     "orv: Source path conflicts with destination path: $W/d\n",
     {"d/", "d/a=1"}},
    {{"d/a=1", "e/"},
     {"mv", "d/.", "e"},
     1,
     "orv: An item can't be moved as \".\" or \"..\": $W/d/.\n",
     {"d/", "d/a=1", "e/"}},
    {{"a=1", "l->a", "d/"}, {"mv", "a", "l", "d"}, 0, "", {"d/", "d/a=1", "d/l->a"}},
    {{"d/a=1", "d/b=1", "e/d/a=2"},
     {"mv", "d", "e", "--on-conflict", "merge"},
     0,
     "",
     {"d/", "d/a=1", "e/", "e/d/", "e/d/a=2", "e/d/b=1"}},
    {{"a=1", "b=2"},
     {"mv", "a", "b"},
     1,
     "orv: Destination item already exists: $W/b\n",
     {"a=1", "b=2"}},
    {{"a=1", "b=2"}, {"mv", "a", "b", "--on-conflict", "replace"}, 0, "", {"b=1"}},
    {{"a=1", "b=2"}, {"mv", "a", "b", "--on-conflict", "keep-both"}, 0, "", {"b (2)=1", "b=2"}},
    {{"a=1"}, {"mv", "a", "a", "--on-conflict", "replace"}, 0, "", {"a=1"}},

    {{"a=1", "b/c=2", "d/"}, {"mv", "a", "b", "d"}, 0, "", {"d/", "d/a=1", "d/b/", "d/b/c=2"}},
    {{"a=1", "b=2"},
     {"mv", "a", "b", "d"},
     1,
     "orv: Destination folder doesn't exist: $W/d\n",
     {"a=1", "b=2"}},
    {{"a=1", "d/"},
     {"mv", "a", "", "d"},
     1,
     "orv: Source url points to an undefined path\n",
     {"a=1", "d/"}},
    {{"a=1", "c=1", "d/"},
     {"mv", "a", "b", "c", "d"},
     1,
     "orv: Source item doesn't exist: $W/b\n",
     {"c=1", "d/", "d/a=1"}},
    {{"a=1", "c=1", "d/"},
     {"mv", "a", "b", "c", "d", "--on-error", "skip"},
     1,
     "orv: Source item doesn't exist: $W/b\n",
     {"d/", "d/a=1", "d/c=1"}},
    {{"a=1", "b=1", "d/b=2"},
     {"mv", "a", "b", "d", "--on-conflict", "stop"},
     1,
     "orv: Destination item already exists: $W/d/b\n",
     {"b=1", "d/", "d/a=1", "d/b=2"}},
    {{"a=1", "s/a=2", "d/"},
     {"mv", "a", "s/a", "d", "--on-conflict", "replace"},
     1,
     "orv: Two of the items have this name; --on-conflict keep-both keeps both: $W/s/a\n",
     {"a=1", "d/", "s/", "s/a=2"}},
    {{"a=1", "s/a=2", "d/"},
     {"mv", "a", "s/a", "d", "--on-conflict", "keep-both"},
     0,
     "",
     {"d/", "d/a (2)=2", "d/a=1", "s/"}},

    {{"a=1"}, {"rename", "a", "[x]"}, 0, "", {"[x]=1"}},
    {{"a=1", "l->a"}, {"rename", "l", "++"}, 0, "", {"++->a", "a=1"}},
    {{"a=1", "b=2"},
     {"rename", "a", "b"},
     1,
     "orv: Couldn't rename item, because the provided name is taken: $W/b\n",
     {"a=1", "b=2"}},
    {{"a=1"}, {"rename", "a", ""}, 1, "orv: New name cannot be an empty string: $W/a\n", {"a=1"}},
    {{}, {"rename", "a", "b"}, 1, "orv: No item exists at given url: $W/a\n", {}},
    {{"d/"},
     {"rename", "d/..", "b"},
     1,
     "orv: An item can't be renamed as \".\" or \"..\": $W/d/..\n",
     {"d/"}},
    {{"a=1"}, {"rename", "a", "d/a"}, 1, "orv: New name cannot contain a slash: $W/a\n", {"a=1"}},
};

TEST_F(CommandTest, MovesAndRenames)
{
    for (const ChangeCase& row : move_cases)
        check(row);
}

TEST_F(CommandTest, TakesTheAttributesAlong)
{
    make_tree(work(), {"d/a=1", "e/", "f/"});
    orv({"attr", "set", "d/a", "--order", "7"});
    for (const Words& step :
         {Words{"mv", "d", "e"}, {"rename", "e/d", "g"}, {"mv", "e/g", "e", "f"}})
        EXPECT_EQ(orv(step).err, "");
    EXPECT_EQ(tree(work()), (Words{"f/", "f/e/", "f/g/", "f/g/a=1"}));
    EXPECT_NE(orv({"attr", "get", "f/g/a"}).out.find("order: 7\n"), std::string::npos);
}

} // namespace
} // namespace orv::test
