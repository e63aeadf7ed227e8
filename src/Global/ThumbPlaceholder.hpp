#pragma once

#include <orv/picture/Picture.hpp>

namespace orv {

/// The picture of a file without a thumbnail; `Picture::is_same` recognises it.
///
/// Threading: any.
[[nodiscard]] const Picture& intr_thumb_placeholder();

} // namespace orv
