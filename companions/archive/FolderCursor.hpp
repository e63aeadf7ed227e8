#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace orv::archive {

/// Opens the folders below one, from each the next. Symbolic links are not followed, and no path is
/// too long.
class FolderCursor {
public:
    /// `root` is found at `url`.
    FolderCursor(FileDescriptor root, Url url);

    /// A descriptor of the folder at `path`, seen from the root: "" or "a/b". It stays open until
    /// the next call.
    ///
    /// Errors: the platform's.
    int go_to(std::string_view path);

    [[nodiscard]] Url url_of(std::string_view path) const;

private:
    struct Level {
        std::size_t path_size; // of the part of `path_` that leads here
        FileDescriptor folder;
    };

    void go_back_towards(std::string_view path);
    void descend(std::string_view name);

    const FileDescriptor root_;
    const Url url_;
    std::string path_;
    std::vector<Level> levels_; // the upper ones stay open, below them only the last
};

} // namespace orv::archive
