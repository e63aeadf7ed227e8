#include "Operations/frame/BatchAnswers.hpp"

namespace orv {

void BatchAnswers::settle(const std::shared_ptr<ConflictResolver>& question,
                          FunctionRef<void()> ask_caller)
{
    question_ = question;
    if (for_all_ == ConflictBehaviour::merge && !question->is_conflict_mergeable())
        for_all_.reset();
    if (for_all_) {
        question->resume(*for_all_, false);
        return;
    }
    question->set_more_conflicts_exist(still_expected_ > 1);
    ask_caller();
}

void BatchAnswers::item_done()
{
    if (!question_)
        return;
    --still_expected_;
    if (question_->apply_to_all())
        for_all_ = question_->selected_behaviour();
    question_.reset();
}

} // namespace orv
