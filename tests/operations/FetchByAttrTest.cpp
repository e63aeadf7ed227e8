#include "CustomAttributes/RecCustomAttr.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <cerrno>
#include <filesystem>

namespace orv::test {
namespace {

class FetchByAttrTest : public EngineTest {
protected:
    FetchByAttrTest()
    {
        for (const Url& all : {folder().deleting_last_path_component(), Url("/")})
            RecCustomAttr::delete_records(all);
    }

    std::vector<FetchByAttrOperation::Status> fetched(std::optional<SortType> sort)
    {
        return statuses_of<FetchByAttrOperation>([&](auto take) {
            return manager().fetch_items_by_attribute(FetchByAttrOperation::Attribute::is_protected,
                                                      sort, take);
        });
    }

    std::vector<std::string> said(std::optional<SortType> sort) { return texts_of(fetched(sort)); }
};

using Texts = std::vector<std::string>;

TEST_F(FetchByAttrTest, lists_what_is_protected_wherever_it_lies)
{
    const Scratch outside;
    make_tree(folder(), {"b=22", "d/a=333", "d/c/", "other=", "link->b"});
    make_tree(outside.url(), {"E=1"});
    EXPECT_EQ(said(std::nullopt), Texts{"success"});
    save_all({{.url = at("b"), .is_protected = true, .order_no = 7},
              {.url = at("d/a"), .is_protected = true},
              {.url = at("d/c"), .is_protected = true, .is_custom_sorted = true},
              {.url = at("other"), .order_no = 1},
              {.url = outside / "E", .is_protected = true}},
             false);
    EXPECT_EQ(said(SortType::by_name(SortOrder::desc)), Texts{"success E c b a"});
    EXPECT_EQ(said(SortType::by_size(SortOrder::desc)).front().substr(0, 13), "success a b E");

    auto statuses = fetched(std::nullopt);
    ASSERT_EQ(statuses.size(), 1U);
    auto items = std::get<FetchByAttrOperation::success>(statuses[0]).content;
    orv_sort(items, SortType::by_name(SortOrder::asc));
    ASSERT_EQ(items.size(), 4U);
    EXPECT_EQ(items[1].url, at("b"));
    EXPECT_EQ(items[1].relative_path, "");
    EXPECT_EQ(items[1].custom_attributes.order_no, 7);
    EXPECT_TRUE(items[2].is_dir && items[2].custom_attributes.is_custom_sorted);
}

TEST_F(FetchByAttrTest, fails_as_a_whole_when_an_item_is_gone_or_leaves_it_out)
{
    make_tree(folder(), {"a=1", "b=1", "c=1"});
    save_all({{.url = at("a"), .is_protected = true},
              {.url = at("b"), .is_protected = true},
              {.url = at("c"), .is_protected = true}},
             false);
    std::filesystem::remove(at("b"));
    const auto statuses = fetched(SortType::by_name(SortOrder::asc));
    ASSERT_EQ(statuses.size(), 1U);
    const Error& error = std::get<status::error>(statuses[0]).error;
    EXPECT_EQ(error.path(), at("b"));
    EXPECT_EQ(error.code(), ENOENT);

    const auto rest = statuses_of<FetchByAttrOperation>([&](auto take) {
        return manager().fetch_items_by_attribute(FetchByAttrOperation::Attribute::is_protected,
                                                  SortType::by_name(SortOrder::asc),
                                                  FetchByAttrOperation::IfGone::leave_out, take);
    });
    EXPECT_EQ(texts_of(rest), Texts{"success a c"});
    EXPECT_EQ(std::get<FetchByAttrOperation::success>(rest[0]).gone, std::vector<Url>{at("b")});
}

} // namespace
} // namespace orv::test
