#include "support/Supervisor.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <cerrno>
#include <csignal>
#include <ostream>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

struct SupervisorCase {
    const char* name;
    Fault::Kind kind;
    bool ends_well;
    std::vector<std::string> after; ///< of "mkdir one two", when the second call meets the fault
};

void PrintTo(const SupervisorCase& what, std::ostream* to)
{
    *to << what.name;
}

class Supervisor : public testing::TestWithParam<SupervisorCase> {};

TEST_P(Supervisor, meets_the_call_before_it_happens)
{
    const SupervisorCase& expected = GetParam();
    const Scratch scratch;
    const std::vector<std::string> command{"mkdir", (scratch / "one").path(),
                                           (scratch / "two").path()};
    std::vector<std::string> seen_by_hook;
    const Fault fault{.kind = expected.kind, .at = 2, .code = ENOSPC, .hook = [&] {
                          seen_by_hook = tree(scratch.url());
                      }};
    const Supervision ending = supervise(command, scratch.url().path(), fault);
    EXPECT_EQ(ending.hit, "mkdir " + (scratch / "two").path());
    EXPECT_EQ(ending.exit_code == 0, expected.ends_well);
    EXPECT_EQ(ending.signal, expected.kind == Fault::Kind::kill ? SIGKILL : 0);
    EXPECT_EQ(tree(scratch.url()), expected.after);
    const bool hook_ran = expected.kind != Fault::Kind::error;
    EXPECT_EQ(seen_by_hook, hook_ran ? std::vector<std::string>{"one/"} : decltype(seen_by_hook){});
}

const SupervisorCase supervisor_cases[] = {
    {"kill", Fault::Kind::kill, false, {"one/"}},
    {"error", Fault::Kind::error, false, {"one/"}},
    {"pause", Fault::Kind::pause, true, {"one/", "two/"}},
};

INSTANTIATE_TEST_SUITE_P(Faults, Supervisor, testing::ValuesIn(supervisor_cases),
                         [](const auto& what) { return what.param.name; });

} // namespace
} // namespace orv::test
