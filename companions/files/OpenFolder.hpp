#pragma once

#include "files/Identity.hpp"
#include "utility/FileDescriptor.hpp"

#include <sys/stat.h>

namespace orv {

/// A folder opened for reading, and what it is. Without a descriptor, `error` is the errno.
struct OpenFolder {
    FileDescriptor descriptor;
    struct statx facts = {};
    int error = 0;

    [[nodiscard]] Identity identity() const { return identity_of(facts); }
};

/// Opens the folder `name` in `folder`. A symbolic link in its place is refused.
[[nodiscard]] OpenFolder open_folder(int folder, const char* name);

/// Opens the folder that the path `name`, seen from `folder`, leads to; links are followed.
[[nodiscard]] OpenFolder open_folder_following_links(int folder, const char* name);

/// Whether a volume is mounted at the item that is described as `facts` and lies in the folder
/// `above`.
[[nodiscard]] bool is_mounted(const struct statx& facts, const Identity& above);

} // namespace orv
