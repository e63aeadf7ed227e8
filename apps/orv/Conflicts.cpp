#include "Conflicts.hpp"

#include "Failure.hpp"
#include "Interrupt.hpp"
#include "Text.hpp"

#include <fmt/format.h>

namespace orv::app {
namespace {

std::optional<ConflictBehaviour> behaviour_of(char letter, bool is_mergeable)
{
    switch (letter) {
    case 'm':
        return is_mergeable ? std::optional(ConflictBehaviour::merge) : std::nullopt;
    case 'r':
        return ConflictBehaviour::replace;
    case 'k':
        return ConflictBehaviour::keep_both;
    case 's':
        return ConflictBehaviour::stop;
    default:
        return std::nullopt;
    }
}

std::string question_about(const ConflictResolver& conflict)
{
    return fmt::format("{} already exists. {}(r)eplace, (k)eep both or (s)top? ",
                       printable(conflict.destination_url().path()),
                       conflict.is_conflict_mergeable() ? "(m)erge, " : "");
}

} // namespace

void Conflicts::settle(const std::shared_ptr<ConflictResolver>& resolver)
{
    stop_reason_ = Error("Destination item already exists.").at(resolver->destination_url());
    if (on_conflict_ || !can_ask_)
        return resolver->resume(answer_for(*resolver), false);
    const auto take_line = [resolver](const std::string& line) {
        const auto behaviour =
            behaviour_of(typed_answer(line).letter, resolver->is_conflict_mergeable());
        if (behaviour)
            resolver->resume(*behaviour, false);
        return behaviour.has_value();
    };
    question_.ask(question_about(*resolver), take_line,
                  [resolver] { resolver->resume(ConflictBehaviour::stop, false); });
}

void Conflicts::throw_cancelled() const
{
    if (was_interrupted())
        throw Interrupted();
    throw stop_reason_;
}

ConflictBehaviour Conflicts::answer_for(const ConflictResolver& conflict)
{
    const ConflictBehaviour answer = on_conflict_.value_or(ConflictBehaviour::stop);
    if (answer != ConflictBehaviour::merge || conflict.is_conflict_mergeable())
        return answer;
    stop_reason_ = Error("Only a folder can be merged, and only into another folder.")
                       .at(conflict.destination_url());
    return ConflictBehaviour::stop;
}

} // namespace orv::app
