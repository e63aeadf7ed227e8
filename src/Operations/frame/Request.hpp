#pragma once

#include "Operations/frame/FinalCases.hpp"
#include "Operations/frame/OperationAccess.hpp"
#include "Operations/frame/StatusBatch.hpp"
#include "Operations/undo/UndoJournal.hpp"
#include "utility/WorkerPool.hpp"

#include <orv/Operations/Status.hpp>
#include <orv/utility/Fatal.hpp>

#include <cassert>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace orv {

/// True if `Case` is one of the cases of the variant `Status`.
template <class Case, class Status>
inline constexpr bool has_case = false;
template <class Case, class... Cases>
inline constexpr bool has_case<Case, std::variant<Cases...>> = (std::is_same_v<Case, Cases> || ...);

/// One request at work: its operation, and the way to its caller.
///
/// Threading: the request's background thread.
template <class Operation>
class Request {
public:
    using Status = typename Operation::Status;

    Request(std::shared_ptr<Operation> operation, typename Operation::StatusClosure closure)
        : operation_(std::move(operation)), statuses_(std::move(closure))
    {
    }

    [[nodiscard]] bool cancelled() const noexcept
    {
        return OperationAccess::was_cancelled(*operation_) ||
               (whole_ && OperationAccess::was_cancelled(whole_->operation));
    }

    /// Waits while the request is paused. Then throws `Exception` if it was cancelled in time.
    ///
    /// Call it between two items or two parts of a file, outside `Database::sync`.
    void check_cancelled()
    {
        wait_while_paused();
        if (must_stop())
            throw Exception();
    }

    /// The same for a request without a cancel.
    void wait_while_paused()
    {
        if (!state().pause.is_closed())
            return;
        report_all_held();
        state().pause.wait();
    }

    /// The gate of pauses, for other threads at work on the request.
    [[nodiscard]] const PauseGate& pause_gate() const { return state().pause; }

    /// The caller's operation.
    [[nodiscard]] Operation& operation() const { return *operation_; }

    /// The request's progress, for observers of its operation.
    [[nodiscard]] Tally& tally() const { return state().tally; }

    /// Cancels the request from within.
    void cancel() { operation_->cancel(); }

    /// Delivers `status`, and waits for the end of the callback. Throws `Exception` instead if the
    /// request was cancelled before, in time.
    void report(const Status& status)
    {
        if (!statuses_.deliver_unless([this] { return must_stop(); }, status))
            throw Exception();
    }

    /// Delivers `status`, perhaps together with later ones, within some milliseconds as long as the
    /// request goes on to report or calls `report_held()`.
    void report_soon(Status status) { statuses_.add(std::move(status)); }
    void report_held() { whole_ ? whole_->report_held() : statuses_.flush_if_due(); }
    void report_all_held() { whole_ ? whole_->report_all_held() : statuses_.flush(); }

    /// Asks the caller. Without a caller to ask, the answer is to stop.
    void put(const std::shared_ptr<ConflictResolver>& question)
    {
        if (statuses_.has_listener())
            report(status::conflict_occured{question});
        else
            question->resume(ConflictBehaviour::stop, false);
    }

    /// Asks the caller, and waits for the answer.
    ConflictBehaviour ask(const std::shared_ptr<ConflictResolver>& question)
    {
        put(question);
        return question->wait();
    }

    /// Does a part of the work. A cancel meanwhile calls `cancel_part` on the main thread. Throws
    /// `Exception` if the request was cancelled before.
    template <class Part>
    void do_part(std::function<void()> cancel_part, Part part);

    /// Does a part of the work as a request of `Child`, on this thread. All its statuses but the
    /// last go to `on_status`, on this thread and at once; the last is the result. The child's
    /// progress counts as the request's. A pause and a cancel reach the child, too. Throws
    /// `Exception` if the request was cancelled before. A child costs no hand-over.
    template <class Child, class Work>
    typename Child::Status run_child(typename Child::StatusClosure on_status, Work work);

    /// Takes the work back if, after its success, the request turns out to be cancelled. The main
    /// thread calls it or destroys it before the final status.
    void set_undo(std::function<void()> undo) { undo_ = std::move(undo); }

    /// Notes a step for `undo_last`, if there is one. A step of a child is one of its parent.
    void add_undo_step(std::optional<UndoStep> step)
    {
        if (step)
            undo_steps_->push_back(std::move(*step));
    }

    /// Marks the work as done for good: a cancel from now on comes too late.
    void set_done() { is_done_ = true; }

    /// Frees the operation and delivers the final status: `outcome`, or `cancelled` after a timely
    /// cancel.
    void finish(Status outcome)
    {
        assert(is_final(outcome));
        const std::int64_t undo_line = whole_ ? 0 : UndoJournal::add(*undo_steps_);
        statuses_.finish([&] {
            if constexpr (has_case<status::cancelled, Status>) {
                if (must_stop()) {
                    if (undo_)
                        take_back();
                    outcome = status::cancelled{};
                }
            }
            undo_ = nullptr;
            if (!whole_)
                OperationAccess::free(*operation_);
            return std::move(outcome);
        });
        if (is_taken_back_)
            UndoJournal::forget(undo_line);
    }

private:
    template <class Other>
    friend class Request;

    /// The request the child belongs to.
    struct Whole {
        OrvOperation& operation;
        std::function<void()> report_held;
        std::function<void()> report_all_held;
    };

