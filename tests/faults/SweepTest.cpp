#include "faults/Sweep.hpp"

#include "faults/Mount.hpp"
#include "faults/Thinned.hpp"

#include <algorithm>
#include <cerrno>
#include <tuple>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

struct FaultKind {
    const char* name;
    Fault::Kind kind;
    int code;
};

void PrintTo(const FaultKind& kind, std::ostream* to)
{
    *to << kind.name;
}

const FaultKind fault_kinds[] = {
    {"kill", Fault::Kind::kill, 0},
    {"disk_full", Fault::Kind::error, ENOSPC},
    {"input_output_error", Fault::Kind::error, EIO},
    {"permission_denied", Fault::Kind::error, EACCES},
};

class Sweep : public testing::TestWithParam<std::tuple<FaultCase, FaultKind>> {};

TEST_P(Sweep, loses_nothing_wherever_it_is_hit)
{
    const auto& [request, fault] = GetParam();
    if (request.needs_volume)
        if (const auto obstacle = Mount::obstacle())
            GTEST_SKIP() << *obstacle;
    const Tally tally = sweep(request, fault.kind, fault.code, step_of_sweep(request.step));
    EXPECT_GT(tally.injected, 0);
    EXPECT_EQ(tally.lost, 0);
    for (const std::string& problem : tally.problems)
        ADD_FAILURE() << problem;
    RecordProperty("faults", static_cast<int>(tally.injected));
}

std::string name_of(const testing::TestParamInfo<std::tuple<FaultCase, FaultKind>>& info)
{
    std::string name = std::get<0>(info.param).name + "_" + std::get<1>(info.param).name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Faults, Sweep,
                         testing::Combine(testing::ValuesIn(fault_cases()),
                                          testing::ValuesIn(fault_kinds)),
                         name_of);

} // namespace
} // namespace orv::test
