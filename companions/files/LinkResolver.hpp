#pragma once

#include <orv/utility/Url.hpp>

#include <vector>

namespace orv {

/// Resolves the symbolic links in many locations. It looks at a folder once for all items in it, so
/// it should not outlive one piece of work: a folder swapped for a link meanwhile stays a folder
/// here.
///
/// Threading: one thread.
class LinkResolver {
public:
    /// Returns the same as `Url::resolving_symlinks`.
    [[nodiscard]] Url resolve(const Url& url);

    /// Returns the same as `resolving_folders`: an item that is a link stays one.
    [[nodiscard]] Url resolve_folders(const Url& url);

private:
    struct Folder {
        Url url;
        Url resolved;
    };

    const Url& resolve_folder(const Url& folder);
    [[nodiscard]] Url resolved(const Url& folder) const;

    std::vector<Folder> way_; // each lies in the one before it
};

} // namespace orv
