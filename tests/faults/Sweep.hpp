#pragma once

#include "faults/FaultCases.hpp"
#include "faults/Mount.hpp"
#include "faults/Site.hpp"
#include "support/Supervisor.hpp"

#include <functional>
#include <string>
#include <vector>

namespace orv::test {

/// A site, with other volumes where the request needs some.
struct SiteOfCase {
    explicit SiteOfCase(const FaultCase& request);

    /// Makes everything as it is before the request.
    void reset();

    const FaultCase& request;
    Site site;
    std::vector<Mount> volumes;
};

/// What came of the same fault at one call after the other.
struct Tally {
    long injected = 0;
    long lost = 0;
    std::vector<std::string> problems; ///< of the first that was lost, with the call

    [[nodiscard]] long survived() const { return injected - lost; }
    Tally& operator+=(const Tally& other);
};

/// Meets one fault and says what went wrong, or that there were fewer calls.
struct Trial {
    bool hit = false;
    std::string call;
    std::vector<std::string> problems;
};

/// One after the other `trial(n)` for n from 1, by `step`, until a call is not hit. Several at
/// once, each by a trial of its own that `make_trial` has made.
[[nodiscard]] Tally sweep(const std::function<std::function<Trial(long at)>()>& make_trial,
                          long step = 1);

/// Makes `request` meet the fault at every call.
[[nodiscard]] Tally sweep(const FaultCase& request, Fault::Kind kind, int code, long step = 1);

} // namespace orv::test
