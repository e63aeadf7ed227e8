#pragma once

#include <orv/picture/Picture.hpp>
#include <orv/utility/Error.hpp>
#include <orv/utility/Url.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace orv {

/// Thumbnails of the files a window shows at the moment.
///
///     orv::ThumbnailQueue queue({.width = 128, .height = 128}, {},
///                               [&](const auto& made) { show(made.url, made.thumb); });
///     queue.set_wishes(visible_files); // and again after every scroll
///
/// Takes a list of wishes and delivers their thumbnails in the order of the list, each once.
/// It makes several at once, at most one per core. It makes none for a file that left the list
/// before its turn, and no second one for a file that stays in the list.
///
/// Thumbnails come from the generators of `OrvThumbnail`, its further formats included, and from
/// its memory of recent ones, and share the desktop's folder of thumbnails.
///
/// Threading: main thread, also for the closure and its destruction. A turn of the main loop
/// delivers thumbnails for two milliseconds at most, or one if the closure takes longer.
/// Cancel: ending the object ends everything. It may end inside its closure.
class ThumbnailQueue {
public:
    /// A thumbnail fits into the box and keeps the shape of the picture. A page and a drawing fill
    /// the box; no other picture grows.
    ///
    /// Units: pixels, at least one.
    struct Box {
        std::uint32_t width = 256;
        std::uint32_t height = 256;
    };

    struct Options {
        /// Looks for thumbnails in the folder the programs of a desktop share, and puts new ones
        /// there; see `OrvThumbnail::use_shared_folder`.
        bool use_shared_folder = true;
    };

    struct Made {
        Url url = {};
        Picture thumb = {};
        bool is_placeholder = false;       ///< there is no picture of the file
        std::optional<Error> failure = {}; ///< why it is the placeholder
    };

    using Closure = std::function<void(const Made&)>;

    ThumbnailQueue(Box box, Options options, Closure on_made);
    ~ThumbnailQueue();
    ThumbnailQueue(const ThumbnailQueue&) = delete;
    ThumbnailQueue& operator=(const ThumbnailQueue&) = delete;

    /// Replaces the list of wishes. A repeated file counts once.
    void set_wishes(const std::vector<Url>& urls);

    /// Makes the thumbnail of a changed file again, if the file is in the list.
    void renew(const Url& url);

private:
    class Impl;
    std::shared_ptr<Impl> impl_;
};

} // namespace orv
