#include "faults/Checker.hpp"
#include "faults/FaultCases.hpp"
#include "faults/Sweep.hpp"

#include <algorithm>
#include <cerrno>
#include <ostream>
#include <regex>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

using Patterns = std::vector<std::string>;

/// What a request has to do one after the other so that a power cut takes back nothing that it
/// promises. A file without a name is shown as "#" and its number, a hidden one as "HIDDEN".
struct Order {
    std::string name;
    std::string request;
    Lacking lacking;
    /// Of calls: all that one matches come before all that the next matches. Of one that begins
    /// with "first", only the first after the step before counts.
    Patterns steps;
};

void PrintTo(const Order& order, std::ostream* to)
{
    *to << order.name;
}

/// The calls with paths below the root.
Patterns shown(const Site& site, const std::vector<std::string>& calls)
{
    const std::regex root(site.root().path() + "/");
    const std::regex hidden(R"(\.[0-9a-f-]{36}\.orvresume)");
    const std::regex note(R"([^ /]*\.note)");
    Patterns texts;
    for (const std::string& call : calls) {
        const std::string below = std::regex_replace(call, root, "");
        texts.push_back(
            std::regex_replace(std::regex_replace(below, hidden, "HIDDEN"), note, "NOTE"));
    }
    return texts;
}

Supervision run(const FaultCase& request, const Lacking& lacking, Site& site,
                const Fault& fault = {})
{
    site.lack(lacking);
    site.give_input(request.input);
    site.reset();
    site.forget_living();
    return site.run(request.arguments, fault);
}

class OrderOfCalls : public testing::TestWithParam<Order> {};

TEST_P(OrderOfCalls, takes_every_step_before_the_next_one)
{
    const Order& order = GetParam();
    const FaultCase& request = fault_case(order.request);
    if (request.needs_volume)
        if (const auto obstacle = Mount::obstacle())
            GTEST_SKIP() << *obstacle;
    SiteOfCase place(request);
    const Site& site = place.site;
    const Supervision ending = run(request, order.lacking, place.site);
    ASSERT_EQ(ending.exit_code, 0) << ending.errors;
    const Patterns calls = shown(site, ending.calls);
    std::ptrdiff_t last = -1;
    for (const std::string& step : order.steps) {
        const bool counts_once = step.starts_with("first ");
        const std::regex pattern(step.substr(counts_once ? 6 : 0));
        const auto is_step = [&](const std::string& call) {
            return std::regex_search(call, pattern);
        };
        const auto first =
            std::find_if(calls.begin() + (counts_once ? last + 1 : 0), calls.end(), is_step) -
            calls.begin();
        EXPECT_GT(first, last) << step << " comes too early";
        EXPECT_LT(first, std::ssize(calls)) << step << " does not come";
        last = first;
        for (auto at = first; at < std::ssize(calls) && !counts_once; ++at)
            if (is_step(calls[static_cast<std::size_t>(at)]))
                last = at;
    }
    if (HasFailure())
        for (const std::string& call : calls)
            std::cout << call << "\n";
}

const std::string note_is_durable = "fsync .*/__orv_proc_files__/NOTE";
const std::string folder_of_notes_is_durable = "fsync .*/__orv_proc_files__$";
const std::string note_goes = "unlinkat .*/__orv_proc_files__/NOTE";
constexpr Lacking another_volume{.renaming_between_folders = true};
constexpr Lacking older_volume{.unnamed_files = true, .renaming_between_folders = true};

