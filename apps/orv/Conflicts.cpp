#include "Conflicts.hpp"

#include "Failure.hpp"
#include "Interrupt.hpp"

namespace orv::app {

void Conflicts::settle(const std::shared_ptr<ConflictResolver>& resolver)
{
    stop_reason_ = Error("Destination item already exists.").at(resolver->destination_url());
    if (!on_conflict_ && can_ask_)
        question_.ask(resolver);
    else
        resolver->resume(answer_for(*resolver), false);
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
