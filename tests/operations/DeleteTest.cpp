#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"

namespace orv::test {
namespace {

const std::string missing = "error: Couldn't delete the item, because it doesn't exist.";

class DeleteTest : public EngineTest {
protected:
    std::vector<std::string> deleted(const Url& url)
    {
        return texts_of(statuses_of<DeleteOperation>(
            [&](auto take) { return manager().delete_item(url, take); }));
    }

    std::vector<MultiDeleteOperation::Status> all_deleted(std::vector<Url> urls)
    {
        return statuses_of<MultiDeleteOperation>(
            [&](auto take) { return manager().delete_items(std::move(urls), take); });
    }
};

struct DeleteCase {
    std::string name;
    std::string at;
    std::string status;
    std::vector<std::string> after;
};

const std::vector<std::string> before = {"dangling->gone", "file=1",      "folder/",
                                         "folder/a=2",     "folder/sub/", "folder/sub/b->../a",
                                         "link->folder"};

const DeleteCase delete_cases[] = {
    {"file",
     "file",
     "success",
     {"dangling->gone", "folder/", "folder/a=2", "folder/sub/", "folder/sub/b->../a",
      "link->folder"}},
    {"folder", "folder", "success", {"dangling->gone", "file=1", "link->folder"}},
    {"link to a folder",
     "link",
     "success",
     {"dangling->gone", "file=1", "folder/", "folder/a=2", "folder/sub/", "folder/sub/b->../a"}},
    {"dangling link",
     "dangling",
     "success",
     {"file=1", "folder/", "folder/a=2", "folder/sub/", "folder/sub/b->../a", "link->folder"}},
    {"through a link",
     "link/a",
     "success",
     {"dangling->gone", "file=1", "folder/", "folder/sub/", "folder/sub/b->../a", "link->folder"}},
    {"nothing", "nothing", missing, before},
    {"nothing in a file", "file/nothing", missing, before},
    {"a folder seen from inside", "folder/sub/..", "error: Couldn't delete the item.", before},
};

TEST_F(DeleteTest, removes_the_item_itself_and_nothing_else)
{
    for (const DeleteCase& row : delete_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, before);
        EXPECT_EQ(deleted(root.appending(row.at)), std::vector{row.status});
        EXPECT_EQ(tree(root), row.after);
    }
}

TEST_F(DeleteTest, refuses_locations_that_are_none)
{
    EXPECT_EQ(deleted(""),
              std::vector<std::string>{"error: Given url points to an undefined path."});
    for (const char* root : {"/", "//", "/a/..", "/.."})
        EXPECT_EQ(deleted(root),
                  std::vector<std::string>{"error: Given url points to root directory."})
            << root;
}

TEST_F(DeleteTest, rows_go_with_their_items)
{
    make_tree(folder(), {"a/b/c=1", "a b=2", "ab=3", "link->target", "target=4"});
    store_rows(folder(), {"a", "a/b/c", "a/gone", "a b", "ab", "target"});
    deleted(at("a"));
    EXPECT_EQ(stored_rows(folder()), (std::vector<std::string>{"a b", "ab", "target"}));
    deleted(at("link"));
    EXPECT_EQ(stored_rows(folder()), (std::vector<std::string>{"a b", "ab", "target"}));
    EXPECT_EQ(deleted(at("a")), std::vector{missing});
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"a b=2", "ab=3", "target=4"}));
}

TEST_F(DeleteTest, rows_stay_when_nothing_was_deleted)
{
    store_rows(folder(), {"missing"});
    EXPECT_EQ(deleted(at("missing")), std::vector{missing});
    EXPECT_EQ(stored_rows(folder()), std::vector<std::string>{"missing"});
}

TEST_F(DeleteTest, holds_its_location_while_it_is_pending_and_cannot_be_cancelled)
{
    OrvFileManager::set_test_mode(true);
    make_tree(folder(), {"a/b=1"});
    std::vector<std::string> said;
    const auto first = manager().delete_item(
        at("a"), [&](const auto& status) { said.push_back(text_of(status)); });
    EXPECT_TRUE(first->is_busy());
    first->cancel();
    pump_until([&] { return UrlLocker::is_write_locked(at("a")); });

    const std::string written = "Destination item is being written by another operation.";
    EXPECT_EQ(deleted(at("a/b")), std::vector{"error: " + written});
    EXPECT_FALSE(manager().sync_delete_item(at("a/b")));
    const auto copied = statuses_of<CopyOperation>(
        [&](auto take) { return manager().copy(at("a/b"), at("c"), take); });
    EXPECT_EQ(text_of(copied.back()), "error: Source item is being written by another operation.");
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"a/", "a/b=1"}));
    pump_until([&] { return !first->is_busy(); });
    EXPECT_EQ(said, std::vector<std::string>{"success"});
    EXPECT_EQ(tree(folder()), std::vector<std::string>{});
}

TEST_F(DeleteTest, several_are_deleted_up_to_the_first_failure)
{
    make_tree(folder(), {"a/b=1", "c=2", "d=3"});
    store_rows(folder(), {"a", "a/b", "c", "d"});
    const auto statuses = all_deleted({at("a"), at("not here"), at("c")});
    ASSERT_EQ(statuses.size(), 1U);
    const Error& error = std::get<status::error>(statuses.back()).error;
    const std::string expected = "An error occured while deleting item at url: \n" +
                                 at("not here").description() +
                                 " \nCouldn't delete the item, because it doesn't exist. "
                                 "(src/Operations/DeleteOpr, delete(url:status_closure:), line ";
    EXPECT_TRUE(error.message().starts_with(expected)) << error.message();
    EXPECT_EQ(error.path(), at("not here"));
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"c=2", "d=3"}));
    EXPECT_EQ(stored_rows(folder()), (std::vector<std::string>{"c", "d"}));

    EXPECT_EQ(texts_of(all_deleted({at("c"), at("d")})), std::vector<std::string>{"success"});
    EXPECT_EQ(tree(folder()), std::vector<std::string>{});
    EXPECT_EQ(stored_rows(folder()), std::vector<std::string>{});
    EXPECT_EQ(texts_of(all_deleted({})), std::vector<std::string>{"success"});
}

TEST_F(DeleteTest, a_folder_that_is_read_is_not_deleted)
{
    make_tree(folder(), {"a/b/c=1"});
    const UrlLock reading({read(at("a/b"))}, write(at("elsewhere")));
    for (const char* name : {"a", "a/b", "a/b/c"})
        EXPECT_EQ(
            deleted(at(name)),
            std::vector<std::string>{"error: Destination item is being read by another operation."})
            << name;
    EXPECT_EQ(tree(folder()), (std::vector<std::string>{"a/", "a/b/", "a/b/c=1"}));
}

} // namespace
} // namespace orv::test