    Request(std::shared_ptr<Operation> child, typename Operation::StatusClosure on_status,
            Whole whole)
        : operation_(std::move(child)), statuses_(std::move(on_status), StatusThread::same),
          whole_(std::move(whole))
    {
        OperationAccess::share_state(whole_->operation, *operation_);
    }

    /// The operation the caller cancels.
    [[nodiscard]] OrvOperation& cancelled_by_caller() const
    {
        return whole_ ? whole_->operation : *operation_;
    }

    [[nodiscard]] OperationState& state() const { return OperationAccess::state(*operation_); }

    [[nodiscard]] bool must_stop() const noexcept { return cancelled() && !is_done_; }

    void take_back()
    {
        undo_();
        tally().clear_results();
        is_taken_back_ = true;
    }

    std::shared_ptr<Operation> operation_;
    StatusBatch<Status, typename Operation::StatusClosure> statuses_;
    std::optional<Whole> whole_;
    std::function<void()> undo_;
    std::shared_ptr<std::vector<UndoStep>> undo_steps_ = std::make_shared<std::vector<UndoStep>>();
    bool is_done_ = false;
    bool is_taken_back_ = false;
};

template <class Operation>
concept FailsInItsOwnWay = requires
{
    typename Operation::error;
};

/// True if a request of `Operation` has a final status for a failure.
template <class Operation>
inline constexpr bool can_fail =
    has_case<status::error, typename Operation::Status> || FailsInItsOwnWay<Operation>;

/// The final status of a failed request of `Operation`. A failure of one without such a status ends
/// the process.
template <class Operation>
typename Operation::Status error_status(const Error& error)
{
    if constexpr (has_case<status::error, typename Operation::Status>)
        return status::error{error};
    else if constexpr (FailsInItsOwnWay<Operation>)
        return typename Operation::error{typename Operation::other{error}};
    else
        fatal(error.message());
}

/// Does the work of a request, and turns an exception into the final status. An operation without a
/// cancel never throws `Exception`.
template <class Operation, class Work>
typename Operation::Status outcome_of(Request<Operation>& request, Work& work)
{
    try {
        return work(request);
    } catch (const Exception&) {
        if constexpr (has_case<status::cancelled, typename Operation::Status>)
            return status::cancelled{};
        else
            throw;
    } catch (const Error& error) {
        return error_status<Operation>(error);
    } catch (const std::exception& error) {
        return error_status<Operation>(Error(error.what()));
    }
}

template <class Operation>
template <class Part>
void Request<Operation>::do_part(std::function<void()> cancel_part, Part part)
{
    OrvOperation& operation = cancelled_by_caller();
    if (!OperationAccess::begin_part(operation, std::move(cancel_part)))
        throw Exception();
    struct End {
        OrvOperation& operation;
        ~End() { OperationAccess::end_part(operation); }
    } const end{operation};
    part();
}

template <class Operation>
template <class Child, class Work>
typename Child::Status Request<Operation>::run_child(typename Child::StatusClosure on_status,
                                                     Work work)
{
    check_cancelled();
    std::optional<typename Child::Status> last;
    Request<Child> request(
        std::make_shared<Child>(),
        [&, on_status = std::move(on_status)](const auto& status) {
            if (is_final(status))
                last = status;
            else
                on_status(status);
        },
        {cancelled_by_caller(), [this] { report_held(); }, [this] { report_all_held(); }});
    request.undo_steps_ = undo_steps_;
    request.finish(outcome_of(request, work));
    return *last;
}

/// Notes each item a walk passes over as a failure of the request. The request must outlive it.
template <class Operation>
std::function<void(const Error&)> failures_of(Request<Operation>& request)
{
    return [&tally = request.tally()](const Error& error) {
        tally.add_failure({error.path().value_or(Url()), error});
    };
}

inline Error no_thread_error()
{
    return Error("The request couldn't be started, because the system allows no more threads. "
                 "Wait until other programs or requests have ended, and try again.")
        .known_as(Cause::exhausted);
}

/// A request on its way to a thread.
template <class Operation, class Work>
struct WaitingRequest {
    std::shared_ptr<Operation> operation;
    typename Operation::StatusClosure closure;
    Work work;

    void serve()
    {
        Request<Operation> request(std::move(operation), std::move(closure));
        request.finish(outcome_of(request, work));
    }

    /// Ends the request before its start. The main thread serves a request that cannot fail.
    ///
    /// Threading: main thread.
    void refuse(const Error& error)
    {
        if constexpr (can_fail<Operation>) {
            Request<Operation> request(std::move(operation), std::move(closure));
            request.finish(error_status<Operation>(error));
        } else {
            serve();
        }
    }
};

/// Starts a request: calls `work` in the background with its `Request<Operation>&`. Its result is
/// the final status; it may throw.
template <class Operation, class Work>
std::shared_ptr<Operation> start_request(typename Operation::StatusClosure closure, Work work)
{
    auto operation = std::make_shared<Operation>();
    OperationAccess::activate(operation);
    const std::shared_ptr<WaitingRequest<Operation, Work>> waiting(
        new WaitingRequest<Operation, Work>{operation, std::move(closure), std::move(work)});
    WorkerPool::instance().async(
        [waiting] { waiting->serve(); },
        [waiting] { main_async([waiting] { waiting->refuse(no_thread_error()); }); });
    return operation;
}

} // namespace orv
