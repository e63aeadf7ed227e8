#include "Operations/transfer/TransferQuestions.hpp"

#include "Operations/transfer/TransferErrors.hpp"
#include "utility/WorkerPool.hpp"

#include <utility>

namespace orv {
namespace {

using Way = TakenChoice::Way;
using OnConflict = TransferPolicy::OnConflict;

FileItem described_item(const Url& url)
{
    try {
        return FileItem(url);
    } catch (const Error&) {
        FileItem item; // it vanished, or its folder is closed
        item.url = url;
        item.name = url.last_path_component();
        return item;
    }
}

Way way_of(TransferQuestion::Answer answer)
{
    switch (answer) {
    case TransferQuestion::Answer::merge:
        return Way::merge;
    case TransferQuestion::Answer::replace:
        return Way::replace;
    case TransferQuestion::Answer::keep_both:
        return Way::keep_both;
    case TransferQuestion::Answer::skip:
    case TransferQuestion::Answer::retry:
    case TransferQuestion::Answer::stop:
        break;
    }
    return Way::skip;
}

} // namespace

TransferQuestion::TransferQuestion(About about, std::shared_ptr<Slot> slot)
    : about_(about), slot_(std::move(slot))
{
}

TransferQuestion::~TransferQuestion()
{
    slot_->give({Answer::stop, false, {}});
}

bool TransferQuestion::allows(Answer answer) const
{
    switch (answer) {
    case Answer::merge:
        return about_ == About::taken_name && source_.is_dir && destination_->is_dir;
    case Answer::replace:
    case Answer::keep_both:
        return about_ == About::taken_name;
    case Answer::retry:
        return about_ != About::taken_name;
    case Answer::skip:
    case Answer::stop:
        break;
    }
    return true;
}

void TransferQuestion::answer(Answer answer, bool for_all)
{
    if (!allows(answer))
        throw Error("The question doesn't take this answer.").at(source_.url);
    slot_->give({answer, for_all, {}});
}

void TransferQuestion::answer_with_name(std::string name)
{
    if (about_ != About::taken_name)
        throw Error("The question doesn't take this answer.").at(source_.url);
    check_name(name, source_.url);
    slot_->give({Answer::keep_both, false, std::move(name)});
}

void TransferQuestion::Slot::give(Reply reply)
{
    const std::lock_guard lock(mutex_);
    if (reply_)
        return;
    reply_ = std::move(reply);
    given_.notify_all();
}

TransferQuestion::Slot::Reply TransferQuestion::Slot::wait()
{
    const WorkerPool::Blocked blocked;
    std::unique_lock lock(mutex_);
    given_.wait(lock, [this] { return reply_.has_value(); });
    return *reply_;
}

TakenChoice TransferQuestions::settle(const TakenName& taken)
{
    if (auto choice = answered_by_policy(taken))
        return *choice;
    const Kind kind = taken.are_folders() ? Kind::folders
                      : taken.are_files() ? Kind::files
                                          : Kind::file_and_folder;
    const auto describe = [&](TransferQuestion& question) {
        question.source_ = described_item(taken.source);
        question.destination_ = described_item(taken.destination);
    };
    auto reply = reply_to(kind, describe, TransferQuestion::About::taken_name);
    if (!reply.new_name.empty())
        return {Way::other_name, std::move(reply.new_name)};
    return {way_of(reply.answer)};
}

FailureChoice TransferQuestions::settle(const Url& item, const Error& error)
{
    // Without its volume every further item would fail alike, and nobody is asked to bring it back.
    const bool is_skipped =
        policy_.on_error == TransferPolicy::OnError::skip || for_all_.contains(Kind::failure);
    if (is_skipped && error.cause() == Cause::disconnected)
        throw TransferEnd{error};
    switch (policy_.on_error) {
    case TransferPolicy::OnError::stop:
        throw TransferEnd{error};
    case TransferPolicy::OnError::skip:
        return FailureChoice::skip;
    case TransferPolicy::OnError::ask:
        break;
    }
    const auto describe = [&](TransferQuestion& question) {
        question.source_ = described_item(item);
        question.error_ = error;
    };
    const auto reply = reply_to(Kind::failure, describe, TransferQuestion::About::failed_item);
    return reply.answer == Answer::retry ? FailureChoice::retry : FailureChoice::skip;
}

ProblemChoice TransferQuestions::settle(const std::vector<TransferProblem>& problems)
{
    switch (policy_.on_error) {
    case TransferPolicy::OnError::stop:
        throw TransferEnd{problems.front().error};
    case TransferPolicy::OnError::skip:
        return ProblemChoice::leave_out;
    case TransferPolicy::OnError::ask:
        break;
    }
    const auto describe = [&](TransferQuestion& question) {
        question.source_ = described_item(problems.front().item);
        question.error_ = problems.front().error;
        question.problems_ = problems;
    };
    const auto reply = reply_to(Kind::problems, describe, TransferQuestion::About::problems);
    return reply.answer == Answer::retry ? ProblemChoice::go_on : ProblemChoice::leave_out;
}

std::optional<TakenChoice> TransferQuestions::answered_by_policy(const TakenName& taken) const
{
    if (taken.are_folders() && policy_.merges_folders)
        return TakenChoice{Way::merge};
    switch (policy_.on_conflict) {
    case OnConflict::ask:
        return std::nullopt;
    case OnConflict::merge:
        return TakenChoice{taken.are_folders() ? Way::merge : Way::leave_unchanged};
    case OnConflict::skip:
        return TakenChoice{Way::skip};
    case OnConflict::replace:
        return TakenChoice{Way::replace};
    case OnConflict::keep_both:
        return TakenChoice{Way::keep_both};
    case OnConflict::stop:
        throw TransferEnd{name_is_taken(taken.destination)};
    case OnConflict::replace_if_older:
    case OnConflict::skip_if_equal:
        break;
    }
    if (taken.are_folders())
        return TakenChoice{Way::merge};
    if (!taken.are_files())
        throw other_kind(taken.destination);
    const bool stays =
        policy_.on_conflict == OnConflict::skip_if_equal ? taken.are_equal() : !taken.is_older();
    return TakenChoice{stays ? Way::leave_unchanged : Way::replace};
}

TransferQuestion::Slot::Reply
TransferQuestions::reply_to(Kind kind, const FunctionRef<void(TransferQuestion&)>& describe,
                            TransferQuestion::About about)
{
    if (const auto known = for_all_.find(kind); known != for_all_.end())
        return {known->second, true, {}};
    auto reply = ask(describe, about);
    if (reply.answer == Answer::stop) {
        request_.cancel();
        throw Exception();
    }
    if (reply.for_all)
        for_all_[kind] = reply.answer;
    return reply;
}

TransferQuestion::Slot::Reply
TransferQuestions::ask(const FunctionRef<void(TransferQuestion&)>& describe,
                       TransferQuestion::About about)
{
    const auto slot = std::make_shared<TransferQuestion::Slot>();
    // From here on the caller alone holds the question: a dropped one gets its answer, and so does
    // one without a listener.
    {
        auto question = std::make_shared<TransferQuestion>(about, slot);
        describe(*question);
        request_.report(TransferOperation::question{std::move(question)});
    }
    std::optional<TransferQuestion::Slot::Reply> reply;
    request_.do_part(
        [slot] {
            slot->give({Answer::stop, false, {}});
        },
        [&] { reply = slot->wait(); });
    return *reply;
}

} // namespace orv
