#pragma once

#include "support/Engine.hpp"

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace orv::test {

/// A living folder, what it told, and the names that this gives.
class WatchedList {
public:
    explicit WatchedList(const Url& url, OrvFolder::Options options = {},
                         SortType sort = SortType::by_name(SortOrder::asc));

    /// Waits until all that was there at first has been told.
    void wait_until_complete();

    /// What was told after that, a line for each item: "added a", "renamed a b", "gone: why".
    [[nodiscard]] const std::vector<std::string>& told() const { return told_; }
    [[nodiscard]] bool has_told(const std::string& line) const;
    [[nodiscard]] const std::set<std::string>& names() const { return names_; }
    [[nodiscard]] const FileItem& last_renamed() const { return last_renamed_; }
    [[nodiscard]] bool is_gone() const { return is_gone_; }

    OrvFolder& folder() { return *folder_; }
    void end() { folder_.reset(); }

private:
    void take(const OrvFolder::Status& status);
    void add(const std::string& name);
    void remove(const std::string& name);

    std::vector<std::string> told_;
    std::set<std::string> names_;
    FileItem last_renamed_;
    bool is_complete_ = false;
    bool is_gone_ = false;
    std::unique_ptr<OrvFolder> folder_;
};

} // namespace orv::test
