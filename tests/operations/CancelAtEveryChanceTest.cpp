#include "CustomAttributes/RecCustomAttr.hpp"
#include "CustomAttributes/RecordKey.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/frame/UrlLocker.hpp"
#include "support/Engine.hpp"
#include "support/Records.hpp"
#include "support/Statuses.hpp"

#include <algorithm>
#include <filesystem>
#include <functional>
#include <ostream>

namespace orv::test {
namespace {

using Texts = std::vector<std::string>;
using Take = std::function<void(const std::string&)>;
using enum ConflictBehaviour;

/// A request that is cancelled. Rows follow: of files that held "1" or "2" before.
struct CancelCase {
    std::string name;
    Texts before;
    ConflictBehaviour answer;
    std::shared_ptr<OrvOperation> (*start)(const Url& in, const Take& take, ConflictBehaviour);
    std::vector<Texts> after;   ///< what may be there after a cancel; the last when it was too late
    bool is_taken_back = false; ///< cancelled at the last moment it leaves nothing
    bool is_irrevocable = false; ///< cancelled at the last moment it is done
};

void PrintTo(const CancelCase& what, std::ostream* to)
{
    *to << what.name;
}

OrvFileManager& manager()
{
    return OrvFileManager::singleton();
}

/// Tells `take`, answers questions, and ends reservations.
auto closure(const Take& take, ConflictBehaviour answer)
{
    return [=](const auto& status) {
        take(text_of(status));
        using Status = std::decay_t<decltype(status)>;
        if constexpr (has_case<status::conflict_occured, Status>)
            if (const auto* conflict = std::get_if<status::conflict_occured>(&status))
                conflict->resolver->resume(answer, true);
        if constexpr (has_case<ReserveFileUrlOpr::success, Status>)
            if (const auto* reserved = std::get_if<ReserveFileUrlOpr::success>(&status)) {
                EXPECT_TRUE(UrlLocker::is_write_locked(reserved->final_url));
                manager().release_file_url(reserved->reservation_ticket);
            }
    };
}

std::shared_ptr<OrvOperation> move_one(const Url& in, const Take& take, ConflictBehaviour answer)
{
    return manager().move(in.appending("a"), in.appending("d/a"), closure(take, answer));
}

std::shared_ptr<OrvOperation> move_two(const Url& in, const Take& take, ConflictBehaviour answer)
{
    return manager().move({in.appending("a"), in.appending("b")}, in.appending("d"),
                          closure(take, answer));
}

std::shared_ptr<OrvOperation> copy_one(const Url& in, const Take& take, ConflictBehaviour answer)
{
    return manager().copy(in.appending("a"), in.appending("d/a"), closure(take, answer));
}

std::shared_ptr<OrvOperation> copy_two(const Url& in, const Take& take, ConflictBehaviour answer)
{
    return manager().copy({in.appending("a"), in.appending("b")}, in.appending("d"),
                          closure(take, answer));
}

std::shared_ptr<OrvOperation> write(const Url& in, const Take& take, ConflictBehaviour answer)
{
    return manager().generate_file({std::byte{'n'}}, in.appending("d/a"), closure(take, answer));
}

std::shared_ptr<OrvOperation> reserve(const Url& in, const Take& take, ConflictBehaviour answer)
{
    return manager().reserve_file_url(in.appending("d/a"), closure(take, answer));
}

const Texts two_files = {"a=1", "b=2", "d/"};
const Texts taken = {"a=1", "b=2", "d/", "d/a=old", "d/b=old"};

const CancelCase cancel_cases[] = {
    {"move", {"a/x=1", "d/"}, stop, move_one, {{"a/", "a/x=1", "d/"}, {"d/", "d/a/", "d/a/x=1"}}},
    {"move_replacing", taken, replace, move_one, {taken, {"b=2", "d/", "d/a=1", "d/b=old"}}},
    {"move_of_two",
     two_files,
     stop,
     move_two,
     {two_files, {"b=2", "d/", "d/a=1"}, {"d/", "d/a=1", "d/b=2"}}},
    {"move_of_two_replacing",
     taken,
     replace,
     move_two,
     {taken, {"b=2", "d/", "d/a=1", "d/b=old"}, {"d/", "d/a=1", "d/b=2"}}},
    {"move_of_two_keeping_both",
     taken,
     keep_both,
     move_two,
     {taken,
      {"b=2", "d/", "d/a 2=1", "d/a=old", "d/b=old"},
      {"d/", "d/a 2=1", "d/a=old", "d/b 2=2", "d/b=old"}}},
    {"copy_replacing",
     taken,
     replace,
     copy_one,
     {taken, {"a=1", "b=2", "d/", "d/a=1", "d/b=old"}},
     false,
     true},
    {"copy_of_two",
     two_files,
     stop,
     copy_two,
     {two_files, {"a=1", "b=2", "d/", "d/a=1"}, {"a=1", "b=2", "d/", "d/a=1", "d/b=2"}}},
    {"copy_of_two_replacing",
     taken,
     replace,
     copy_two,
     {taken, {"a=1", "b=2", "d/", "d/a=1", "d/b=old"}, {"a=1", "b=2", "d/", "d/a=1", "d/b=2"}},
     false,
     true},
    {"copy_of_two_replacing_the_first",
     {"a=1", "b=2", "d/", "d/a=old"},
     replace,
     copy_two,
     {{"a=1", "b=2", "d/", "d/a=old"},
      {"a=1", "b=2", "d/", "d/a=1"},
      {"a=1", "b=2", "d/", "d/a=1", "d/b=2"}},
     false,
     true},
    {"write", {"d/"}, stop, write, {{"d/"}, {"d/", "d/a=n"}}, true},
    {"write_replacing",
     {"d/a=old"},
     replace,
     write,
     {{"d/", "d/a=old"}, {"d/", "d/a=n"}},
     false,
     true},
    {"write_keeping_both",
     {"d/a=old"},
     keep_both,
     write,
     {{"d/", "d/a=old"}, {"d/", "d/a 2=n", "d/a=old"}},
     true},
    {"reservation", {"d/"}, stop, reserve, {{"d/"}}},
    {"reservation_replacing", {"d/a=old"}, replace, reserve, {{"d/", "d/a=old"}, {"d/"}}},
};

/// The items that have a row.
Texts with_rows(const Texts& tree)
{
    Texts names;
    for (const std::string& entry : tree)
        if (entry.ends_with("=1") || entry.ends_with("=2"))
            names.push_back(entry.substr(0, entry.size() - 2));
    return names;
}

class CancelAtEveryChance : public EngineTest, public testing::WithParamInterface<CancelCase> {
protected:
    void SetUp() override
    {
        std::filesystem::remove_all(folder().path());
        make_tree(folder(), GetParam().before);
        RecCustomAttr::delete_records(record_key(folder()));
        store_rows(folder(), with_rows(GetParam().before));
        said_.clear();
    }

