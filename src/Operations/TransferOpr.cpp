#include "Operations/TransferOpr.hpp"

#include "Operations/frame/Descriptors.hpp"
#include "Operations/frame/LockTurn.hpp"
#include "Operations/transfer/TransferCopy.hpp"
#include "Operations/transfer/TransferErrors.hpp"
#include "Operations/transfer/TransferMeasure.hpp"
#include "Operations/transfer/TransferMove.hpp"
#include "Operations/transfer/TransferRun.hpp"
#include "Operations/transfer/TransferSources.hpp"

#include <utility>

namespace orv {
namespace {

using Sources = std::vector<TransferSource>;

// More steps ahead than keep the second thread at work while the first one makes folders and waits
// for the caller only cost descriptors.
constexpr DescriptorNeed needed_by_steps = needed_ahead(needed_by_transfer, 32);

/// Locks the transfer's sources and destination, at once or in its turn.
LocationLock locked(TransferRequest& request, const TransferPlan& plan, const Sources& sources,
                    const Url& folder)
{
    std::vector<LockType> wanted = locks_of(plan, sources, folder);
    if (plan.policy.when_locked == TransferPolicy::WhenLocked::fail)
        return LocationLock(std::move(wanted));
    const auto turn = std::make_shared<LockTurn>(std::move(wanted));
    std::optional<LocationLock> granted;
    request.do_part([turn] { turn->give_up(); },
                    [&] {
                        if (auto lock = turn->wait())
                            granted.emplace(std::move(*lock));
                    });
    if (!granted)
        throw Exception();
    return std::move(*granted);
}

/// Waits for the transfer's descriptors, or for a cancel.
DescriptorLease leased(TransferRequest& request)
{
    if (auto lease = DescriptorLease::try_take(needed_by_steps))
        return std::move(*lease);
    const auto turn = std::make_shared<DescriptorTurn>(needed_by_steps);
    std::optional<DescriptorLease> lease;
    request.do_part([turn] { turn->give_up(); },
                    [&] {
                        if (auto granted = turn->wait())
                            lease.emplace(std::move(*granted));
                    });
    if (!lease)
        throw Exception();
    return std::move(*lease);
}

void copy(TransferRun& run, const Sources& sources, std::size_t steps)
{
    TransferCopy(run, steps).copy(sources);
}

void move(TransferRun& run, const Sources& sources)
{
    TransferMove move(run);
    for (const TransferSource& source : sources)
        move.move(source);
}

void transfer(TransferRun& run, Sources sources)
{
    run.request.report(status::preparing{});
    const DescriptorLease descriptors = leased(run.request);
    sources = measured(run, std::move(sources));
    if (run.plan.kind == TransferPlan::Kind::copy)
        copy(run, sources, steps_ahead(descriptors, needed_by_transfer));
    else
        move(run, sources);
    run.meter.complete();
    run.finish.finish(run);
}

/// Does the work, and returns the final status with the report.
TransferOperation::Status reported(TransferRun& run, const Sources& sources)
{
    try {
        transfer(run, sources);
        return TransferOperation::success{run.log.take()};
    } catch (const Exception&) {
        return TransferOperation::cancelled{run.log.take()};
    } catch (const TransferEnd& end) {
        return TransferOperation::error{end.error, run.log.take()};
    } catch (const Error& error) {
        return TransferOperation::error{error, run.log.take()};
    }
}

TransferOperation::Status transfer(TransferRequest& request, const TransferPlan& plan)
try {
    check_plan(plan);
    const Url folder = plan.folder.resolving_symlinks();
    const Sources sources = sources_of(plan, folder);
    const LocationLock lock = locked(request, plan, sources, folder);
    TransferRun run{request,
                    plan,
                    folder,
                    TransferFinish(plan.policy, folder),
                    TransferQuestions(request, plan.policy),
                    TransferLog(plan.sources, request.tally()),
                    TransferMeter(request)};
    return reported(run, sources);
} catch (const Exception&) {
    return TransferOperation::cancelled{TransferLog(plan.sources, request.tally()).take()};
} catch (const Error& error) {
    return TransferOperation::error{error, TransferLog(plan.sources, request.tally()).take()};
}

} // namespace

std::shared_ptr<TransferOperation> transfer(TransferPlan plan,
                                            TransferOperation::StatusClosure status_closure)
{
    return start_request<TransferOperation>(
        std::move(status_closure),
        [plan = std::move(plan)](TransferRequest& request) { return transfer(request, plan); });
}

} // namespace orv
