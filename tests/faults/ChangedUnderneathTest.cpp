#include "faults/ChangedUnderneath.hpp"

#include "faults/Thinned.hpp"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

class ChangedUnderneath : public testing::TestWithParam<Change> {};

TEST_P(ChangedUnderneath, harms_nothing_at_any_call)
{
    const Tally tally = sweep(GetParam(), step_of_sweeps());
    EXPECT_GT(tally.injected, 0);
    for (const std::string& problem : tally.problems)
        ADD_FAILURE() << problem;
}

INSTANTIATE_TEST_SUITE_P(Changes, ChangedUnderneath, testing::ValuesIn(changes()),
                         [](const auto& change) { return change.param.name; });

} // namespace
} // namespace orv::test
