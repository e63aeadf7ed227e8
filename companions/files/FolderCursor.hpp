#pragma once

#include "files/FolderStack.hpp"
#include "files/Identity.hpp"

#include <orv/utility/Url.hpp>

#include <cstddef>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace orv {

/// Goes to any folder of a tree, at any depth. Never follows links. A folder visited before must be
/// the same one again, on volumes with stable identities.
///
/// Threading: one thread at a time.
class FolderCursor {
public:
    /// `root` is shown as `url`.
    FolderCursor(OpenFolder root, Url url);

    /// Returns a descriptor of the folder at `path` below the root: "" or "a/b". It stays open
    /// until the next call.
    ///
    /// Errors: the platform's, at the folder that did not open: ESTALE if another one has taken its
    /// place. After an error on the way up, the cursor is useless.
    int go_to(std::string_view path);

    /// The location of `path`, for errors.
    [[nodiscard]] Url url_of(std::string_view path) const;

private:
    /// A folder's name in the folder above.
    struct Step {
        Identity above;
        std::string name;

        bool operator==(const Step&) const = default;
    };
    struct Hash {
        std::size_t operator()(const Step& step) const;
    };

    void go_back_towards(std::string_view path);
    void descend(std::string_view name);
    [[nodiscard]] bool is_as_before(const std::string& name, const OpenFolder& folder);

    const Url url_;
    const bool has_lasting_identities_; // FUSE and network volumes may number items anew
    FolderStack stack_;
    std::string path_;
    std::vector<std::size_t> path_sizes_; // for each folder, of its part of `path_`
    std::unordered_map<Step, Identity, Hash> visited_;
};

} // namespace orv
