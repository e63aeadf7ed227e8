#include "Operations/UndoOpr.hpp"

#include "Operations/MoveToTrashOpr.hpp"
#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/ErrorPlace.hpp"
#include "Operations/frame/Request.hpp"
#include "Operations/undo/TakeBack.hpp"
#include "Operations/undo/UndoJournal.hpp"

#include <limits>
#include <optional>

namespace orv {
namespace {

using UndoState = UndoLine::State;
using UndoRequest = Request<UndoOperation>;

constexpr ErrorPlace undo_last_place{"src/Operations/UndoOpr", "undo_last(status_closure:)"};

/// One undo, from the newest line to the first one that can be taken back.
class Undoing {
public:
    explicit Undoing(UndoRequest& request) : request_(request) {}

    /// Takes a line back, and returns it. A line that fails for the first time is an error. When it
    /// fails again, the lines before it have their turn.
    ///
    /// Errors: those of the first failed line; "There is nothing to undo."
    UndoLine undo_one()
    {
        std::optional<Error> first_failure;
        std::int64_t before = std::numeric_limits<std::int64_t>::max();
        while (auto line = UndoJournal::last_before(before)) {
            try {
                undo(*line);
                return std::move(*line);
            } catch (const Error& error) {
                if (line->state == UndoState::fresh)
                    throw;
                if (!first_failure)
                    first_failure = error;
            }
            before = line->number;
        }
        throw first_failure.value_or(undo_last_place("There is nothing to undo."));
    }

private:
    void undo(const UndoLine& line)
    {
        const auto poll = [&] { request_.check_cancelled(); };
        if (const auto refusal = refusal_of(line, trashes_, poll)) {
            if (line.state == UndoState::fresh)
                UndoJournal::set_state(line.number, UndoState::refused);
            throw *refusal;
        }
        UndoJournal::set_state(line.number, UndoState::begun);
        take_back(line, trashes_, poll);
        request_.set_done();
        UndoJournal::remove(line.number);
    }

    UndoRequest& request_;
    Trashes trashes_;
};

UndoOperation::Status run(UndoRequest& request)
{
    constexpr int needed = needed_by_transfer.least + static_cast<int>(trashed_at_once);
    const DescriptorLease descriptors = lease_descriptors(request, {needed, needed});
    const UndoLine line = Undoing(request).undo_one();
    return UndoOperation::success{line.text()};
}

} // namespace

std::shared_ptr<UndoOperation> undo_last(UndoOperation::StatusClosure status_closure)
{
    return start_request<UndoOperation>(std::move(status_closure),
                                        [](UndoRequest& request) { return run(request); });
}

std::vector<UndoableRequest> undoable_requests()
{
    std::vector<UndoableRequest> requests;
    for (const UndoSummary& line : UndoJournal::summaries()) {
        const std::chrono::nanoseconds noted(line.noted);
        requests.push_back(
            {"Undo " + line.text,
             std::chrono::sys_seconds(std::chrono::floor<std::chrono::seconds>(noted)),
             line.state == UndoState::refused});
    }
    return requests;
}

} // namespace orv
