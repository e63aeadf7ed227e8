#include "faults/ChangedUnderneath.hpp"

#include "faults/Thinned.hpp"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

// `make prove` tries every call, which takes minutes.
constexpr long usual_step = 4;

class ChangedUnderneath : public testing::TestWithParam<Change> {};

TEST_P(ChangedUnderneath, harms_nothing_at_a_call)
{
    if (fault_case(GetParam().request).needs_volume)
        if (const auto obstacle = Mount::obstacle())
            GTEST_SKIP() << *obstacle;
    const Tally tally = sweep(GetParam(), step_of_sweep(usual_step));
    EXPECT_GT(tally.injected, 0);
    for (const std::string& problem : tally.problems)
        ADD_FAILURE() << problem;
}

INSTANTIATE_TEST_SUITE_P(Changes, ChangedUnderneath, testing::ValuesIn(changes()),
                         [](const auto& change) { return change.param.name; });

} // namespace
} // namespace orv::test
