#include "Operations/frame/LockTurn.hpp"
#include "operations/TransferTest.hpp"
#include "support/Volume.hpp"

#include <algorithm>
#include <filesystem>

#include <sys/mount.h>

namespace orv::test {
namespace {

/// What a transfer meets before its first byte and after its last one.
class TransferEndsTest : public TransferTest {};

TEST_F(TransferEndsTest, tells_all_that_stands_in_the_way_before_the_first_byte)
{
    const auto volume = Volume::in_memory(64);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    make_tree(folder(), {"d/x=1", "small=1"});
    write_file(at("large"), std::string(300'000, 'x'));
    const std::vector<Url> sources{at("large"), at("small"), at("gone")};
    for (const Kind kind : {Kind::copy, Kind::move}) {
        std::vector<std::string> told;
        const auto stop = [&](Question& question) {
            EXPECT_EQ(question.about(), Question::About::problems);
            for (const TransferProblem& problem : question.problems())
                told.push_back(problem.error.sentence());
            question.answer(Answer::stop);
        };
        EXPECT_EQ(texts_of(answered(plan_of(kind, sources, volume->url()), stop), folder()).front(),
                  "cancelled");
        ASSERT_EQ(told.size(), 1U);
        EXPECT_TRUE(told.front().starts_with("The destination has room for ")) << told.front();
        EXPECT_EQ(tree(volume->url()), Texts{});
    }

    const Policy skipping{.on_error = Policy::OnError::skip};
    TransferPlan named = plan_of(Kind::copy, {at("small")}, volume->url(), skipping);
    named.name = std::string(300, 'n');
    EXPECT_EQ(texts_of(ended(named), folder()),
              (Texts{"success", "small: failed",
                     "left out small: The destination's volume can't hold this name."}));
    const Policy stopping{.on_error = Policy::OnError::stop};
    EXPECT_EQ(
        texts_of(ended(plan_of(Kind::move, {at("d"), at("small")}, at("d"), stopping)), folder())
            .front(),
        "error: Source path conflicts with destination path.");
    EXPECT_EQ(tree(at("d")), Texts{"x=1"});
}

TEST_F(TransferEndsTest, speaks_of_a_copy_when_a_copy_fails)
{
    const auto volume = Volume::in_memory(64);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    make_tree(folder(), {"l->nowhere"});
    ASSERT_EQ(
        ::mount(nullptr, volume->url().path().c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr),
        0);
    const Policy skipping{.on_error = Policy::OnError::skip};
    EXPECT_EQ(texts_of(ended(plan_of(Kind::copy, {at("l")}, volume->url(), skipping)), folder()),
              (Texts{"success", "l: failed", "left out l: Couldn't copy the item."}));
}

TEST_F(TransferEndsTest, goes_on_or_leaves_out_what_fails_when_the_volume_is_full)
{
    const auto volume = Volume::in_memory(64);
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    make_tree(folder(), {"d/a=1", "d/z=2"});
    write_file(at("d/large"), std::string(300'000, 'x'));
    for (const Kind kind : {Kind::copy, Kind::move}) {
        int questions = 0;
        const auto go_on = [&](Question& question) {
            ++questions;
            question.answer(question.about() == Question::About::problems ? Answer::retry
                                                                          : Answer::skip);
        };
        const auto told =
            texts_of(answered(plan_of(kind, {at("d")}, volume->url()), go_on), folder());
        EXPECT_EQ(told.front(), "success");
        EXPECT_EQ(told.back(), "left out d/large: No space left on device.");
        EXPECT_EQ(questions, 2);
        EXPECT_EQ(tree(volume->url()), (Texts{"d/", "d/a=1", "d/z=2"}));
        EXPECT_EQ(read_file(at("d/large")).size(), 300'000U);
        std::filesystem::remove_all(volume->url() / "d");
    }
    EXPECT_EQ(tree(at("d")).size(), 1U);
}

TEST_F(TransferEndsTest, flushes_and_verifies_as_the_policy_says)
{
    make_tree(folder(), {"s/a=1", "s/b=2", "in/", "to/"});
    const Policy policy{
        .on_error = Policy::OnError::skip, .verify = true, .flush = Policy::Flush::always};
    bool spoils = true;
    const auto spoil = [&](const TransferOperation::Status& status) {
        if (std::holds_alternative<TransferOperation::finishing>(status) && spoils)
            write_file(at("in/s/b"), "3");
    };
    EXPECT_EQ(texts_of(ended(plan_of(Kind::copy, {at("s")}, at("in"), policy), spoil), folder()),
              (Texts{"success", "s: partly done -> in/s",
                     "left out s/b: The copy differs from its original."}));
    spoils = false;
    EXPECT_EQ(texts_of(ended(plan_of(Kind::copy, {at("s")}, at("to"), policy), spoil), folder()),
              (Texts{"success", "s: done -> to/s"}));
    const auto volume = Volume::bound();
    if (!volume)
        GTEST_SKIP() << "this user may mount nothing";
    EXPECT_EQ(texts_of(ended(plan_of(Kind::move, {at("s"), at("in/s/a")}, volume->url(), policy)),
                       folder())
                  .front(),
              "success");
    EXPECT_EQ(tree(volume->url()), (Texts{"a=1", "s/", "s/a=1", "s/b=2"}));
    EXPECT_EQ(tree(at("s")), Texts{});
}

TEST_F(TransferEndsTest, takes_its_turn_when_items_are_locked)
{
    make_tree(folder(), {"a=1", "b=2", "in/a=", "to/"});
    std::shared_ptr<Question> open;
    Texts order;
    const auto started = [&](const std::string& name, const std::vector<Url>& sources,
                             const Url& to, Policy::WhenLocked when_locked) {
        const Policy policy{.when_locked = when_locked};
        return transfer(plan_of(Kind::move, sources, to, policy), [&, name](const auto& status) {
            if (const auto* asked = std::get_if<TransferOperation::question>(&status))
                open = asked->question;
            const auto texts = texts_of(status, folder());
            if (!texts.empty())
                order.push_back(name + " " + texts.front());
        });
    };
    using When = Policy::WhenLocked;
    const auto first = started("first", {at("a")}, at("in"), When::fail);
    pump_until([&] { return open != nullptr; });
    const auto refused = started("refused", {at("a")}, at("to"), When::fail);
    const auto second = started("second", {at("a"), at("b")}, at("to"), When::wait);
    pump_until([] { return LockTurn::count() == 1; });
    const auto third = started("third", {at("b")}, at("in"), When::wait);
    pump_until([] { return LockTurn::count() == 2; });
    const auto given_up = started("given up", {at("a")}, at("to"), When::wait);
    pump_until([&] { return !refused->is_busy(); });
    given_up->cancel();
    pump_until([&] { return !given_up->is_busy(); });
    EXPECT_EQ(order, (Texts{"refused error: Source item is being written by another operation.",
                            "given up cancelled"}));
    EXPECT_TRUE(second->is_busy() && third->is_busy());

    open->answer(Answer::keep_both);
    open.reset();
    pump_until([&] { return !first->is_busy(); });
    // Its source has moved by now.
    pump_until([&] { return open != nullptr; });
    EXPECT_EQ(open->about(), Question::About::failed_item);
    EXPECT_TRUE(third->is_busy());
    open->answer(Answer::skip);
    open.reset();
    pump_until([&] { return open != nullptr || !third->is_busy(); });
    if (open)
        open->answer(Answer::skip);
    pump_until([&] { return !second->is_busy() && !third->is_busy(); });
    std::sort(order.begin() + 2, order.end()); // locks are given back before a last status
    EXPECT_EQ(Texts(order.begin() + 2, order.end()),
              (Texts{"first success", "second success", "third success"}));
    EXPECT_EQ(tree(folder()), (Texts{"in/", "in/a (2)=1", "in/a=", "to/", "to/b=2"}));
    expect_no_locks();
}

} // namespace
} // namespace orv::test
