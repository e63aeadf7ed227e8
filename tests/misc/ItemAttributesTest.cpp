#include "support/Engine.hpp"

#include <orv/Misc/FileItem.hpp>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

class ItemAttributes : public EngineTest {
protected:
    /// Stored attributes that can be told by their number.
    [[nodiscard]] CustomAttributes numbered(std::string_view name, std::int64_t number) const
    {
        return {at(name), true, number};
    }

    [[nodiscard]] std::vector<FileItem> items_at(const std::vector<std::string>& names) const
    {
        std::vector<FileItem> items;
        for (const std::string& name : names)
            items.emplace_back(at(name));
        return items;
    }
};

TEST_F(ItemAttributes, are_loaded_by_where_the_links_lead)
{
    make_tree(folder(), {"real/file=x", "real/dir/", "real/plain=x", "real/to_file->file",
                         "real/away->gone", "way->real"});
    save_all({numbered("real/file", 1), numbered("real/dir", 2), numbered("real/gone", 3),
              numbered("real", 4), numbered("real/to_file/none", 5)},
             false);

    struct Case {
        std::string name;
        std::optional<std::int64_t> number;
    };
    const Case cases[] = {
        {"real/file", 1},   {"real/dir", 2},   {"real/plain", std::nullopt},
        {"way/file", 1},    {"way/dir", 2},    {"way/plain", std::nullopt},
        {"way/to_file", 1}, {"way/away", 3},   {"way", 4},
        {"real/dir/.", 2},  {"way/dir/..", 4}, {"way/dir/../file", 1},
    };
    std::vector<std::string> names;
    for (const Case& row : cases)
        names.push_back(row.name);
    std::vector<FileItem> items = items_at(names);
    items[0].custom_attributes.url = at("elsewhere"); // what the application puts there is no key
    load_all_custom_attrs(items);
    for (std::size_t i = 0; i < items.size(); ++i) {
        EXPECT_EQ(items[i].custom_attributes.order_no, cases[i].number) << cases[i].name;
        EXPECT_EQ(items[i].custom_attributes.is_protected, cases[i].number.has_value());
    }
    EXPECT_EQ(items[0].custom_attributes.url, at("real/file"));
}

TEST_F(ItemAttributes, stay_as_they_are_where_none_are_stored)
{
    make_tree(folder(), {"a=x", "b/"});
    std::vector<FileItem> items = items_at({"a", "b"});
    load_all_custom_attrs(items);
    EXPECT_EQ(items[0].custom_attributes, CustomAttributes{at("a")});
    EXPECT_EQ(items[1].custom_attributes, CustomAttributes{at("b")});
}

TEST_F(ItemAttributes, are_saved_for_the_whole_list)
{
    make_tree(folder(), {"a=x", "b/", "c=x"});
    std::vector<FileItem> items = items_at({"c", "a", "b"});
    items[0].custom_attributes.order_no = 20;
    items[1].custom_attributes.order_no = 10;
    items[2].custom_attributes.is_protected = true;
    sync_save_all_custom_attrs(items, true);

    std::vector<FileItem> loaded = items_at({"a", "b", "c"});
    load_all_custom_attrs(loaded);
    EXPECT_EQ(loaded[0].custom_attributes.order_no, 1);
    EXPECT_TRUE(loaded[1].custom_attributes.is_protected);
    EXPECT_EQ(loaded[1].custom_attributes.order_no, std::nullopt);
    EXPECT_EQ(loaded[2].custom_attributes.order_no, 0);
    EXPECT_TRUE(CustomAttributes::fetch(folder())->is_custom_sorted);

    for (FileItem& item : loaded)
        item.custom_attributes = CustomAttributes{item.url};
    sync_save_all_custom_attrs(loaded, false);
    EXPECT_EQ(CustomAttributes::fetch(at("a")), std::nullopt);
}

} // namespace
} // namespace orv::test
