#include "CustomAttributes/RecCustomAttr.hpp"
#include "Tool/Tool.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <orv/Operations/FetchItemListOpr.hpp>

#include <algorithm>
#include <sstream>

namespace orv::test {
namespace {

class FetchItemsTest : public EngineTest {
protected:
    std::vector<FetchItemsOperation::Status> fetched(const Url& inside, bool recursive,
                                                     std::optional<SortType> sort,
                                                     bool include_hidden_files)
    {
        return statuses_of<FetchItemsOperation>([&](auto take) {
            return manager().fetch_items(inside, recursive, sort, include_hidden_files, take);
        });
    }

    /// The sort flags stored for the test's folder: none, or two letters.
    std::string stored_flags()
    {
        const auto attributes = CustomAttributes::fetch(folder());
        if (!attributes)
            return "none";
        return std::string(attributes->is_custom_sorted ? "C" : "-") +
               (attributes->was_custom_sorted_at_least_once ? "W" : "-");
    }
};

constexpr auto by_name = SortType::by_name(SortOrder::asc);

struct ListingCase {
    const char* name;
    const char* inside;
    bool recursive;
    bool include_hidden_files;
    const char* status;
};

const ListingCase listing_cases[] = {
    {"a folder", "", false, false, "success a b c link"},
    {"with hidden items", "", false, true, "success .h .k a b c link"},
    {"a tree", "", true, false, "success a b b/d b/e c link"},
    {"a tree with hidden items", "", true, true, "success .h .h/i .k a b b/d b/e b/e/.j c link"},
    {"an empty folder", "c", true, true, "success"},
    {"a link to a folder", "link", false, false, "success d e"},
    {"nothing", "nothing", false, false, "error: No item exists at given url."},
    {"nothing in a file", "a/nothing", false, false, "error: No item exists at given url."},
    {"a file", "a", true, true, "error: Given url must point to a folder."},
    {"a dangling link", ".k", true, true, "error: Given url must point to a folder."},
};

TEST_F(FetchItemsTest, lists_what_was_asked_for)
{
    make_tree(folder(), {"a=1", "b/d=22", "b/e/.j=3", "c/", "link->b", ".h/i=4", ".k->gone"});
    for (const ListingCase& row : listing_cases) {
        SCOPED_TRACE(row.name);
        auto statuses =
            fetched(at(row.inside), row.recursive, std::nullopt, row.include_hidden_files);
        ASSERT_EQ(statuses.size(), 1U);
        if (auto* success = std::get_if<FetchItemsOperation::success>(&statuses[0]))
            std::sort(success->content.begin(), success->content.end(),
                      [](const auto& one, const auto& other) {
                          return one.relative_path < other.relative_path;
                      });
        EXPECT_EQ(text_of(statuses[0]), row.status);
    }
}

TEST_F(FetchItemsTest, a_failure_names_the_method_and_the_line)
{
    make_tree(folder(), {"a=1"});
    const auto message = [&](const char* name) {
        return std::get<status::error>(fetched(at(name), false, {}, false).back()).error.message();
    };
    EXPECT_EQ(message("b"),
              "No item exists at given url. (src/Operations/FetchItemsOpr, "
              "fetch_items(inside:recursive:sort:include_hidden_files:status_closure:), line 54)");
    EXPECT_EQ(message("a"),
              "Given url must point to a folder. (src/Operations/FetchItemsOpr, "
              "fetch_items(inside:recursive:sort:include_hidden_files:status_closure:), line 50)");
}

TEST_F(FetchItemsTest, items_come_with_their_attributes_and_in_the_order_asked_for)
{
    make_tree(folder(), {"a=1", "b=333", "c=22", "d/"});
    save_all({{.url = at("c"), .order_no = 0}, {.url = at("a"), .order_no = 1}}, false);
    const auto list = [&](SortType sort) {
        return text_of(fetched(folder(), false, sort, false).back());
    };
    EXPECT_EQ(list(by_name), "success a b c d");
    EXPECT_EQ(list(SortType::by_size(SortOrder::desc)), "success b c a d");
    EXPECT_EQ(list(SortType::by_custom_order()).substr(0, 11), "success c a");

    const auto statuses = fetched(folder(), false, by_name, false);
    const auto& items = std::get<FetchItemsOperation::success>(statuses.back()).content;
    EXPECT_EQ(items[2].custom_attributes.order_no, 0);
    EXPECT_EQ(items[1].custom_attributes.order_no, std::nullopt);
}

TEST_F(FetchItemsTest, a_long_list_has_the_order_of_the_walk)
{
    std::vector<std::string> entries = {"deep/1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16/17/file="};
    for (int i = 0; i < 900; ++i)
        entries.push_back("f" + std::to_string(i % 4) + "/" + std::to_string(i % 7) + "/" +
                          std::to_string(i) + "=");
    make_tree(folder(), entries);
    std::vector<std::string> walked;
    Tool::iterate_contents(folder(), false, true, {}, true, [&](const FileItem& item) {
        walked.push_back(item.url.path());
        return true;
    });
    const auto statuses = fetched(folder(), true, {}, true);
    std::vector<std::string> listed;
    for (const FileItem& item : std::get<FetchItemsOperation::success>(statuses.back()).content)
        listed.push_back(item.url.path());
    EXPECT_EQ(listed, walked);
}

/// All that is known of an item.
std::string described(const FileItem& item)
{
    const auto time = [](const auto& date) { return date ? date->time_since_epoch().count() : -1; };
    std::ostringstream text;
    text << item.url.path() << '|' << item.is_dir << item.is_package << item.is_hidden << item.level
         << '|' << item.relative_path << '|' << item.size.value_or(-1) << '|' << item.name << '|'
         << item.title << '|' << item.ext << '|' << time(item.creation_date) << '|'
         << time(item.modification_date) << '|' << item.mode << '|'
         << item.custom_attributes.url.path() << '|' << item.custom_attributes.is_protected
         << item.custom_attributes.order_no.value_or(-1);
    return text.str();
}

TEST_F(FetchItemsTest, a_list_in_little_memory_holds_the_same_items)
{
    std::vector<std::string> entries = {"d/a.app/x=1", "d/.hidden=22", "d/link->a.app",
                                        "d/b.TXT=333", "d/B.txt=",     "e/"};
    for (int i = 0; i < 300; ++i)
        entries.push_back("many/" + std::to_string(i * 7 % 300) + ".jpg=");
    make_tree(folder(), entries);
    save_all({{.url = folder().appending("many/5.jpg"), .order_no = 2},
              {.url = folder().appending("d/b.TXT"), .is_protected = true, .order_no = 1}},
             false);
    const std::optional<SortType> sorts[] = {
        std::nullopt,
        by_name,
        SortType::by_natural_name(SortOrder::desc).with_folders_first(),
        SortType::by_extension(SortOrder::desc),
        SortType::by_modification_date(SortOrder::asc),
        SortType::by_size(SortOrder::desc),
        SortType::by_custom_order()};
    for (const auto& sort : sorts) {
        const auto whole = fetched(folder(), true, sort, true);
        const auto compact = statuses_of<FetchItemListOperation>(
            [&](auto take) { return fetch_item_list(folder(), true, sort, true, take); });
        const auto& items = std::get<FetchItemsOperation::success>(whole.back()).content;
        const ItemList& list = std::get<FetchItemListOperation::success>(compact.back()).content;
        ASSERT_EQ(list.size(), items.size());
        for (std::size_t i = 0; i < items.size(); ++i)
            ASSERT_EQ(described(list[i]), described(items[i]));
    }
}

TEST_F(FetchItemsTest, the_sort_is_remembered_where_the_folder_has_a_record)
{
    const struct {
        std::optional<SortType> sort;
        std::string without_record;
        std::string with_record;
    } rows[] = {
        {by_name, "none", "--"},
        {SortType::by_custom_order(), "none", "CW"},
        {SortType::by_custom_order().with_folders_first(), "none", "CW"},
        {std::nullopt, "none", "CW"},
        {SortType::by_size(SortOrder::asc), "none", "-W"},
        {SortType::by_folders_first(), "none", "-W"},
    };
    for (const auto& row : rows) {
        fetched(folder(), false, row.sort, false);
        EXPECT_EQ(stored_flags(), row.without_record);
    }
    save_all({{.url = folder(), .is_protected = true}}, false);
    for (const auto& row : rows) {
        fetched(folder(), false, row.sort, false);
        EXPECT_EQ(stored_flags(), row.with_record);
    }
    EXPECT_TRUE(CustomAttributes::fetch(folder())->is_protected);
}

TEST_F(FetchItemsTest, a_cancel_during_the_walk_or_after_it_yields_no_part_of_the_list)
{
    OrvFileManager::set_test_mode(true);
    for (const int count : {1, 40}) {
        std::vector<std::string> entries;
        for (int i = 0; i < count; ++i)
            entries.push_back("f" + std::to_string(count) + "/" + std::to_string(i) + "=");
        make_tree(folder(), entries);
    }
    std::vector<std::string> said;
    const auto take = [&](const auto& status) { said.push_back(text_of(status)); };
    const auto start = std::chrono::steady_clock::now();
    const auto one = manager().fetch_items(at("f1"), true, by_name, false, take);
    const auto many = manager().fetch_items(at("f40"), true, by_name, false, take);
    one->cancel();
    many->cancel();
    pump_until([&] { return said.size() == 2; });
    EXPECT_EQ(said, (std::vector<std::string>{"cancelled", "cancelled"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

} // namespace
} // namespace orv::test
