#include "CustomAttributes/RecCustomAttr.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

namespace orv::test {
namespace {

class SaveAttrTest : public EngineTest {
protected:
    std::vector<std::string> saved(const std::vector<FileItem>& items, bool renumber)
    {
        return texts_of(statuses_of<SaveAttrOperation>(
            [&](auto take) { return save_all_custom_attrs(items, renumber, take); }));
    }

    FileItem item(const char* name)
    {
        FileItem item{at(name)};
        item.custom_attributes.url = item.url;
        return item;
    }
};

TEST_F(SaveAttrTest, stores_what_differs_and_removes_what_does_not)
{
    make_tree(folder(), {"a=1", "b=2"});
    FileItem a = item("a");
    FileItem b = item("b");
    a.custom_attributes.is_protected = true;
    b.custom_attributes.order_no = -7;
    EXPECT_EQ(saved({a, b}, false), std::vector<std::string>{"success"});
    EXPECT_EQ(CustomAttributes::fetch(at("a")), a.custom_attributes);
    EXPECT_EQ(CustomAttributes::fetch(at("b")), b.custom_attributes);

    a.custom_attributes.is_protected = false;
    EXPECT_EQ(saved({a}, false), std::vector<std::string>{"success"});
    EXPECT_EQ(CustomAttributes::fetch(at("a")), std::nullopt);
    EXPECT_EQ(CustomAttributes::fetch(at("b")), b.custom_attributes);
    EXPECT_EQ(saved({}, true), std::vector<std::string>{"success"});
}

TEST_F(SaveAttrTest, renumbers_and_marks_the_folder)
{
    make_tree(folder(), {"a=1", "b=2", "c=3"});
    std::vector<FileItem> items = {item("c"), item("a"), item("b")};
    items[0].custom_attributes.order_no = 40;
    items[2].custom_attributes.order_no = 10;
    EXPECT_EQ(saved(items, true), std::vector<std::string>{"success"});
    EXPECT_EQ(CustomAttributes::fetch(at("c"))->order_no, 0);
    EXPECT_EQ(CustomAttributes::fetch(at("b"))->order_no, 2);
    EXPECT_EQ(CustomAttributes::fetch(at("a")), std::nullopt);
    EXPECT_TRUE(CustomAttributes::fetch(folder())->is_custom_sorted);
}

TEST_F(SaveAttrTest, an_item_without_a_location_is_an_error_and_nothing_is_stored)
{
    make_tree(folder(), {"a=1"});
    FileItem a = item("a");
    a.custom_attributes.is_protected = true;
    FileItem nowhere;
    nowhere.custom_attributes.is_protected = true;
    EXPECT_EQ(saved({a, nowhere}, false),
              std::vector<std::string>{"error: Given url points to an undefined path."});
    EXPECT_EQ(CustomAttributes::fetch(at("a")), std::nullopt);
}

} // namespace
} // namespace orv::test
