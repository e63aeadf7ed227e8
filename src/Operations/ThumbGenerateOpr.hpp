#pragma once

#include <orv/Operations/ThumbGenerateOpr.hpp>

#include <memory>

namespace orv {

/// Starts the making of a thumbnail of the file at `url`.
std::shared_ptr<ThumbGenerateOpr> generate_thumb(Url url, std::optional<std::uint32_t> resize_width,
                                                 std::optional<std::uint32_t> resize_height,
                                                 ThumbGenerateOpr::StatusClosure status_closure);

} // namespace orv