const Order orders[] = {
    {"write",
     "write",
     {},
     {"^p?write\\w* home/dest/#", "^fsync home/dest/#", "^linkat .* home/dest/new$",
      "^fsync home/dest$"}},
    {"write_beside",
     "write",
     older_volume,
     {note_is_durable, folder_of_notes_is_durable, "^openat home/dest/HIDDEN",
      "^p?write\\w* home/dest/HIDDEN", "^fsync home/dest/HIDDEN",
      "^renameat2 home/dest/HIDDEN home/dest/new$", "^fsync home/dest$", note_goes}},
    {"zip",
     "zip",
     {},
     {"^p?write\\w* home/dest/#", "^fsync home/dest/#", "^linkat .* home/dest/a.zip$",
      "^fsync home/dest$"}},
    {"zip_that_replaces",
     "zip that replaces",
     {},
     {note_is_durable, folder_of_notes_is_durable, "^linkat .* home/dest/HIDDEN$",
      "^fsync home/dest/HIDDEN", "^rename(at2?)? home/dest/HIDDEN home/dest/a.zip$", note_goes}},
    {"copy_that_replaces",
     "replace",
     {},
     {note_is_durable, folder_of_notes_is_durable, "^mkdirat home/dest/HIDDEN$",
      "^linkat .* home/dest/HIDDEN/", "^syncfs ", "^renameat2 home/dest/HIDDEN home/dest/tree$",
      "first ^fsync home/dest$", "^unlinkat home/dest/HIDDEN", "first ^fsync home/dest$",
      note_goes}},
    {"copy_that_sets_aside",
     "replace without flags",
     {.unnamed_files = true, .renaming_with_flags = true},
     {"^syncfs ", "first ^renameat home/dest/tree home/dest/HIDDEN$",
      "first ^renameat home/dest/HIDDEN home/dest/tree$", "first ^fsync home/dest$",
      "^unlinkat home/dest/HIDDEN"}},
    {"move_of_a_tree_to_another_volume",
     "move",
     another_volume,
     {note_is_durable, folder_of_notes_is_durable, "^mkdirat home/dest/HIDDEN$",
      "^(write|copy_file_range|fchmod|utimensat|symlinkat|mknodat|close) .*home/dest/HIDDEN/",
      "^syncfs ", "^renameat2 home/dest/HIDDEN home/dest/tree$", "first ^fsync home/dest$",
      "^unlinkat home/shelf/tree"}},
    {"copy_to_an_older_volume",
     "copy to another volume by renaming",
     {.unnamed_files = true},
     {note_is_durable, folder_of_notes_is_durable, "first ^openat volume/tree/HIDDEN$",
      "^renameat2 volume/tree/HIDDEN volume/tree/", "^fchmod volume/tree$",
      "first ^fsync volume/tree$", note_goes}},
    {"move_of_files_to_another_volume",
     "move of several",
     another_volume,
     {"^(write|copy_file_range|fchmod|utimensat) .*home/dest/HIDDEN$", "^fsync home/dest/HIDDEN$",
      "^renameat2 home/dest/HIDDEN home/dest/treetop$", "^unlinkat home/shelf/treetop$"}},
};

INSTANTIATE_TEST_SUITE_P(Faults, OrderOfCalls, testing::ValuesIn(orders),
                         [](const auto& order) { return order.param.name; });

/// A call by which a volume tells that it could not keep what was written.
struct Told {
    std::string name;
    std::string request;
    Lacking lacking;
    std::string call;
    std::string place; ///< where nothing comes then
};

void PrintTo(const Told& told, std::ostream* to)
{
    *to << told.name;
}

class FailedFlush : public testing::TestWithParam<Told> {};

TEST_P(FailedFlush, fails_the_request)
{
    const Told& told = GetParam();
    const FaultCase& request = fault_case(told.request);
    Site site(request.before);
    const Fault fault{.kind = Fault::Kind::error, .at = 1, .code = EIO, .only = told.call};
    const Supervision ending = run(request, told.lacking, site, fault);
    EXPECT_NE(ending.hit, "");
    EXPECT_EQ(ending.exit_code, 1) << ending.hit;
    const Snapshot items = site.items();
    EXPECT_EQ(wrong_items(request, items), Patterns());
    EXPECT_FALSE(items.contains(told.place));
}

const std::string archive = "home/dest/a.zip";
const std::string written = "home/dest/new";
const std::string moved = "home/dest/tree";

const Told tellers[] = {
    {"close_of_a_written_file", "write", {}, "^close .*/home/dest/#", written},
    {"flush_of_a_written_file", "write", {}, "^fsync .*/home/dest/#", written},
    {"flush_of_the_folder_of_a_written_file", "write", {}, "^fsync .*/home/dest$", written},
    {"close_of_an_archive", "zip", {}, "^close .*/home/dest/#", archive},
    {"flush_of_an_archive", "zip", {}, "^fsync .*/home/dest/#", archive},
    {"flush_of_a_moved_tree", "move", another_volume, "^syncfs ", moved},
    {"flush_of_the_folder_of_a_moved_tree", "move", another_volume, "^fsync .*/home/dest$", moved},
    {"close_of_a_moved_file", "move", another_volume, "^close .*orvresume/big$", moved},
    {"flush_of_a_note", "move", another_volume, "^fsync .*note$", moved},
    {"close_of_a_copied_file",
     "copy",
     {.unnamed_files = true},
     "^close .*proc_files__/",
     moved + "/a.txt"},
    {"flush_of_the_folder_of_a_renamed_tree",
     "rename",
     {},
     "^fsync .*/home/shelf$",
     "home/shelf/trunk"},
    {"flush_of_the_folder_of_a_deleted_tree",
     "delete",
     {},
     "^fsync .*/home/shelf$",
     "home/shelf/tree"},
    {"flush_of_what_replaces", "replace", {}, "^syncfs ", moved + "/sub/deep"},
};

INSTANTIATE_TEST_SUITE_P(Faults, FailedFlush, testing::ValuesIn(tellers),
                         [](const auto& told) { return told.param.name; });

} // namespace
} // namespace orv::test
