#pragma once

#include <cstdint>

#include <sys/stat.h>

namespace orv {

/// The identity of an item under any name.
struct Identity {
    std::uint32_t device_major = 0;
    std::uint32_t device_minor = 0;
    std::uint64_t inode = 0;

    bool operator==(const Identity&) const = default;
};

[[nodiscard]] inline bool is_one_device(const Identity& one, const Identity& other)
{
    return one.device_major == other.device_major && one.device_minor == other.device_minor;
}

[[nodiscard]] inline Identity identity_of(const struct statx& facts)
{
    return {facts.stx_dev_major, facts.stx_dev_minor, facts.stx_ino};
}

} // namespace orv
