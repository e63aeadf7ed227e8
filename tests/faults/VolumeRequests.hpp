#pragma once

#include "faults/VolumeKinds.hpp"

#include <string>
#include <vector>

namespace orv::test {

/// A request that touches a volume, beside what other commands do for it.
struct VolumeRequest {
    std::string name;
    std::string orv;  ///< a shell command; $V is a folder on the volume, $H one beside it
    std::string peer; ///< likewise
    std::string home; ///< the items that $H holds before
    std::string volume;
    std::string home_after; ///< and after it succeeded
    std::string volume_after;
    std::string told = {};           ///< what it has to write
    bool needs_one_spelling = false; ///< only where names that differ in case are one item
    bool keeps_all = false;          ///< modes and dates too, where the other command keeps them
    bool is_quick = false;           ///< the test suite tries it too
};

[[nodiscard]] const std::vector<VolumeRequest>& volume_requests();

/// How a request ended on a volume.
struct VolumeOutcome {
    enum class Kind {
        done,
        refused,      ///< with a sentence, like the other command
        not_possible, ///< the items that it needs can't be made there
        failed,
    };
    Kind kind = Kind::done;
    std::string text = {}; ///< the sentence, or what is wrong
};

/// Requests on one mounted volume.
class VolumeTrial {
public:
    explicit VolumeTrial(const VolumeKind& kind);

    /// The request does all that the volume can hold, or fails with a sentence where the other
    /// command fails too; it loses nothing, and leaves nothing hidden.
    [[nodiscard]] VolumeOutcome run(const VolumeRequest& request) const;

private:
    struct Place;
    struct Ran {
        int code = -1;
        std::string output;
        std::string errors;
    };

    [[nodiscard]] Place place_of(const VolumeRequest& request, const char* who) const;
    [[nodiscard]] Ran run_at(const Place& place, const std::string& command) const;
    [[nodiscard]] VolumeOutcome lacks_of(const Place& place, const Place& other) const;
    [[nodiscard]] static std::string wrong_with(const VolumeRequest& request, const Place& place,
                                                const Ran& ran, bool other_can);

    bool is_read_only_;
    std::string not_tried_;
    Scratch home_;
    MountedKind volume_;
};

} // namespace orv::test
