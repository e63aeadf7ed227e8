#pragma once

#include <orv/utility/Url.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace orv::test {

/// Makes items below `root`, with the folders above them. An entry is "folder/", "file=content" or
/// "link->target".
void make_tree(const Url& root, const std::vector<std::string>& entries);

void write_file(const Url& url, std::string_view content);
[[nodiscard]] std::string read_file(const Url& url);

/// Everything below `root` in the form that `make_tree` takes, sorted: a stray temporary or a lost
/// item shows. Empty for a root that does not exist.
[[nodiscard]] std::vector<std::string> tree(const Url& root);

} // namespace orv::test
