#pragma once

#include "files/TransferItems.hpp"

namespace orv {

/// True for a hidden item that copies leave out: one that is marked to be ignored, or a file of the
/// library that is not finished.
[[nodiscard]] bool is_left_out(const SourceItem& source);

} // namespace orv
