#pragma once

#include "faults/Checker.hpp"
#include "faults/Disk.hpp"
#include "faults/FaultCases.hpp"
#include "faults/Sweep.hpp"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace orv::test {

/// A request during or after which the power goes on both disks: on that of the home, which holds
/// the attributes and the notes, too, and on the other one.
struct PowerCase {
    FaultCase request;
    Promise promise;
    std::string disk_at = "home/disk"; ///< where the other disk is mounted
};

[[nodiscard]] const std::vector<PowerCase>& power_cases();

/// What has reached the disks by itself when the power goes, and what comes then.
struct Outage {
    std::string name;
    Disk::Reached home = Disk::Reached::nothing;
    Disk::Reached disk = Disk::Reached::nothing;
    bool is_disk_away = false; ///< the library starts once without the other disk
};

[[nodiscard]] const std::vector<Outage>& outages();

/// Cuts the power after the end and before one call of every `step`, by each of the outages.
[[nodiscard]] Tally sweep(const PowerCase& cut, const std::string& file_system, long step = 1);

/// Why no power can be cut here; none when it can.
[[nodiscard]] std::optional<std::string> obstacle_to_power_cuts(const std::string& file_system);

inline void PrintTo(const PowerCase& cut, std::ostream* to)
{
    *to << cut.request.name;
}

inline void PrintTo(const Outage& outage, std::ostream* to)
{
    *to << outage.name;
}

} // namespace orv::test
