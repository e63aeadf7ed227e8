#include "Folder/FolderSnapshot.hpp"

#include <algorithm>
#include <map>
#include <sstream>

#include <gtest/gtest.h>

namespace orv::test {
namespace {

/// Names and their items: a number each, and a letter for its content.
using Items = std::map<std::string, std::string>;

struct statx facts_of(const std::string& item)
{
    struct statx facts {};
    facts.stx_mask = STATX_BASIC_STATS | STATX_BTIME;
    facts.stx_ino = static_cast<unsigned char>(item[0]);
    facts.stx_size = static_cast<unsigned char>(item[1]);
    facts.stx_mode = S_IFREG;
    return facts;
}

std::string text_of(const FolderChanges& changes, const std::vector<Sighting>& sightings)
{
    std::ostringstream text;
    const auto sorted = [](auto names) {
        std::ranges::sort(names);
        return names;
    };
    const auto names_of = [&](const std::vector<std::size_t>& items) {
        std::vector<std::string> names;
        for (const std::size_t item : items)
            names.push_back(sightings[item].name);
        return sorted(names);
    };
    for (const std::string& name : sorted(changes.removed))
        text << "-" << name << " ";
    for (const auto& [from, item] : changes.renamed)
        text << from << ">" << sightings[item].name << " ";
    for (const std::string& name : names_of(changes.changed))
        text << "~" << name << " ";
    for (const std::string& name : names_of(changes.added))
        text << "+" << name << " ";
    return text.str();
}

struct SnapshotCase {
    const char* name;
    Items before;
    Items after;
    std::string changes;
    bool has_lasting_identities = true;
    std::unordered_map<std::string, std::string> former_names = {};
};

const SnapshotCase snapshot_cases[] = {
    {"nothing", {{"a", "1x"}}, {{"a", "1x"}}, ""},
    {"come and gone", {{"a", "1x"}}, {{"b", "2x"}}, "-a +b "},
    {"written to", {{"a", "1x"}}, {{"a", "1y"}}, "~a "},
    {"renamed", {{"a", "1x"}}, {{"b", "1x"}}, "a>b "},
    {"a chain", {{"a", "1x"}, {"b", "2x"}}, {{"b", "1x"}, {"c", "2x"}}, "b>c a>b "},
    {"a backup, then a new file", {{"f", "1x"}}, {{"f~", "1x"}, {"f", "2x"}}, "f>f~ +f "},
    {"exchanged", {{"a", "1x"}, {"b", "2x"}}, {{"a", "2x"}, {"b", "1x"}}, "~a ~b "},
    {"saved by replacing", {{"f", "1x"}, {"t", "2x"}}, {{"f", "2x"}}, "-t ~f "},
    {"one of two names gone", {{"a", "1x"}, {"b", "1x"}}, {{"a", "1x"}}, "-b "},
    {"two names moved", {{"a", "1x"}, {"b", "1x"}}, {{"c", "1x"}, {"b", "1x"}}, "a>c "},
    {"numbers that do not last", {{"a", "1x"}}, {{"a", "2x"}}, "", false},
    {"renamed without numbers", {{"a", "1x"}}, {{"b", "2x"}}, "a>b ", false, {{"b", "a"}}},
    {"come and gone without numbers", {{"a", "1x"}}, {{"b", "1x"}}, "-a +b ", false},
};

TEST(FolderSnapshot, tells_how_a_list_becomes_true_again)
{
    for (const SnapshotCase& row : snapshot_cases) {
        SCOPED_TRACE(row.name);
        FolderSnapshot snapshot(row.has_lasting_identities);
        for (const auto& [name, item] : row.before)
            EXPECT_TRUE(snapshot.add(name, facts_of(item)));

        // Seen by their names, then by a comparison of all, after which nothing differs.
        std::vector<Sighting> sightings;
        for (const auto& [name, item] : row.after)
            sightings.push_back({name, facts_of(item)});
        for (const auto& [name, item] : row.before)
            if (!row.after.contains(name))
                sightings.push_back({name, std::nullopt});
        EXPECT_EQ(text_of(snapshot.update(sightings, row.former_names), sightings), row.changes);
        for (const auto& [name, item] : row.after)
            EXPECT_TRUE(snapshot.is_as_told(name, facts_of(item))) << name;
        EXPECT_EQ(snapshot.take_unseen(), std::vector<std::string>{});
    }
}

} // namespace
} // namespace orv::test
