#pragma once

#include <orv/picture/Picture.hpp>

namespace orv {

/// The picture of a file that no thumbnail can be made of; known again by `Picture::is_same`.
///
/// Threading: any.
[[nodiscard]] const Picture& intr_thumb_placeholder();

} // namespace orv
