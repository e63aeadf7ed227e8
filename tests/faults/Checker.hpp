#pragma once

#include "faults/FaultCases.hpp"
#include "faults/Site.hpp"

#include <string>
#include <vector>

namespace orv::test {

/// How strictly items are looked at.
enum class Strictness {
    all,     ///< a finished file is like its original in all
    content, ///< a finished file holds what its original holds
};

[[nodiscard]] bool is_like(const ItemState& one, const ItemState& other, Strictness strictness);

/// What went wrong among the items, if anything: one that was to stay is changed, one is neither as
/// it was nor complete, or something came up that nobody asked for. Half of the request may be
/// done.
[[nodiscard]] std::vector<std::string> wrong_items(const FaultCase& request, const Snapshot& now,
                                                   Strictness strictness = Strictness::all);

/// What of the items that are moved, if anything, is complete neither at its old place nor at its
/// new one, or came up there before all of it had come.
[[nodiscard]] std::vector<std::string> wrong_order(const FaultCase& request, const Snapshot& now,
                                                   Strictness strictness);

/// What went wrong in `site` when `request` met `fault` and ended as `ending`; starts the library
/// once more to see what it makes of it.
[[nodiscard]] std::vector<std::string> wrong_after(const FaultCase& request, const Site& site,
                                                   const Fault& fault, const Supervision& ending);

/// What of a request survives a power cut.
enum class Promise {
    all,        ///< what was reported as done
    old_or_new, ///< all that it moves, at one of the two places
    originals,  ///< what was there before; what it makes may be lost or without its content
};

/// What went wrong in `site` when the power went while `request` was at work, or after it had
/// reported that it `is_done`; starts the library once more. No process lives then.
[[nodiscard]] std::vector<std::string>
wrong_after_power_cut(const FaultCase& request, const Site& site, Promise promise, bool is_done);

} // namespace orv::test
