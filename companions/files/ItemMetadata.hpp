#pragma once

#include <orv/utility/Url.hpp>

#include <string>

#include <sys/stat.h>
#include <time.h>

namespace orv {

/// The mode and the times of an item, as a copy keeps them.
struct ModeAndTimes {
    mode_t mode;
    timespec access;
    timespec modification;

    explicit ModeAndTimes(const struct stat& status);
    explicit ModeAndTimes(const struct statx& facts);
};

/// Gives the open item `to` the extended attributes of the open item `from`, as far as its file
/// system can keep them.
///
/// Errors: the platform's, at `to_url`.
void keep_extended_attributes(int from, int to, const Url& to_url);

/// Gives the open item `to` the mode, without set-user and set-group bits, as far as its file
/// system can keep it.
///
/// Errors: the platform's, at `to_url`.
void keep_mode(int to, mode_t mode, const Url& to_url);

/// The same with the times, each perhaps a special value of `utimensat`.
///
/// Errors: the platform's, at `to_url`.
void keep_times(int to, const timespec& access, const timespec& modification, const Url& to_url);

/// Both.
///
/// Errors: the platform's, at `to_url`.
void keep_mode_and_times(int to, const ModeAndTimes& kept, const Url& to_url);

/// Gives the link or node `name` in an open folder the times, as far as its volume can keep them.
///
/// Errors: the platform's, at `url`.
void keep_times_of_link(int folder, const std::string& name, const timespec& access,
                        const timespec& modification, const Url& url);

/// Gives the folder, FIFO or socket `name` in an open folder the mode, as far as its file system
/// can keep it, even if another item takes its name meanwhile.
void keep_mode_of_item(int folder, const std::string& name, mode_t mode);

/// The mode for a copy of an item.
[[nodiscard]] inline mode_t kept_mode(mode_t mode)
{
    return mode & 01777U;
}

} // namespace orv
