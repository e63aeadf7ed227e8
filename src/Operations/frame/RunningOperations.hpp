#pragma once

#include <orv/Operations/OrvOperation.hpp>

#include <memory>
#include <vector>

namespace orv {

/// The requests of the process at work, in order of their start.
///
/// Threading: any.
class RunningOperations {
public:
    static void add(const std::shared_ptr<OrvOperation>& operation);
    static void remove(const OrvOperation& operation);
    [[nodiscard]] static std::vector<std::shared_ptr<OrvOperation>> all();
};

} // namespace orv
