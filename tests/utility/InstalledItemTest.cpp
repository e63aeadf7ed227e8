#include "utility/InstalledItem.hpp"

#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <gtest/gtest.h>

namespace orv::test {
namespace {

TEST(InstalledItem, lies_below_the_prefix_that_the_clues_tell)
{
    const Scratch root;
    make_tree(root.url(), {"p/share/item/", "q/share/item/", "none/"});
    const auto at = [&](const char* path) { return root / path; };
    const std::string header = "/" ORV_INCLUDEDIR "/orv/utility/InstalledHeaders.hpp";
    const std::string headers = at("q").path() + header;
    const Url lib = at("p/" ORV_LIBDIR "/liborv.so");
    const Url app = at("none/app");
    struct Case {
        const char* what;
        InstallationClues clues;
        Url prefix;
    };
    const Case cases[] = {
        {"the environment decides", {at("none"), lib, headers}, at("none")},
        {"around a shared library", {{}, lib, headers}, at("p")},
        {"around a program", {{}, at("p/" ORV_BINDIR "/app"), headers}, at("p")},
        {"around the headers", {{}, app, headers}, at("q")},
        {"around the headers, as pkg-config gives them",
         {{}, app, at("q/lib/pkgconfig").path() + "/../.." + header},
         at("q")},
        {"a prefix without the item is passed over",
         {{}, at("none/" ORV_BINDIR "/app"), headers},
         at("q")},
        {"nowhere: named where it should be", {{}, at("none/" ORV_BINDIR "/app"), {}}, at("none")},
        {"a relative path tells nothing", {{}, app, header.substr(1)}, "/usr/local"},
        {"nor does another header",
         {{}, app, at("q/" ORV_INCLUDEDIR "/a.hpp").path()},
         "/usr/local"},
    };
    for (const auto& [what, clues, prefix] : cases)
        EXPECT_EQ(installed_item("share/item", clues), prefix.appending("share/item")) << what;
}

} // namespace
} // namespace orv::test
