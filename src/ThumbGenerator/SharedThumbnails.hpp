#pragma once

#include "ThumbGenerator/ThumbnailCache.hpp"

namespace orv {

/// The folder of thumbnails that the programs of a desktop share, as the freedesktop thumbnail
/// specification lays it out. It is a cache that anything may have written: what is not exactly
/// right counts as absent, and what cannot be written is left.
///
/// Threading: any.
class SharedThumbnails {
public:
    /// Takes the folder that the environment names now.
    SharedThumbnails();

    /// Whether there may be shared thumbnails of the file: its path names no other file, and does
    /// not lie in the folder itself.
    [[nodiscard]] bool may_serve(const Url& file) const;

    /// A shared picture of the version of the file that shows enough for the thumbnail wanted,
    /// with the size of the whole as far as it can be told.
    [[nodiscard]] std::optional<Preview> find(const Url& file, const FileVersion& version,
                                              SizeWanted wanted) const;

    /// Shares the picture that was delivered for the file of that version, in place of another; it
    /// must have that version still.
    void store(const Url& file, const FileVersion& version, const Preview& preview,
               SizeWanted wanted) const;

private:
    Url folder_;
    Url resolved_folder_;
};

} // namespace orv
