#pragma once

#include <string>

namespace orv::test {

/// Tries all requests on the kinds of volume whose names contain `wanted`, and prints a table.
/// Returns how many fail.
[[nodiscard]] int prove_volumes(const std::string& wanted);

} // namespace orv::test
