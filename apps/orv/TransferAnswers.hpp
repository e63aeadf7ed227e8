#pragma once

#include "Question.hpp"

#include <orv/Operations/TransferOpr.hpp>

#include <memory>

namespace orv::app {

/// Puts the questions of a transfer to the person at the terminal.
///
/// Threading: main thread.
class TransferAnswers {
public:
    /// With `of_many`, offers answers for all.
    explicit TransferAnswers(bool of_many) : of_many_(of_many) {}

    void ask(const std::shared_ptr<TransferQuestion>& about);

    [[nodiscard]] Question& question() { return question_; }

private:
    Question question_;
    bool of_many_;
};

} // namespace orv::app
