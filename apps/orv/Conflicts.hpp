#pragma once

#include "Question.hpp"

#include <orv/Operations/ConflictResolver.hpp>
#include <orv/utility/Error.hpp>

#include <memory>
#include <optional>

namespace orv::app {

/// Settles a request's conflicts: as the options say or, without them, by the person at the
/// terminal. Stops the request if there is nobody to ask.
///
/// Threading: main thread.
class Conflicts {
public:
    Conflicts(std::optional<ConflictBehaviour> on_conflict, bool can_ask)
        : on_conflict_(on_conflict), can_ask_(can_ask)
    {
    }

    void settle(const std::shared_ptr<ConflictResolver>& resolver);

    [[nodiscard]] Question& question() { return question_; }

    /// Says why the request has ended as cancelled.
    ///
    /// Errors: `Interrupted`, or the conflict that stopped it.
    [[noreturn]] void throw_cancelled() const;

private:
    ConflictBehaviour answer_for(const ConflictResolver& conflict);

    std::optional<ConflictBehaviour> on_conflict_;
    bool can_ask_;
    Question question_;
    Error stop_reason_{"The request was cancelled."};
};

} // namespace orv::app
