#pragma once

#include "support/Scratch.hpp"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace orv::test {

/// A kind of volume that a person may plug in or mount.
struct VolumeKind {
    std::string name;
    /// The shell command that mounts one at $MOUNT, with $SPARE for whatever it needs. $SEED is the
    /// folder that it shows, for kinds that show one.
    std::string mount;
    std::vector<std::string> programs = {}; ///< that the command needs
    bool is_read_only = false;              ///< what lies in $SEED is there from the start
    std::string not_tried = {};             ///< requests that the volume itself can't bear
    bool is_slow_to_show = false;           ///< what was changed, which arrives all the same
    bool is_forgetful = false;              ///< loses dates or modes that other commands set later
};

/// How a failed test shows it.
inline void PrintTo(const VolumeKind& kind, std::ostream* to)
{
    *to << kind.name;
}

[[nodiscard]] const std::vector<VolumeKind>& volume_kinds();
[[nodiscard]] const VolumeKind& volume_kind(const std::string& name);

/// A volume of the tests' own file system, with rules.
[[nodiscard]] VolumeKind odd_kind(const std::string& rules);

/// Why none of that kind can be mounted here; none when it can.
[[nodiscard]] std::optional<std::string> obstacle_to(const VolumeKind& kind);

/// A volume of some kind, mounted while the object lives.
class MountedKind {
public:
    MountedKind() = default;
    ~MountedKind();
    MountedKind(const MountedKind&) = delete;
    MountedKind& operator=(const MountedKind&) = delete;

    /// What a read-only volume is to hold is put here before it is mounted.
    [[nodiscard]] Url seed() const { return scratch_ / "seed"; }
    [[nodiscard]] Url url() const { return scratch_ / "mount"; }

    /// Errors: `std::runtime_error`, with what the command wrote.
    void mount(const VolumeKind& kind);

    void unmount();

private:
    Scratch scratch_;
};

} // namespace orv::test
