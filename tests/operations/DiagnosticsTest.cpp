#include <orv/orv.hpp>

#include <filesystem>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

TEST(DiagnosticsTest, the_content_of_a_missing_folder_is_an_error_and_a_total)
{
    exp_from_orv_file_management();
    if (std::filesystem::exists("/Volumes/Untitled/1"))
        GTEST_SKIP() << "the folder exists";
    testing::internal::CaptureStdout();
    exp_get_content_of_directory();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Given url doesn't point to an existing item. (src/Tool/Tool, iterate_contents(of:"
              "inclusive:recursive:recursion_depth:include_hidden_files:consume:), line 78)\n"
              "TOTAL: 0\n");
}

} // namespace
} // namespace orv::test
