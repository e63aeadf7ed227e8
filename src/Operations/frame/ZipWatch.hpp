#pragma once

#include "Operations/frame/Request.hpp"
#include "archive/Zip.hpp"

#include <orv/Operations/Progress.hpp>

#include <cstdint>
#include <memory>
#include <thread>

namespace orv {

/// Stops, counts and pauses a packing or an unpacking of `request`, and keeps its held statuses
/// from becoming late. The request must outlive it.
///
/// Threading: made on the request's thread.
template <class Operation>
std::shared_ptr<Zip::Canceller> watched_by(Request<Operation>& request)
{
    Tally& tally = request.tally();
    const auto number = [](std::uint64_t count) { return static_cast<std::int64_t>(count); };
    Zip::Watch watch;
    watch.wait_while_paused = [&request, thread = std::this_thread::get_id()] {
        if (std::this_thread::get_id() != thread)
            return request.pause_gate().wait();
        request.report_held();
        request.wait_while_paused();
    };
    watch.counted = [&tally, number, sums = RunningSums(tally)](const Zip::Amount& amount) mutable {
        tally.expect(number(amount.bytes_total), number(amount.items_total));
        sums.bytes_up_to(number(amount.bytes_done));
        sums.items_up_to(number(amount.items_done));
    };
    watch.left_out = failures_of(request);
    return std::make_shared<Zip::Canceller>(std::move(watch));
}

/// Tells the caller of `request` of the progress; small items share hand-overs. The request must
/// outlive it.
template <class Operation>
Zip::Progress told_by(Request<Operation>& request)
{
    return [&request](float value, const Url& item) {
        request.report_soon(status::progress<GeneralProgress>{{item, value}});
    };
}

} // namespace orv
