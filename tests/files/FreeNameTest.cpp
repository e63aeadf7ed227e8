#include "files/FreeName.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using Names = std::vector<std::string>;

struct NameCase {
    Names before;
    std::string from;
    std::string expected;
    Names not_allowed = {};
};

std::string repeated(std::string_view text, int times)
{
    std::string result;
    for (int i = 0; i < times; ++i)
        result += text;
    return result;
}

const NameCase name_cases[] = {
    {{}, "a.txt", "a.txt"},
    {{"a.txt=x"}, "a.txt", "a 2.txt"},
    {{"a.txt=x", "a 2.txt/"}, "a.txt", "a 3.txt"},
    {{"a.txt=x", "a 3.txt=x"}, "a.txt", "a 2.txt"},
    {{"plain=x"}, "plain", "plain 2"},
    {{"a.=x"}, "a.", "a. 2"},
    // a name with a number goes on with it
    {{"a 7.txt=x"}, "a 7.txt", "a 8.txt"},
    {{"a 9.txt=x", "a 10.txt=x"}, "a 9.txt", "a 11.txt"},
    {{"a 1.txt=x"}, "a 1.txt", "a 2.txt"},
    {{"a 07.txt=x"}, "a 07.txt", "a 07 2.txt"},
    {{"a 20240131123456.txt=x"}, "a 20240131123456.txt", "a 20240131123456 2.txt"},
    {{"a -3.txt=x"}, "a -3.txt", "a -3 2.txt"},
    {{"7.txt=x"}, "7.txt", "7 2.txt"},
    {{" 7.txt=x"}, " 7.txt", " 7 2.txt"},
    {{"a .txt=x"}, "a .txt", "a  2.txt"},
    // endings
    {{"a.tar.gz=x"}, "a.tar.gz", "a 2.tar.gz"},
    {{"a 2.TAR.XZ=x"}, "a 2.TAR.XZ", "a 3.TAR.XZ"},
    {{"a.tar.txt=x"}, "a.tar.txt", "a.tar 2.txt"},
    {{"a.b.gz=x"}, "a.b.gz", "a.b 2.gz"},
    {{".tar.gz=x"}, ".tar.gz", ".tar 2.gz"},
    {{"1. Introduction=x"}, "1. Introduction", "1. Introduction 2"},
    // folders, hidden items, links, bytes
    {{"v1.2/"}, "v1.2", "v1.2 2"},
    {{"v1 2/"}, "v1 2", "v1 3"},
    {{".profile=x"}, ".profile", ".profile 2"},
    {{".app.conf=x"}, ".app.conf", ".app 2.conf"},
    {{"l.txt->nowhere", "l 2.txt->nowhere"}, "l.txt", "l 3.txt"},
    {{"\xff.\xfe=x"}, "\xff.\xfe", "\xff 2.\xfe"},
    // names that others are about to take
    {{}, "a.txt", "a 2.txt", {"a.txt"}},
    {{"a.txt=x"}, "a.txt", "a 4.txt", {"a 2.txt", "sub/../a 3.txt", "sub/a 4.txt"}},
    // the longest names
    {{repeated("x", 250) + ".text=x"},
     repeated("x", 250) + ".text",
     repeated("x", 248) + " 2.text"},
    {{repeated("é", 126) + ".t=x"}, repeated("é", 126) + ".t", repeated("é", 125) + " 2.t"},
    {{repeated("x", 255) + "=x"}, repeated("x", 255), repeated("x", 253) + " 2"},
    {{"a." + repeated("e", 253) + "=x"},
     "a." + repeated("e", 253),
     "a." + repeated("e", 251) + " 2"},
    {{}, repeated("x", 300) + ".text", repeated("x", 248) + " 2.text"},
};

TEST(FreeName, a_free_name_is_found_beside_a_taken_one)
{
    for (const NameCase& row : name_cases) {
        const Scratch root;
        make_tree(root.url(), row.before);
        std::vector<Url> not_allowed;
        for (const std::string& name : row.not_allowed)
            not_allowed.push_back(root / name);
        EXPECT_EQ(generate_non_conflicting_file_url(root / row.from, not_allowed),
                  root / row.expected);
    }
}

TEST(FreeName, a_thousand_taken_names_are_passed)
{
    const Scratch root;
    std::vector<Url> not_allowed;
    write_file(root / "a.txt", "");
    for (int i = 2; i <= 1000; ++i) {
        const Url url = root / ("a " + std::to_string(i) + ".txt");
        if (i % 2 == 0)
            write_file(url, "");
        else
            not_allowed.push_back(url);
    }
    EXPECT_EQ(generate_non_conflicting_file_url(root / "a.txt", not_allowed), root / "a 1001.txt");
}

TEST(FreeName, there_is_none_where_no_item_can_be)
{
    const Scratch root;
    make_tree(root.url(), {"file=x"});
    for (const Url& from : {Url(), Url("/"), root / "..", root / ".", root / "file/a.txt"})
        EXPECT_EQ(generate_non_conflicting_file_url(from, {}), std::nullopt) << from.path();
    EXPECT_EQ(generate_non_conflicting_file_url(root / "missing/a.txt", {}),
              root / "missing/a.txt");
}

} // namespace
} // namespace orv::test
