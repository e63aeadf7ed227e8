#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;
using Ticket = ReserveFileUrlOpr::Ticket;

class ReserveFileUrlTest : public EngineTest {
protected:
    std::vector<ReserveFileUrlOpr::Status>
    reserved(const Url& url, ConflictBehaviour behaviour = ConflictBehaviour::stop)
    {
        return statuses_of<ReserveFileUrlOpr>([&](ReserveFileUrlOpr::StatusClosure take) {
            return manager().reserve_file_url(url, [take, behaviour](const auto& status) {
                take(status);
                answer(status, behaviour);
            });
        });
    }

    static std::shared_ptr<Ticket> ticket_of(const ReserveFileUrlOpr::Status& status)
    {
        const auto* success = std::get_if<ReserveFileUrlOpr::success>(&status);
        return success ? success->reservation_ticket : nullptr;
    }
};

TEST_F(ReserveFileUrlTest, settles_a_taken_name_first)
{
    const struct {
        const char* name;
        ConflictBehaviour answer;
        Texts statuses;
        Texts after;
    } rows[] = {
        {"merge", ConflictBehaviour::merge, {"conflict a", "success a"}, {"a=1"}},
        {"replace", ConflictBehaviour::replace, {"conflict a", "success a"}, {}},
        {"keep both", ConflictBehaviour::keep_both, {"conflict a", "success a 2"}, {"a=1"}},
        {"stop", ConflictBehaviour::stop, {"conflict a", "cancelled"}, {"a=1"}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const Url root = at(row.name);
        make_tree(root, {"a=1"});
        const auto statuses = reserved(root.appending("a"), row.answer);
        EXPECT_EQ(texts_of(statuses), row.statuses);
        EXPECT_EQ(tree(root), row.after);
        if (const auto ticket = ticket_of(statuses.back())) {
            EXPECT_TRUE(UrlLocker::is_write_locked(ticket->url()));
            manager().release_file_url(ticket);
        }
        expect_no_locks();
    }
}

TEST_F(ReserveFileUrlTest, refuses_locations_that_are_none)
{
    const auto message_of = [&](const Url& url) {
        return std::get<status::error>(reserved(url).back()).error.message();
    };
    const std::string place =
        " (src/Operations/ReserveFileUrlOpr, reserve_file_url(_:status_closure:), line ";
    EXPECT_EQ(message_of(""), "Destination url points to an undefined path." + place + "60)");
    EXPECT_EQ(message_of("/"), "Destination url points to root directory." + place + "63)");
}

TEST_F(ReserveFileUrlTest, keeps_others_out_until_it_is_released_once)
{
    make_tree(folder(), {"a=1"});
    const auto ticket = ticket_of(reserved(at("b")).back());
    ASSERT_TRUE(ticket);
    EXPECT_FALSE(ticket->is_used());
    const auto copied = [&] {
        return text_of(statuses_of<CopyOperation>([&](auto take) {
                           return manager().copy(at("a"), at("b"), take);
                       }).back());
    };
    EXPECT_EQ(copied(), "error: Destination item is being written by another operation.");
    EXPECT_EQ(text_of(reserved(at("b")).back()),
              "error: Destination item is being written by another operation.");
    EXPECT_TRUE(UrlLocker::is_write_locked(at("b")));

    manager().release_file_url(ticket);
    EXPECT_TRUE(ticket->is_used());
    EXPECT_EQ(copied(), "success");

    const UrlLock other(write(at("b")));
    manager().release_file_url(ticket);
    EXPECT_TRUE(UrlLocker::is_write_locked(at("b")));
}

TEST_F(ReserveFileUrlTest, a_cancelled_one_holds_nothing)
{
    std::string last;
    const auto operation =
        manager().reserve_file_url(at("a"), [&](const auto& status) { last = text_of(status); });
    operation->cancel();
    pump_until([&] { return !operation->is_busy(); });
    EXPECT_EQ(last, "cancelled");
}

} // namespace
} // namespace orv::test
