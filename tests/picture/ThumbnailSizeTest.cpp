#include "picture/ThumbnailSize.hpp"

#include <optional>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

constexpr std::uint32_t most = 0xFFFFFFFF;
constexpr Delivery thumbnail = Delivery::thumbnail;

struct SizeCase {
    PictureSize full;
    SizeWanted wanted;
    PictureSize size;
};

const SizeCase size_cases[] = {
    // what is not asked for follows the shape, its fraction dropped
    {{4000, 3000}, {}, {4000, 3000}},
    {{4000, 3000}, {240, {}}, {240, 180}},
    {{4000, 3000}, {{}, 240}, {320, 240}},
    {{4000, 3000}, {50, 60}, {50, 60}},
    {{1000, 667}, {240, {}}, {240, 160}},
    {{30, 20}, {300, {}}, {300, 200}},
    // a side is 0 only where it was asked for
    {{100'000, 10}, {240, {}}, {240, 1}},
    {{10, 100'000}, {{}, 240}, {1, 240}},
    {{4000, 3000}, {0, {}}, {0, 0}},
    {{4000, 3000}, {{}, 0}, {0, 0}},
    {{4000, 3000}, {0, 60}, {0, 60}},
    // no size, and more of it than a number can hold
    {{0, 0}, {}, {0, 0}},
    {{0, 10}, {240, {}}, {240, 0}},
    {{10, 0}, {{}, 240}, {0, 240}},
    // in a box it keeps its shape, and grows only where that is wanted
    {{4000, 3000}, {128, 128, thumbnail, Fit::within}, {128, 96}},
    {{3000, 4000}, {300, 128, thumbnail, Fit::within}, {96, 128}},
    {{64, 32}, {128, 128, thumbnail, Fit::within}, {64, 32}},
    {{64, 32}, {128, 128, thumbnail, Fit::filling}, {128, 64}},
    {{1, 100'000}, {128, 128, thumbnail, Fit::within}, {1, 128}},
    {{1, most}, {most, {}}, {most, most}},
    {{most, 1}, {{}, most}, {most, most}},
};

TEST(ThumbnailSize, follows_what_is_wanted_and_the_shape_of_the_picture)
{
    for (const auto& [full, wanted, size] : size_cases)
        EXPECT_TRUE(thumbnail_size(full, wanted) == size)
            << full.width << " by " << full.height << " became "
            << thumbnail_size(full, wanted).width << " by " << thumbnail_size(full, wanted).height;
}

} // namespace
} // namespace orv::test
