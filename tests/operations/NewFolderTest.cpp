#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <algorithm>
#include <cerrno>

namespace orv::test {
namespace {

class NewFolderTest : public EngineTest {
protected:
    std::vector<std::string> created(const Url& url, bool also_create_intermediates)
    {
        return texts_of(statuses_of<NewFolderOperation>([&](auto take) {
            return manager().create_new_folder(url, also_create_intermediates, take);
        }));
    }
};

const std::vector<std::string> before = {"dangling->gone", "file=1", "folder/", "link->folder"};
const std::string failed = "error: Couldn't create new folder.";

struct NewFolderCase {
    std::string name;
    std::string at;
    bool also_create_intermediates;
    std::string status;
    std::vector<std::string> added = {};
};

const NewFolderCase new_folder_cases[] = {
    {"free name", "new", false, "success", {"new/"}},
    {"free name in a folder", "folder/new", false, "success", {"folder/new/"}},
    {"free name through a link", "link/new", false, "success", {"folder/new/"}},
    {"nothing above it", "a/b/c", false, failed},
    {"nothing above it, to be made", "a/b/c", true, "success", {"a/", "a/b/", "a/b/c/"}},
    {"a file above it", "file/new", false, failed},
    {"a file above it, folders to be made", "file/a/new", true, failed},
    {"a file of that name", "file", true, "item_already_exists"},
    {"a folder of that name", "folder", true, "item_already_exists"},
    {"a dangling link of that name", "dangling", true, "item_already_exists"},
    {"a name too long", std::string(256, 'n'), true, failed},
    {"a name as long as can be",
     std::string(255, 'n'),
     false,
     "success",
     {std::string(255, 'n') + "/"}},
    {"a name that is no text", "\xff\xfe", false, "success", {"\xff\xfe/"}},
};

TEST_F(NewFolderTest, ends_as_its_location_allows)
{
    for (const NewFolderCase& row : new_folder_cases) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, before);
        EXPECT_EQ(created(root.appending(row.at), row.also_create_intermediates),
                  std::vector{row.status});
        auto after = before;
        after.insert(after.end(), row.added.begin(), row.added.end());
        std::sort(after.begin(), after.end());
        EXPECT_EQ(tree(root), after);
    }
}

TEST_F(NewFolderTest, refuses_locations_that_are_none)
{
    EXPECT_EQ(created("", true),
              std::vector<std::string>{"error: Given url points to an undefined path."});
    for (const char* root : {"/", "//", "/a/..", "/.."})
        EXPECT_EQ(created(root, true),
                  std::vector<std::string>{"error: Given url points to root directory."})
            << root;
}

TEST_F(NewFolderTest, a_failure_names_the_method_the_place_and_the_cause)
{
    const auto statuses = statuses_of<NewFolderOperation>(
        [&](auto take) { return manager().create_new_folder(at("a/b"), false, take); });
    const auto& failure = std::get<NewFolderOperation::error>(statuses.back()).error;
    const Error& error = std::get<NewFolderOperation::other>(failure).error;
    EXPECT_TRUE(error.message().starts_with(
        "Couldn't create new folder. (src/Operations/NewFolderOpr, "
        "new_folder(at:also_create_intermediates:status_closure:), line "))
        << error.message();
    EXPECT_EQ(error.code(), ENOENT);
    EXPECT_EQ(error.path(), at("a"));
}

TEST_F(NewFolderTest, holds_its_location_while_it_is_pending_and_cannot_be_cancelled)
{
    OrvFileManager::set_test_mode(true);
    std::vector<std::string> said;
    const auto take = [&](const auto& status) { said.push_back(text_of(status)); };
    const auto first = manager().create_new_folder(at("new"), false, take);
    first->cancel();
    pump_until([&] { return UrlLocker::is_write_locked(at("new")); });

    EXPECT_EQ(
        created(at("new/inside"), true),
        std::vector<std::string>{"error: Destination item is being written by another operation."});
    EXPECT_FALSE(manager().sync_create_new_folder(at("new"), false));
    EXPECT_EQ(tree(folder()), std::vector<std::string>{});
    pump_until([&] { return !first->is_busy(); });
    EXPECT_EQ(said, std::vector<std::string>{"success"});
    EXPECT_EQ(tree(folder()), std::vector<std::string>{"new/"});
}

} // namespace
} // namespace orv::test
