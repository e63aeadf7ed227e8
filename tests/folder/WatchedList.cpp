#include "folder/WatchedList.hpp"

#include <algorithm>

namespace orv::test {

WatchedList::WatchedList(const Url& url, OrvFolder::Options options, SortType sort)
    : folder_(std::make_unique<OrvFolder>(
          url, sort, options, [this](const OrvFolder::Status& status) { take(status); }))
{
}

void WatchedList::wait_until_complete()
{
    pump_until([&] { return is_complete_ || is_gone_; });
    std::erase_if(told_, [](const std::string& line) { return line.starts_with("added "); });
}

bool WatchedList::has_told(const std::string& line) const
{
    return std::ranges::count(told_, line) > 0;
}

void WatchedList::take(const OrvFolder::Status& status)
{
    match(
        status,
        [&](const OrvFolder::added& told) {
            for (const FileItem& item : told.items) {
                add(item.name);
                told_.push_back("added " + item.name);
            }
        },
        [&](const OrvFolder::removed& told) {
            for (const std::string& name : told.names) {
                remove(name);
                told_.push_back("removed " + name);
            }
        },
        [&](const OrvFolder::changed& told) {
            for (const FileItem& item : told.items) {
                EXPECT_TRUE(names_.contains(item.name)) << item.name;
                told_.push_back("changed " + item.name);
            }
        },
        [&](const OrvFolder::renamed& told) {
            for (const auto& [from, item] : told.items) {
                remove(from);
                add(item.name);
                last_renamed_ = item;
                told_.push_back("renamed " + from + " " + item.name);
            }
        },
        [&](const OrvFolder::complete&) { is_complete_ = true; },
        [&](const OrvFolder::compared& told) {
            told_.push_back(told.is_lasting ? "compared from now on" : "compared once");
        },
        [&](const OrvFolder::gone& told) {
            is_gone_ = true;
            told_.push_back("gone: " + told.error.sentence());
        });
}

void WatchedList::add(const std::string& name)
{
    EXPECT_TRUE(names_.insert(name).second) << name << " was added twice";
}

void WatchedList::remove(const std::string& name)
{
    EXPECT_EQ(names_.erase(name), 1U) << name << " was never added";
}

} // namespace orv::test
