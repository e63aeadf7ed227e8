#pragma once

#include "Operations/frame/Descriptors.hpp"
#include "files/EntryBatches.hpp"
#include "utility/ResultsAhead.hpp"

#include <cstddef>
#include <type_traits>

namespace orv {

/// The descriptors of a walk on all cores: one batch fills up, and some wait.
inline constexpr int batch_descriptors = static_cast<int>(EntryBatches::most_folders);
inline constexpr DescriptorNeed needed_by_batched_walk{
    needed_by_walk.least + 2 * batch_descriptors, needed_by_walk.least + 9 * batch_descriptors};

/// Options for a walk of `request` whose items others look at.
template <class Operation>
TreeWalkOptions batched_walk_options(Request<Operation>& request)
{
    TreeWalkOptions options;
    options.describes_all = false;
    options.on_passed_over = failures_of(request);
    return options;
}

/// Calls `work` for all items of `walk`, in batches and on all cores, and `take` for its results,
/// on this thread and in the order of the walk.
///
/// Cancel: throws `Exception` within some milliseconds.
template <class Operation, class Work, class Take>
void walk_in_batches(Request<Operation>& request, TreeWalk& walk,
                     const DescriptorLease& descriptors, const Work& work, const Take& take)
{
    const auto check_cancelled = [&] { request.check_cancelled(); };
    const int batches_waiting =
        (descriptors.count() - needed_by_walk.least) / batch_descriptors - 1;
    EntryBatches batches(walk, failures_of(request));
    ResultsAhead<std::invoke_result_t<const Work&, const EntryBatch&>> results(
        static_cast<std::size_t>(batches_waiting));
    while (const auto batch = batches.next()) {
        check_cancelled();
        results.add([batch, &work] { return work(*batch); });
        while (results.is_full())
            take(results.take(check_cancelled));
    }
    while (!results.is_empty())
        take(results.take(check_cancelled));
}

} // namespace orv
