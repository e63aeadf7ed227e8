#include "faults/PowerCut.hpp"

#include <algorithm>
#include <tuple>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using Parameters = std::tuple<PowerCase, std::string>;

class PowerCuts : public testing::TestWithParam<Parameters> {};

TEST_P(PowerCuts, undo_nothing_that_was_promised)
{
    const auto& [cut, file_system] = GetParam();
    if (const auto obstacle = obstacle_to_power_cuts(file_system))
        GTEST_SKIP() << *obstacle;
    const Tally tally = sweep(cut, file_system, 90);
    EXPECT_GT(tally.injected, 0);
    for (const std::string& problem : tally.problems)
        ADD_FAILURE() << problem;
}

std::string name_of(const testing::TestParamInfo<Parameters>& info)
{
    std::string name = std::get<0>(info.param).request.name + "_" + std::get<1>(info.param);
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Faults, PowerCuts,
                         // xfs, which takes three times as long, is left to whoever has the time.
                         testing::Combine(testing::ValuesIn(power_cases()),
                                          testing::Values("ext4")),
                         name_of);

} // namespace
} // namespace orv::test