    void start(const std::function<void()>& on_status = [] {})
    {
        const Take take = [this, on_status](const std::string& text) {
            said_.push_back(text);
            on_status();
        };
        operation_ = GetParam().start(folder(), take, GetParam().answer);
    }

    /// Returns the final status.
    std::string end()
    {
        pump_until([&] { return !operation_->is_busy(); });
        const auto is_end = [](const std::string& text) {
            return text.starts_with("success") || text == "cancelled" || text.starts_with("error");
        };
        EXPECT_EQ(std::ranges::count_if(said_, is_end), 1);
        return said_.back();
    }

    void expect_state(bool is_done)
    {
        const Texts now = tree(folder());
        std::vector<Texts> possible = GetParam().after;
        if (is_done)
            possible = {possible.back()};
        else if (GetParam().is_taken_back || GetParam().is_irrevocable)
            possible.pop_back();
        EXPECT_TRUE(std::ranges::count(possible, now) > 0) << testing::PrintToString(now);
        EXPECT_EQ(stored_rows(folder()), with_rows(now));
        EXPECT_EQ(tree(processed_files_folder()), Texts{});
        expect_no_locks();
    }

    std::shared_ptr<OrvOperation> operation_;
    Texts said_;
};

TEST_P(CancelAtEveryChance, a_cancel_between_any_two_hand_overs_leaves_all_whole)
{
    for (int n = 0; !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        SetUp();
        start();
        int hand_overs = 0;
        MainQueue::instance().run_until(
            [&] { return hand_overs++ == n || !operation_->is_busy(); });
        const bool is_too_late = !operation_->is_busy();
        operation_->cancel();
        const std::string last = end();
        const bool is_done = last.starts_with("success");
        EXPECT_TRUE(is_done == is_too_late || (is_done && GetParam().is_irrevocable)) << last;
        expect_state(is_done);
        if (is_too_late)
            break;
    }
}

TEST_P(CancelAtEveryChance, a_cancel_inside_any_callback_leaves_all_whole)
{
    for (std::size_t n = 1; !HasFailure(); ++n) {
        SCOPED_TRACE(n);
        SetUp();
        start([&] {
            if (said_.size() == n)
                operation_->cancel();
        });
        const bool is_done = end().starts_with("success");
        expect_state(is_done);
        if (is_done)
            break;
    }
}

INSTANTIATE_TEST_SUITE_P(Cancels, CancelAtEveryChance, testing::ValuesIn(cancel_cases),
                         [](const auto& what) { return what.param.name; });

} // namespace
} // namespace orv::test
