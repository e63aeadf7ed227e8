#pragma once

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/utility/FunctionRef.hpp>

#include <memory>
#include <optional>

namespace orv {

/// The questions about taken names from the items of a batch, one after the other, and the caller's
/// answer for all of them.
///
/// Threading: the batch's background thread.
class BatchAnswers {
public:
    /// `expected` is the number of questions to come, as far as it is known.
    explicit BatchAnswers(int expected) : still_expected_(expected) {}

    /// Answers the current item's question with the answer for all, or asks the caller. If the item
    /// cannot be merged, asks again and forgets the answer for all.
    void settle(const std::shared_ptr<ConflictResolver>& question, FunctionRef<void()> ask_caller);

    /// True if the next question may reach the caller.
    [[nodiscard]] bool may_ask() const { return !for_all_; }

    /// Call it after each item.
    void item_done();

private:
    int still_expected_;
    std::optional<ConflictBehaviour> for_all_;
    std::shared_ptr<ConflictResolver> question_; // of the current item
};

} // namespace orv
