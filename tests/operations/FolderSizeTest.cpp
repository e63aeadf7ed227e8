#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <filesystem>

namespace orv::test {
namespace {

class FolderSizeTest : public EngineTest {
protected:
    std::vector<std::string> measured(const Url& url)
    {
        return texts_of(statuses_of<FolderSizeOperation>(
            [&](auto take) { return manager().calculate_folder_size(url, take); }));
    }
};

TEST_F(FolderSizeTest, adds_up_the_files_at_every_depth)
{
    make_tree(folder(), {"a/1=one", "a/b/2=three", "a/.c.jgd/3=12", "a/link->/etc/passwd",
                         "a/dangling->gone", "empty/", "link->a", "file=1"});
    const struct {
        const char* name;
        const char* status;
    } rows[] = {
        {"a", "success 10"},
        {"a/b", "success 5"},
        {"empty", "success 0"},
        {"link", "success 10"},
        {"file", "error: Given url must point to a folder."},
        {"a/dangling", "error: Given url must point to a folder."},
        {"a/link", "error: Given url must point to a folder."},
        {"missing", "error: No item exists at given url."},
    };
    for (const auto& row : rows)
        EXPECT_EQ(measured(at(row.name)), std::vector<std::string>{row.status}) << row.name;
    EXPECT_EQ(measured(""), std::vector<std::string>{"error: No item exists at given url."});
}

TEST_F(FolderSizeTest, the_root_of_a_tree_of_links_is_measured_and_ends)
{
    make_tree(folder(), {"a/1=one", "a/up->..", "a/self->."});
    EXPECT_EQ(measured(at("a")), std::vector<std::string>{"success 3"});
}

TEST_F(FolderSizeTest, sizes_are_those_that_files_state)
{
    make_tree(folder(), {"a/sparse="});
    std::filesystem::resize_file(at("a/sparse"), std::int64_t{1} << 40);
    EXPECT_EQ(measured(at("a")), std::vector<std::string>{"success 1099511627776"});
}

TEST_F(FolderSizeTest, a_cancel_is_seen_during_the_walk_and_at_its_end)
{
    OrvFileManager::set_test_mode(true);
    std::vector<std::string> entries = {"one/1="};
    for (int i = 0; i < 40; ++i)
        entries.push_back("many/" + std::to_string(i) + "=");
    make_tree(folder(), entries);
    std::vector<std::string> said;
    const auto take = [&](const auto& status) { said.push_back(text_of(status)); };
    const auto start = std::chrono::steady_clock::now();
    manager().calculate_folder_size(at("one"), take)->cancel();
    manager().calculate_folder_size(at("many"), take)->cancel();
    pump_until([&] { return said.size() == 2; });
    EXPECT_EQ(said, (std::vector<std::string>{"cancelled", "cancelled"}));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
}

} // namespace
} // namespace orv::test
