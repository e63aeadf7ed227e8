#pragma once

#include <orv/picture/Picture.hpp>

namespace orv {

/// The picture of a file that no thumbnail can be made of, loaded from the library's resources on
/// first use; known again by `Picture::is_same`. A resource that is missing or damaged ends the
/// process.
///
/// Threading: any.
[[nodiscard]] const Picture& intr_thumb_placeholder();

} // namespace orv
