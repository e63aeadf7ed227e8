#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace orv::test {

/// Items as a line of a table writes them: "name", "name=origin" for a file with the content of
/// another name, "folder/", "link>text", "fifo|". What is in a file follows from its name: "big" is
/// big, "empty" is empty, "sparse" ends with a hole; "*.zip" and "*.png" are samples, or "=new"
/// ones that a request made.
using Items = std::set<std::string>;

/// The items of a line, which spaces part.
[[nodiscard]] Items items_of(const std::string& line);

/// Makes the items below the folder `root`, with a mode and a date that are not the usual ones, and
/// an attribute.
///
/// Errors: `std::exception` where the volume can't hold one.
void make_items(const std::filesystem::path& root, const std::string& line);

/// What stands below `root`; a space in a name is written "_".
[[nodiscard]] Items items_below(const std::filesystem::path& root);

[[nodiscard]] std::string joined(const Items& items);
[[nodiscard]] Items without(const Items& items, const Items& others);

/// The modes, dates and attributes of made items that `other` kept and `place` did not keep.
[[nodiscard]] Items not_kept(const std::filesystem::path& place,
                             const std::filesystem::path& other);

} // namespace orv::test
