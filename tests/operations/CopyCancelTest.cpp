#include "CustomAttributes/RecCustomAttr.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <algorithm>
#include <set>

namespace orv::test {
namespace {

class CopyCancelTest : public EngineTest {
protected:
    /// Copies "a" to "z", cancels inside the callback of the status number `at_status`, and
    /// returns the final status.
    std::string cancelled_at(std::size_t at_status)
    {
        std::size_t count = 0;
        std::string last;
        std::shared_ptr<CopyOperation> operation;
        operation = manager().copy(at("a"), at("z"), [&](const auto& status) {
            answer(status, ConflictBehaviour::merge);
            last = text_of(status);
            if (count++ == at_status)
                operation->cancel();
        });
        pump_until([&] { return !operation->is_busy(); });
        return last;
    }

    /// Every row in the copy belongs to an item that is there.
    void expect_rows_have_items()
    {
        const std::string start = record_key(at("z")).text() + "/";
        for (const RecCustomAttr& record :
             RecCustomAttr::fetch_all("substr(relative_path, 1, length(?1)) = ?1", {start}))
            EXPECT_TRUE(manager().file_exists(url_from_relative_path(record.relative_path)))
                << record.relative_path;
    }
};

TEST_F(CopyCancelTest, whenever_it_is_cancelled_nothing_is_half_done)
{
    make_tree(folder(), {"a/1=one", "a/2/3=three", "a/2/4/5=five", "a/6->1", "a/7=seven"});
    save_all({{.url = at("a/1"), .is_protected = true},
              {.url = at("a/2/3"), .is_protected = true},
              {.url = at("a/7"), .is_protected = true}},
             false);
    const auto all = tree(at("a"));
    const std::set<std::string> wanted(all.begin(), all.end());

    std::size_t cancels = 0;
    for (std::string outcome; outcome != "success"; ++cancels) {
        SCOPED_TRACE(cancels);
        manager().sync_delete_item(at("z"));
        outcome = cancelled_at(cancels);
        EXPECT_TRUE(outcome == "cancelled" || outcome == "success") << outcome;
        for (const std::string& entry : tree(at("z")))
            EXPECT_TRUE(wanted.contains(entry)) << entry;
        EXPECT_EQ(tree(processed_files_folder()), std::vector<std::string>{});
        EXPECT_EQ(tree(at("a")), all);
        expect_rows_have_items();
        expect_no_locks();
        if (outcome == "success") {
            EXPECT_EQ(tree(at("z")), all);
        }
    }
    // Before every item and during it there is a chance; only the closing statuses come too late.
    EXPECT_GE(cancels, 2 * all.size());
}

TEST_F(CopyCancelTest, a_copy_cancelled_while_a_long_file_is_copied_leaves_no_part_of_it)
{
    OrvFileManager::set_test_mode(true);
    make_tree(folder(), {"a=" + std::string(3 * 102'400, 'x')});
    std::vector<std::string> said;
    const auto operation = manager().copy(
        at("a"), at("b"), [&](const auto& status) { said.push_back(text_of(status)); });
    pump_until([&] { return said.size() == 2; });
    operation->cancel();
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(said, (std::vector<std::string>{"preparing", "progress b 0.00", "cancelled"}));
    EXPECT_EQ(tree(folder()).size(), 1U);
}

TEST_F(CopyCancelTest, one_that_was_cancelled_before_it_began_asks_and_tells_nothing)
{
    make_tree(folder(), {"a/b=1", "z/c=2"});
    EXPECT_EQ(cancelled_at(0), "cancelled");
    std::vector<std::string> said;
    const auto operation = manager().copy(
        at("a"), at("z"), [&](const auto& status) { said.push_back(text_of(status)); });
    operation->cancel();
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(said, std::vector<std::string>{"cancelled"});
    EXPECT_EQ(tree(at("z")), std::vector<std::string>{"c=2"});
}

} // namespace
} // namespace orv::test
