#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// Where an item is, as a folder descriptor and a path below it: the form that system calls take.
struct Place {
    FileDescriptor opened;
    std::string path;

    [[nodiscard]] int folder() const;
    [[nodiscard]] const char* name() const { return path.c_str(); }

    /// The place of `url`, however long its path is; only an overlong one opens a folder.
    ///
    /// Errors: the platform's, when a folder on the way cannot be opened.
    static Place of(const Url& url);

    /// The place of `url` as a bare name in its opened folder, so that several calls act in one
    /// and the same folder.
    ///
    /// Errors: the platform's, when the folder cannot be opened.
    static Place in_opened_folder(const Url& url);

    /// The same for a `url` whose folders are no links: a link that has taken the place of one of
    /// them meanwhile leads nowhere.
    ///
    /// Errors: the platform's; that a folder was replaced.
    static Place in_resolved_folder(const Url& url);
};

/// The location with the links among its folders resolved, but not one at its own name.
[[nodiscard]] Url resolving_folders(const Url& url);

} // namespace orv
