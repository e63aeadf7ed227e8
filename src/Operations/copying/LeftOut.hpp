#pragma once

#include "files/TransferItems.hpp"

namespace orv {

/// True for a hidden item no copy takes: one with the mark to ignore it, or an unfinished file of
/// the library.
[[nodiscard]] bool is_left_out(const SourceItem& source);

} // namespace orv
