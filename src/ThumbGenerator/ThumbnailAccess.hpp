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

/// The parts of the registry that only the library uses.
class ThumbnailAccess {
public:
    /// What `OrvThumbnail::getThumbnail` does.
    ///
    /// Threading: any; works on the calling thread.
    /// Cancel: `stop` ends the waiting for a decoder at once, with an `Exception`. An application's
    /// own generator is waited for.
    static MadeThumbnail make(const Url& url, std::optional<std::uint32_t> resize_width,
                              std::optional<std::uint32_t> resize_height,
                              const std::stop_token& stop);
};

} // namespace orv
