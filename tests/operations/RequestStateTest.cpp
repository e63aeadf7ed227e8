#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Statuses.hpp"
#include "support/Surroundings.hpp"

#include <atomic>
#include <cerrno>
#include <filesystem>
#include <thread>

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
                         "old/", "z/file=1", "p/1=one"});
    make_fifo(at("p/pipe"));
    const std::vector<std::byte> data(7, std::byte{'x'});
    const std::vector<SearchItemsOperation::Criteria> by_name = {
        SearchItemsOperation::Criteria::file_name};
    constexpr auto stop = ConflictBehaviour::stop;
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
        {[&] {
             return m.zip({at("p"), at("file")}, at("z.zip"), {}, stop, {});
         },
         "8/8 bytes, 3/3 items, made z.zip, left out p/pipe"},
        {[&] { return m.zip({at("p")}, at("z.zip"), {}, stop, {}); }, "?/? bytes, ?/? items"},
        {[&] { return m.unzip(at("z.zip"), at("old"), {}, {}); },
         "8/8 bytes, 3/3 items, made old/z"},
        {[&] { return m.delete_item(at("c"), {}); }, "?/? bytes, 6/6 items, made c"},
        {[&] {
             return m.delete_items({at("old/z"), at("gone")}, {});
         },
         "?/? bytes, 4/5 items, made old/z"},
        {[&] { return m.reserve_file_url(at("none"), release); }, "?/? bytes, ?/? items"},
        {[&] { return m.calculate_folder_size(at("a"), {}); }, "10/? bytes, 5/? items"},
        {[&] { return m.fetch_items(at("a"), true, {}, true, {}); }, "?/? bytes, 5/? items"},
        {[&] { return m.search_items(at("a"), "4", true, true, by_name, {}); },
         "?/? bytes, 5/? items"},
        {[&] {
             return save_all_custom_attrs({FileItem(at("a")), FileItem(at("p"))}, false, {});
         },
         "?/? bytes, 2/2 items"},
        {[&] {
             TransferPlan plan{.kind = TransferPlan::Kind::copy,
                               .sources = {at("a"), at("gone")},
                               .folder = at("old")};
             plan.policy.on_error = TransferPolicy::OnError::skip;
             return m.transfer(plan, {});
         },
         "10/10 bytes, 7/7 items, made old/a, left out gone"},
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

/// Reads and pauses the operation from another thread for as long as it is under way.
class Meddler {
public:
    explicit Meddler(std::shared_ptr<OrvOperation> operation) : operation_(std::move(operation)) {}
    ~Meddler()
    {
        is_done_ = true;
        thread_.join();
    }
    Meddler(const Meddler&) = delete;
    Meddler& operator=(const Meddler&) = delete;

private:
    void meddle() const
    {
        Amount before;
        while (!is_done_) {
            operation_->pause();
            const Amount now = operation_->amount();
            EXPECT_GE(now.items_done, before.items_done);
            EXPECT_GE(now.bytes_done, before.bytes_done);
            EXPECT_LE(operation_->results().size(), 1U);
            EXPECT_TRUE(operation_->failures().empty());
            before = now;
            operation_->resume();
            std::this_thread::yield();
        }
    }

    std::shared_ptr<OrvOperation> operation_;
    std::atomic<bool> is_done_ = false;
    std::thread thread_{[this] { meddle(); }}; // last, since it uses the others
};

TEST_F(RequestStateTest, any_thread_may_read_and_pause_at_any_time)
{
    std::vector<std::string> entries;
    for (int i = 0; i < 300; ++i)
        entries.push_back("a/" + std::to_string(i % 7) + "/" + std::to_string(i) + "=text");
    make_tree(folder(), entries);
    const std::vector<SearchItemsOperation::Criteria> everywhere = {
        SearchItemsOperation::Criteria::file_name, SearchItemsOperation::Criteria::file_content};
    OrvFileManager& m = manager();
    const struct {
        std::function<std::shared_ptr<OrvOperation>()> start;
        std::int64_t items;
    } rows[] = {
        {[&] { return m.copy(at("a"), at("b"), {}); }, 308},
        {[&] { return m.zip({at("b")}, at("b.zip"), {}, ConflictBehaviour::stop, {}); }, 308},
        {[&] { return m.delete_item(at("b"), {}); }, 308},
        {[&] { return m.unzip(at("b.zip"), folder(), {}, {}); }, 308},
        {[&] { return m.calculate_folder_size(at("a"), {}); }, 307},
        {[&] { return m.search_items(at("a"), "ex", true, true, everywhere, {}); }, 307},
    };
    for (const auto& row : rows) {
        const auto operation = row.start();
        {
            const Meddler meddler(operation);
            pump_until([&] { return !operation->is_busy(); });
        }
        EXPECT_EQ(operation->amount().items_done, row.items);
        EXPECT_FALSE(operation->is_paused());
    }
    EXPECT_EQ(tree(at("b/b")), tree(at("a")));
}

