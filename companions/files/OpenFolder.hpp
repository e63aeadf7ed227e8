#pragma once

#include "files/Identity.hpp"
#include "utility/FileDescriptor.hpp"

#include <sys/stat.h>

namespace orv {

/// A folder open for reading, and its facts. Without a descriptor, `error` is the errno.
struct OpenFolder {
    FileDescriptor descriptor;
    struct statx facts = {};
    int error = 0;

    [[nodiscard]] Identity identity() const { return identity_of(facts); }
};

/// Opens the folder `name` in `folder`. Refuses a symbolic link in its place.
[[nodiscard]] OpenFolder open_folder(int folder, const char* name);

/// Opens the folder at the path `name`, seen from `folder`; follows links.
[[nodiscard]] OpenFolder open_folder_following_links(int folder, const char* name);

/// True if a volume is mounted at the item with `facts` in the folder `above`.
[[nodiscard]] bool is_mounted(const struct statx& facts, const Identity& above);

} // namespace orv
