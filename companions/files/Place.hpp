#pragma once

#include "utility/FileDescriptor.hpp"

#include <orv/utility/Url.hpp>

#include <string>

namespace orv {

/// The place of an item, as a folder descriptor and a path below it: the form for system calls.
struct Place {
    FileDescriptor opened;
    std::string path;

    [[nodiscard]] int folder() const;
    [[nodiscard]] const char* name() const { return path.c_str(); }

    /// The place of `url`, however long its path is; only an overlong one opens a folder.
    ///
    /// Errors: the platform's, if a folder on the way does not open.
    static Place of(const Url& url);

    /// The place of `url` as a bare name in its opened folder, for several calls in one and the
    /// same folder.
    ///
    /// Errors: the platform's, if the folder does not open.
    static Place in_opened_folder(const Url& url);

    /// The same for a `url` without links among its folders: a link in the place of one of them
    /// meanwhile leads nowhere.
    ///
    /// Errors: the platform's; an error for a replaced folder.
    static Place in_resolved_folder(const Url& url);
};

/// The location with the links among its folders resolved, but not one at its own name.
[[nodiscard]] Url resolving_folders(const Url& url);

} // namespace orv
