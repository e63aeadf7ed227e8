#include "utility/InstalledItem.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

TEST(InstalledItem, lies_beside_the_library_wherever_that_was_moved)
{
    const Scratch root;
    const std::string lib = "moved/" ORV_LIBDIR "/liborv.so";
    make_tree(root.url(), {lib + "=", "moved/share/orv/",
                           "moved/" ORV_BINDIR "/app=", "elsewhere/app=", "share/orv/", "tree/"});
    const Url tree = root / "tree";
    struct Case {
        const char* what;
        std::string library;
        Url item;
    };
    const Case cases[] = {
        {"a shared library", lib, root / "moved/share/orv"},
        {"a program that holds it", "moved/" ORV_BINDIR "/app", root / "moved/share/orv"},
        {"a program in no prefix looks at nothing near it", "elsewhere/app", tree},
    };
    for (const auto& [what, library, item] : cases)
        EXPECT_EQ(installed_item("share/orv", tree.path(), root / library), item) << what;
    EXPECT_EQ(installed_item("share/none", tree.path(), root / lib), tree);
    EXPECT_EQ(installed_item("share", "/no such", Url(ORV_BUILD_TREE).appending("bin/app")),
              Url(ORV_PREFIX).appending("share"));
}

TEST(InstalledItem, lies_in_the_build_of_a_program_that_was_never_installed)
{
    EXPECT_EQ(installed_item("share", ORV_BUILD_TREE), Url(ORV_BUILD_TREE));
}

} // namespace
} // namespace orv::test
