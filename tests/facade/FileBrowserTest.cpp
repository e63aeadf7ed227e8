#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <filesystem>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;

class FileBrowserTest : public EngineTest {};

TEST_F(FileBrowserTest, goes_where_it_is_told)
{
    make_tree(folder(), {"a/b/", "link->a"});
    OrvFileBrowser browser;
    EXPECT_EQ(browser.curr_dir().last_path_component(), "Documents");
    browser.change_dir(at("link"));
    EXPECT_EQ(browser.curr_dir(), at("a").resolving_symlinks());
    browser.change_dir("b");
    EXPECT_EQ(browser.curr_dir(), at("a/b").resolving_symlinks());
    browser.change_dir(std::string("not there"));
    EXPECT_EQ(browser.curr_dir(), at("a/b").resolving_symlinks().appending("not there"));
    browser.change_dir(std::filesystem::path(folder().path()));
    EXPECT_EQ(browser.curr_dir(), folder().resolving_symlinks());
    EXPECT_EQ(OrvFileBrowser().curr_dir().last_path_component(), "Documents");
}

TEST_F(FileBrowserTest, a_request_keeps_the_folder_that_was_current)
{
    make_tree(folder(), {"a/x=1", "a/.y=2", "a/sub/z=3", "b/"});
    OrvFileBrowser browser;
    browser.change_dir(at("a"));
    const auto statuses = statuses_of<FetchItemsOperation>([&](auto take) {
        const auto operation =
            browser.fetch_curr_dir_items(SortType::by_name(SortOrder::asc), true, take);
        browser.change_dir(at("b"));
        return operation;
    });
    EXPECT_EQ(text_of(statuses.back()), "success .y sub x");
}

TEST_F(FileBrowserTest, passes_requests_on)
{
    make_tree(folder(), {"a=1", "in/"});
    OrvFileBrowser browser;
    Texts said;
    const auto done = [&](const std::shared_ptr<OrvOperation>& operation) {
        pump_until([&] { return !operation->is_busy(); });
        return tree(folder());
    };
    EXPECT_EQ(done(browser.copy(at("a"), at("b"), {})), (Texts{"a=1", "b=1", "in/"}));
    EXPECT_EQ(done(browser.copy({at("a")}, at("in"), {})), (Texts{"a=1", "b=1", "in/", "in/a=1"}));
    EXPECT_EQ(done(browser.move(at("b"), at("c"), {})), (Texts{"a=1", "c=1", "in/", "in/a=1"}));
    EXPECT_EQ(done(browser.move({at("c")}, at("in"), {})),
              (Texts{"a=1", "in/", "in/a=1", "in/c=1"}));
    EXPECT_EQ(done(browser.rename(at("a"), "d", {})), (Texts{"d=1", "in/", "in/a=1", "in/c=1"}));
    EXPECT_EQ(done(browser.delete_item(at("in/a"), {})), (Texts{"d=1", "in/", "in/c=1"}));
    EXPECT_EQ(done(browser.delete_items({at("in"), at("d")}, {})), Texts{});
    EXPECT_EQ(done(browser.create_new_folder(at("n/m"), true, {})), (Texts{"n/", "n/m/"}));
    EXPECT_EQ(done(browser.generate_file({std::byte('x')}, at("e"), {})),
              (Texts{"e=x", "n/", "n/m/"}));
    const auto sizes = statuses_of<FolderSizeOperation>(
        [&](auto take) { return browser.calculate_folder_size(folder(), take); });
    EXPECT_EQ(text_of(sizes.back()), "success 1");
    const auto found = statuses_of<SearchItemsOperation>([&](auto take) {
        return browser.search_items(folder(), "X", true, false,
                                    {SearchItemsOperation::Criteria::file_content}, take);
    });
    EXPECT_EQ(std::get<SearchItemsOperation::completed>(found.back()).all_items.size(), 1U);
    const auto kept = statuses_of<FetchByAttrOperation>([&](auto take) {
        return browser.fetch_items_by_attribute(FetchByAttrOperation::Attribute::is_protected, {},
                                                take);
    });
    EXPECT_EQ(std::get<FetchByAttrOperation::success>(kept.back()).content.size(), 0U);
    const auto reserved = statuses_of<ReserveFileUrlOpr>(
        [&](auto take) { return browser.reserve_file_url(at("r"), take); });
    const auto& success = std::get<ReserveFileUrlOpr::success>(reserved.back());
    browser.release_file_url(success.reservation_ticket);
    EXPECT_TRUE(success.reservation_ticket->is_used());
}

} // namespace
} // namespace orv::test
