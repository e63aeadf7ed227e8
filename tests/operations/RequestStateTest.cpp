#include "Operations/frame/Request.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

#include <filesystem>

namespace orv::test {
namespace {

/// A listener that keeps both when a name is taken.
constexpr auto keep_both = [](const auto& status) {
    if constexpr (has_case<status::conflict_occured, std::decay_t<decltype(status)>>)
        answer(status, ConflictBehaviour::keep_both);
};

/// What an operation tells whoever looks at it.
class RequestStateTest : public EngineTest {
protected:
    [[nodiscard]] std::string name_of(const Url& url) const
    {
        return std::filesystem::path(url.path()).lexically_relative(folder().path()).string();
    }

    /// "3/10 bytes, 1/? items, made a b, left out c".
    [[nodiscard]] std::string told_by(const OrvOperation& operation) const
    {
        const auto figure = [](std::int64_t count) {
            return count < 0 ? "?" : std::to_string(count);
        };
        const Amount amount = operation.amount();
        std::string text = figure(amount.bytes_done) + "/" + figure(amount.bytes_total) +
                           " bytes, " + figure(amount.items_done) + "/" +
                           figure(amount.items_total) + " items";
        for (const Url& url : operation.results())
            text += ", made " + name_of(url);
        for (const Failure& failure : operation.failures())
            text += ", left out " + name_of(failure.url);
        return text;
    }
};

TEST_F(RequestStateTest, every_request_tells_what_it_did)
{
    make_tree(folder(), {"a/1=one", "a/2=two", "a/3/4=four", "a/link->1", "file=12345", "taken=old",
                         "old/", "z/file=1"});
    const std::vector<std::byte> data(7, std::byte{'x'});
    const std::vector<SearchItemsOperation::Criteria> by_name = {
        SearchItemsOperation::Criteria::file_name};
    OrvFileManager& m = manager();
    const auto release = [&](const ReserveFileUrlOpr::Status& status) {
        m.release_file_url(std::get<ReserveFileUrlOpr::success>(status).reservation_ticket);
    };
    const struct {
        std::function<std::shared_ptr<OrvOperation>()> start;
        const char* told;
    } rows[] = {
        {[&] { return m.copy(at("a"), at("b"), keep_both); }, "10/10 bytes, 6/6 items, made b"},
        {[&] { return m.copy(at("file"), at("taken"), keep_both); },
         "5/5 bytes, 1/1 items, made taken 2"},
        {[&] {
             return m.copy({at("a"), at("file")}, at("z"), keep_both);
         },
         "15/15 bytes, 7/7 items, made z/a, made z/file 2"},
        {[&] {
             return m.copy({at("a"), at("gone")}, at("old"), keep_both);
         },
         "?/? bytes, ?/? items"},
        {[&] { return m.move(at("b"), at("taken"), keep_both); },
         "?/? bytes, 1/1 items, made taken 3"},
        {[&] {
             return m.move({at("taken 2"), at("gone"), at("file")}, at("old"), keep_both);
         },
         "?/? bytes, 1/3 items, made old/taken 2"},
        {[&] { return m.rename(at("taken 3"), "c", keep_both); }, "?/? bytes, 1/1 items, made c"},
        {[&] { return m.rename(at("c"), "a", keep_both); }, "?/? bytes, ?/? items"},
        {[&] { return m.create_new_folder(at("new/er"), true, keep_both); },
         "?/? bytes, 1/1 items, made new/er"},
        {[&] { return m.generate_file(data, at("file"), keep_both); },
         "7/7 bytes, 1/1 items, made file 2"},
        {[&] { return m.reserve_file_url(at("none"), release); }, "?/? bytes, ?/? items"},
        {[&] { return m.calculate_folder_size(at("a"), {}); }, "10/? bytes, 5/? items"},
        {[&] { return m.fetch_items(at("a"), true, {}, true, {}); }, "?/? bytes, 5/? items"},
        {[&] { return m.search_items(at("a"), "4", true, true, by_name, {}); },
         "?/? bytes, 5/? items"},
        {[&] {
             return save_all_custom_attrs({FileItem(at("a")), FileItem(at("c"))}, false, {});
         },
         "?/? bytes, 2/2 items"},
        {[&] { return m.generate_thumb(at("file"), 10, 10, {}); },
         "?/? bytes, 1/1 items, left out file"},
    };
    for (const auto& row : rows) {
        const auto operation = row.start();
        EXPECT_EQ(m.running(), std::vector{operation}) << row.told;
        pump_until([&] { return !operation->is_busy(); });
        EXPECT_EQ(told_by(*operation), row.told);
        EXPECT_TRUE(m.running().empty()) << row.told;
    }
}

TEST_F(RequestStateTest, a_paused_request_goes_on_when_it_is_resumed_or_cancelled)
{
    make_tree(folder(), {"a/1=one", "a/2=two", "a/3/4=four"});
    for (const bool is_resumed : {true, false}) {
        const Url copy = at(is_resumed ? "resumed" : "cancelled");
        std::string last;
        std::shared_ptr<CopyOperation> operation;
        operation = manager().copy(at("a"), copy, [&](const auto& status) {
            last = text_of(status);
            if (last == "preparing")
                operation->pause();
        });
        pump_until([&] { return operation->is_paused(); });
        MainQueue::instance().run_for(std::chrono::milliseconds(50));
        EXPECT_EQ(last, "preparing");
        EXPECT_FALSE(manager().file_exists(copy));
        EXPECT_TRUE(operation->is_busy());
        is_resumed ? operation->resume() : manager().cancel_all();
        EXPECT_FALSE(operation->is_paused());
        pump_until([&] { return !operation->is_busy(); });
        EXPECT_EQ(last, is_resumed ? "success" : "cancelled");
        operation->pause();
        EXPECT_FALSE(operation->is_paused());
    }
    EXPECT_EQ(tree(at("resumed")), tree(at("a")));
}

} // namespace
} // namespace orv::test
