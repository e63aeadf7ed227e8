#include "faults/VolumeRequests.hpp"

#include <algorithm>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

class Volumes : public testing::TestWithParam<VolumeKind> {};

TEST_P(Volumes, get_all_that_they_can_hold_or_a_sentence)
{
    const VolumeKind& kind = GetParam();
    if (const auto obstacle = obstacle_to(kind))
        GTEST_SKIP() << *obstacle;
    const VolumeTrial trial(kind);
    for (const VolumeRequest& request : volume_requests())
        if (request.is_quick)
            if (const VolumeOutcome outcome = trial.run(request);
                outcome.kind == VolumeOutcome::Kind::failed)
                ADD_FAILURE() << request.name << ": " << outcome.text;
}

INSTANTIATE_TEST_SUITE_P(Kinds, Volumes, testing::ValuesIn(volume_kinds()), [](const auto& kind) {
    std::string name = kind.param.name;
    std::ranges::replace_if(
        name, [](char c) { return !std::isalnum(c); }, '_');
    return name;
});

} // namespace
} // namespace orv::test
