#pragma once

#include "ThumbGenerator/ThumbnailCache.hpp"

namespace orv {

/// The folder of thumbnails the programs of a desktop share, as the freedesktop thumbnail
/// specification lays it out. Any program may have written this cache: a thumbnail not exactly
/// right counts as absent, and a failed write is no error.
///
/// Threading: any.
class SharedThumbnails {
public:
    /// Takes the folder from the environment now.
    SharedThumbnails();

    /// True if there may be shared thumbnails of the file: its path names no other file and does
    /// not lie in the folder itself.
    [[nodiscard]] bool may_serve(const Url& file) const;

    /// A shared picture of this version of the file, large enough for the wanted thumbnail, with
    /// the size of the whole as far as it is known.
    [[nodiscard]] std::optional<Preview> find(const Url& file, const FileVersion& version,
                                              SizeWanted wanted) const;

    /// Shares the delivered picture of this version of the file, in place of another. The file must
    /// still have that version.
    void store(const Url& file, const FileVersion& version, const Preview& preview,
               SizeWanted wanted) const;

private:
    Url folder_;
    Url resolved_folder_;
};

} // namespace orv
