#pragma once

#include <orv/utility/Url.hpp>

#include <string>
#include <vector>

namespace orv::test {

/// Stores a protected row for each of the items in `folder`.
void store_rows(const Url& folder, const std::vector<std::string>& names);

/// The keys of the rows below `folder`, seen from there, sorted.
[[nodiscard]] std::vector<std::string> stored_rows(const Url& folder);

} // namespace orv::test
