#pragma once

#include "faults/VolumeItems.hpp"
#include "faults/VolumeKinds.hpp"

#include <filesystem>
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
    std::string told = {};    ///< what it has to write
    std::string refusal = {}; ///< what it says of a volume that can be written, but not hold it
    bool needs_one_spelling = false; ///< only where names that differ in case are one item
    bool keeps_all = false; ///< modes, dates and attributes too, where the other command keeps them
    bool is_quick = false;  ///< the test suite tries it too
};

[[nodiscard]] const std::vector<VolumeRequest>& volume_requests();

/// The folders of a request: $H and $V.
struct VolumePlace {
    std::filesystem::path home;
    std::filesystem::path volume;
};

/// What a shell command did.
struct VolumeRun {
    int code = -1;
    std::string output;
    std::string errors; ///< without the last line break

    [[nodiscard]] bool failed_with_sentence() const;
};

/// Runs a shell command. The home of `orv` and what is written lie in the folder `log`, which has a
/// folder "home".
[[nodiscard]] VolumeRun run_at(const VolumePlace& place, const Url& log,
                               const std::string& command);

/// What stands in the folder for unfinished files of that home.
[[nodiscard]] Items unfinished_noted_at(const Url& log);

/// How a request ended on a volume.
struct VolumeOutcome {
    enum class Kind {
        done,
        refused,      ///< with a sentence, like the other command
        spoilt,       ///< by the volume itself, under the other command as well
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
    struct Work;

    [[nodiscard]] Work work_of(const VolumeRequest& request, const char* who) const;
    [[nodiscard]] VolumeOutcome lacks_of(const Work& place, const Work& other) const;
    [[nodiscard]] std::string wrong_with(const VolumeRequest& request, const Work& place,
                                         const VolumeRun& ran, bool other_can) const;

    VolumeKind kind_;
    Scratch home_;
    Url log_ = home_ / "log";
    MountedKind volume_;
};

} // namespace orv::test
