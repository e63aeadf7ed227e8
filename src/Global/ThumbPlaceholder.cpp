#include "Global/ThumbPlaceholder.hpp"

#include "Global/PlaceholderPng.hpp"

namespace orv {

const Picture& intr_thumb_placeholder()
{
    static const auto* placeholder = new Picture(Picture::from_png(placeholder_png()));
    return *placeholder;
}

} // namespace orv
