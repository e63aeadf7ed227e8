#pragma once

#include <string>

namespace orv::test {

/// Tries all requests on the kinds of volume whose names contain `wanted`, and prints a table.
/// Returns how many fail.
[[nodiscard]] int prove_volumes(const std::string& wanted);

/// Takes a volume away at every call of some requests. Returns how often something is wrong.
[[nodiscard]] int prove_pulled_volumes();

} // namespace orv::test
