#pragma once

#include <orv/ThumbGenerator/OrvThumbnail.hpp>
#include <orv/utility/Error.hpp>

#include <optional>
#include <stop_token>

namespace orv {

/// A thumbnail, and why it is the placeholder where it is.
struct MadeThumbnail {
    Picture thumb;
    std::optional<Error> failure;
};

/// The parts of the registry for the library alone.
class ThumbnailAccess {
public:
    /// The work of `OrvThumbnail::getThumbnail`.
    ///
    /// Threading: any; works on the calling thread.
    /// Cancel: `stop` ends the wait for a decoder at once, with an `Exception`. The call waits for
    /// an application's own generator.
    static MadeThumbnail make(const Url& url, std::optional<std::uint32_t> resize_width,
                              std::optional<std::uint32_t> resize_height,
                              const std::stop_token& stop);
};

} // namespace orv