TEST_F(RequestStateTest, every_error_tells_programs_its_cause)
{
    make_tree(folder(), {"a/1=one", "file=12345", "text.zip=no archive", "held/", "p/"});
    make_fifo(at("p/pipe"));
    OrvFileManager& m = manager();
    constexpr auto stop = ConflictBehaviour::stop;
    const std::string long_name(300, 'x');
    Cause cause = Cause::none;
    const auto take = [&](const auto& status) {
        using Status = std::decay_t<decltype(status)>;
        if constexpr (has_case<status::error, Status>) {
            if (const auto* failed = std::get_if<status::error>(&status))
                cause = failed->error.cause();
        } else if constexpr (std::is_same_v<Status, NewFolderOperation::Status>) {
            if (const auto* failed = std::get_if<NewFolderOperation::error>(&status))
                cause = std::get<NewFolderOperation::other>(failed->error).error.cause();
        }
    };
    const UrlLock lock(write(at("held")));
    const struct {
        Cause cause;
        std::function<std::shared_ptr<OrvOperation>()> start;
    } rows[] = {
        {Cause::none, [&] { return m.zip({at("a")}, at("a.zip"), "secret", stop, take); }},
        {Cause::missing, [&] { return m.copy(at("gone"), at("b"), take); }},
        {Cause::invalid, [&] { return m.copy(at("a"), Url(""), take); }},
        {Cause::invalid, [&] { return m.copy(at("a"), at("a/b"), take); }},
        {Cause::locked, [&] { return m.copy(at("a"), at("held/new"), take); }},
        {Cause::too_large, [&] { return m.copy(at("file"), at(long_name), take); }},
        {Cause::missing, [&] { return m.copy({at("a")}, at("gone"), take); }},
        {Cause::wrong_kind, [&] { return m.copy({at("a")}, at("file"), take); }},
        {Cause::missing, [&] { return m.move(at("gone"), at("b"), take); }},
        {Cause::wrong_kind, [&] { return m.move(at("a"), at("file/b"), take); }},
        {Cause::missing, [&] { return m.delete_item(at("gone"), take); }},
        {Cause::invalid, [&] { return m.delete_item(Url("/"), take); }},
        {Cause::locked, [&] { return m.delete_items({at("held")}, take); }},
        {Cause::taken, [&] { return m.rename(at("a"), "file", take); }},
        {Cause::invalid, [&] { return m.rename(at("a"), "b/c", take); }},
        {Cause::wrong_kind, [&] { return m.create_new_folder(at("file/b"), true, take); }},
        {Cause::missing, [&] { return m.create_new_folder(at("gone/b"), false, take); }},
        {Cause::invalid, [&] { return m.generate_file({}, at("b"), take); }},
        {Cause::wrong_kind, [&] { return m.calculate_folder_size(at("file"), take); }},
        {Cause::missing, [&] { return m.fetch_items(at("gone"), false, {}, true, take); }},
        {Cause::missing, [&] { return m.search_items(at("gone"), "a", true, true, {}, take); }},
        {Cause::taken, [&] { return m.zip({at("a")}, at("file"), {}, stop, take); }},
        {Cause::invalid, [&] { return m.zip({}, at("b.zip"), {}, stop, take); }},
        {Cause::unsupported, [&] { return m.zip({at("p/pipe")}, at("b"), {}, stop, take); }},
        {Cause::damaged, [&] { return m.unzip(at("text.zip"), folder(), {}, take); }},
        {Cause::needs_password, [&] { return m.unzip(at("a.zip"), folder(), {}, take); }},
        {Cause::wrong_password, [&] { return m.unzip(at("a.zip"), folder(), "wrong", take); }},
        {Cause::wrong_kind, [&] { return m.unzip(at("a.zip"), at("file"), {}, take); }},
    };
    for (const auto& row : rows) {
        cause = Cause::none;
        const auto operation = row.start();
        pump_until([&] { return !operation->is_busy(); });
        EXPECT_EQ(cause, row.cause) << "row " << &row - rows;
    }
}

TEST(ErrorCauseTest, codes_of_the_platform_have_causes_that_wrapping_keeps)
{
    const std::pair<int, Cause> rows[] = {
        {EACCES, Cause::denied},
        {ENOSPC, Cause::no_space},
        {EDQUOT, Cause::no_space},
        {EROFS, Cause::read_only},
        {EBUSY, Cause::busy},
        {EMFILE, Cause::exhausted},
        {ENODEV, Cause::disconnected},
        {EIO, Cause::failed},
        {EXDEV, Cause::unsupported},
        {EEXIST, Cause::taken},
        {ENAMETOOLONG, Cause::too_large},
        {ECHILD, Cause::none},
    };
    for (const auto& [code, cause] : rows) {
        const Error error = platform_error(code, Url("/a"));
        EXPECT_EQ(error.cause(), cause) << code;
        EXPECT_EQ(Error("Couldn't.").because_of(error).cause(), cause) << code;
        EXPECT_EQ(Error("No.").known_as(Cause::locked).because_of(error).cause(), Cause::locked);
    }
}

} // namespace
} // namespace orv::test
