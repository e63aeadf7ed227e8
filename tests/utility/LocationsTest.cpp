#include "support/Scratch.hpp"
#include "support/Tree.hpp"

#include <orv/utility/Locations.hpp>

#include <cstdlib>
#include <iostream>
#include <map>
#include <set>

#include <errno.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace orv::test {
namespace {

using Environment = std::map<std::string, std::string>;

/// Runs `expect` in a process of its own, whose environment and locations are fresh, and in which
/// it says whether all is as expected.
void in_fresh_process(const Environment& environment, const std::function<bool()>& expect)
{
    const auto run = [&] {
        for (const char* name :
             {"HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_CONFIG_HOME", "XDG_DOCUMENTS_DIR"})
            ::unsetenv(name);
        for (const auto& [name, value] : environment)
            ::setenv(name.c_str(), value.c_str(), 1);
        std::_Exit(expect() ? 0 : 1);
    };
    EXPECT_EXIT(run(), testing::ExitedWithCode(0), "");
}

bool is(const Url& actual, const Url& expected)
{
    if (actual != expected)
        std::cerr << "it is " << actual.path() << ", not " << expected.path() << '\n';
    return actual == expected;
}

TEST(LocationsDeathTest, defaults_come_from_the_environment)
{
    const Scratch root;
    make_tree(root.url(), {"home/", "linked->home"});
    const Url home = root / "home";
    const std::string app = program_invocation_short_name;

    struct Case {
        Environment environment;
        Url home, docs, support, temp;
    };
    const Url own_support = home.appending(".local/share").appending(app);
    const Url own_temp = home.appending(".cache").appending(app).appending("tmp");
    const Case cases[] = {
        {{{"HOME", home.path()}}, home, home.appending("Documents"), own_support, own_temp},
        {{{"HOME", (root / "linked").path()}},
         home,
         home.appending("Documents"),
         own_support,
         own_temp},
        {{{"HOME", home.path()}, {"XDG_DATA_HOME", "/d"}, {"XDG_CACHE_HOME", "/c"}},
         home,
         home.appending("Documents"),
         Url("/d").appending(app),
         Url("/c").appending(app).appending("tmp")},
        {{{"HOME", home.path()}, {"XDG_DATA_HOME", "d"}, {"XDG_CACHE_HOME", ""}},
         home,
         home.appending("Documents"),
         own_support,
         own_temp},
    };
    for (const Case& row : cases)
        in_fresh_process(row.environment, [&] {
            return is(home_dir(), row.home) && is(docs_dir(), row.docs) &&
                   is(app_support_dir(), row.support) && is(temp_dir(), row.temp);
        });
}

TEST(LocationsDeathTest, home_comes_from_the_user_database_when_there_is_no_other)
{
    const Url entry = Url(::getpwuid(::getuid())->pw_dir).resolving_symlinks();
    for (const char* home : {"", "relative"})
        in_fresh_process({{"HOME", home}}, [&] { return is(home_dir(), entry); });
    in_fresh_process({}, [&] { return is(home_dir(), entry); });
}

TEST(LocationsDeathTest, documents_folder_is_the_one_that_the_user_chose)
{
    struct Case {
        std::string file, docs;
    };
    const Case cases[] = {
        {"XDG_DOCUMENTS_DIR=\"$HOME/Papers\"\n", "home/Papers"},
        {"# XDG_DOCUMENTS_DIR=\"$HOME/Old\"\nXDG_MUSIC_DIR=\"$HOME/M\"\n"
         "XDG_DOCUMENTS_DIR=\"$HOME/My \\\"Papers\\\"\"",
         "home/My \"Papers\""},
        {"  XDG_DOCUMENTS_DIR=\"$HOME/Old\"\nXDG_DOCUMENTS_DIR=\"$HOME/New\"\n", "home/New"},
        {"XDG_DOCUMENTS_DIR=\"$HOME/\"\n", "home"},
        {"XDG_DOCUMENTS_DIR=\"$HOMEWORK/a\"\n", "home/Documents"},
        {"XDG_DOCUMENTS_DIR=\"Papers\"\n", "home/Documents"},
        {"XDG_DOCUMENTS_DIR=\n", "home/Documents"},
        {"XDG_DOCUMENTS_DIR=\"\n", "home/Documents"},
    };
    for (const auto& [file, docs] : cases) {
        const Scratch root;
        for (const char* config : {"home/.config", "config"}) {
            make_tree(root.url(), {"home/", std::string(config) + "/user-dirs.dirs=" + file});
            Environment environment{{"HOME", (root / "home").path()}};
            if (config == std::string("config"))
                environment["XDG_CONFIG_HOME"] = (root / config).path();
            in_fresh_process(environment, [&] { return is(docs_dir(), root / docs); });
        }
    }

    const Scratch root;
    make_tree(root.url(), {"home/.config/user-dirs.dirs=XDG_DOCUMENTS_DIR=\"/data/papers\"\n"});
    in_fresh_process({{"HOME", (root / "home").path()}},
                     [] { return is(docs_dir(), "/data/papers"); });
}

TEST(LocationsDeathTest, what_is_configured_comes_before_the_defaults)
{
    const Scratch root;
    make_tree(root.url(), {"home/", "linked->home"});
    in_fresh_process({{"HOME", "/elsewhere"}, {"XDG_DATA_HOME", "/d"}}, [&] {
        Locations locations;
        locations.app_id = "org.example.app";
        locations.home_dir = root / "linked";
        locations.temp_dir = Url("/scratch");
        locations.resource_dir = Url();
        configure_locations(locations);
        return is(home_dir(), root / "home") && is(docs_dir(), root / "home/Documents") &&
               is(app_support_dir(), "/d/org.example.app") && is(temp_dir(), "/scratch") &&
               !resource_dir().empty();
    });
}

TEST(LocationsDeathTest, cannot_be_configured_once_they_are_in_use)
{
    const auto configure_late = [] {
        static_cast<void>(temp_dir());
        configure_locations({});
    };
    EXPECT_DEATH(configure_late(), "The locations were configured after the library was first");
}

} // namespace
} // namespace orv::test
