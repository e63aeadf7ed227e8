#include "utility/LoadedLater.hpp"

#include <orv/utility/Error.hpp>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

TEST(LoadedLater, calls_the_function_or_names_what_is_missing)
{
    const LoadedLater<int(int)> absolute("libc.so.6", "abs");
    EXPECT_EQ(absolute(-3) + absolute(-4), 7);
    const struct {
        LoadedLater<int(int)> function;
        const char* missing;
    } rows[] = {
        {{"libnone.so.9", "abs"}, "libnone.so.9: cannot open shared object file"},
        {{"libc.so.6", "none_such"}, "undefined symbol: none_such"},
    };
    for (const auto& [function, missing] : rows)
        try {
            function(1);
            ADD_FAILURE() << missing;
        } catch (const Error& error) {
            EXPECT_NE(error.message().find(missing), std::string::npos) << error.message();
        }
}

} // namespace
} // namespace orv::test
