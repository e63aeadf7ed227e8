#pragma once

#include "Operations/frame/Request.hpp"
#include "archive/Zip.hpp"

#include <cstdint>
#include <memory>

namespace orv {

/// Stops, counts and pauses a packing or an unpacking of `request`. The request must outlive it.
template <class Operation>
std::shared_ptr<Zip::Canceller> watched_by(Request<Operation>& request)
{
    Tally& tally = request.tally();
    const auto number = [](std::uint64_t count) { return static_cast<std::int64_t>(count); };
    Zip::Watch watch;
    watch.wait_while_paused = [&gate = request.pause_gate()] { gate.wait(); };
    watch.counted = [&tally, number, sums = RunningSums(tally)](const Zip::Amount& amount) mutable {
        tally.expect(number(amount.bytes_total), number(amount.items_total));
        sums.bytes_up_to(number(amount.bytes_done));
        sums.items_up_to(number(amount.items_done));
    };
    watch.left_out = failures_of(request);
    return std::make_shared<Zip::Canceller>(std::move(watch));
}

} // namespace orv
