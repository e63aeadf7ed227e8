#include <cstdlib>

namespace {

// Linked into programs that are never installed.
[[maybe_unused]] const int result = ::setenv("ORV_PREFIX", ORV_BUILD_TREE, 0);

} // namespace
