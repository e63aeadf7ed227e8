#pragma once

#include "picture/ThumbnailSize.hpp"

#include <orv/ThumbGenerator/OrvThumbnail.hpp>
#include <orv/utility/Error.hpp>

#include <memory>
#include <optional>
#include <stop_token>

namespace orv {

class SharedThumbnails;

/// A thumbnail, and why it is the placeholder where it is.
struct MadeThumbnail {
    Picture thumb;
    std::optional<Error> failure;
};

/// The formats a thumbnail may be made of: those in the registry, or also the library's further
/// ones.
enum class Formats { registered, all };

/// The parts of the registry for the library alone.
class ThumbnailAccess {
public:
    /// The work of `OrvThumbnail::getThumbnail`. A page or drawing that need only fit within a
    /// box fills it.
    /// `shared` is used beside the registry's own shared folder; it may be null.
    ///
    /// Threading: any; works on the calling thread.
    /// Cancel: `stop` ends the wait for a decoder at once, with an `Exception`. The call waits for
    /// an application's own generator.
    static MadeThumbnail make(const Url& url, SizeWanted wanted, Formats formats,
                              std::shared_ptr<const SharedThumbnails> shared,
                              const std::stop_token& stop);

    /// The placeholder for a file whose thumbnail failed.
    static MadeThumbnail placeholder(SizeWanted wanted, Error failure);
};

} // namespace orv
