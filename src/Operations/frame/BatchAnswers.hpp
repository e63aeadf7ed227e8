#pragma once

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <memory>
#include <optional>

namespace orv {

/// The questions about taken names that the items of a batch raise one after the other, and the
/// answer that was given for all of them.
///
/// Threading: the batch's background thread.
class BatchAnswers {
public:
    /// `expected` is how many questions will come, as far as it can be told.
    explicit BatchAnswers(int expected) : still_expected_(expected) {}

    /// Answers the question of the current item with what was given for all, or has the caller
    /// asked. What cannot be merged is asked about again, and the answer for all is forgotten.
    void settle(const std::shared_ptr<ConflictResolver>& question, FunctionRef<void()> ask_caller);

    /// True if the next question may reach the caller.
    [[nodiscard]] bool may_ask() const { return !for_all_; }

    /// To be called when an item is done.
    void item_done();

private:
    int still_expected_;
    std::optional<ConflictBehaviour> for_all_;
    std::shared_ptr<ConflictResolver> question_; // of the current item
};

} // namespace orv
