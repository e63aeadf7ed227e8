#pragma once

#include <cstdint>
#include <string>

namespace orv::bench {

/// A folder of its own for one run of the program, removed with all that is in it at the end.
class ScratchFolder {
public:
    /// Makes it below `folder`, which is created when it is missing.
    ///
    /// Errors: the platform's; that the volume has less than `needed_bytes` free.
    ScratchFolder(const std::string& folder, std::int64_t needed_bytes);
    ~ScratchFolder();
    ScratchFolder(const ScratchFolder&) = delete;
    ScratchFolder& operator=(const ScratchFolder&) = delete;

    [[nodiscard]] const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Such a folder, and the home that the tools see: it lies in there, so that nothing of the user's
/// is touched or slows anything down.
class Workplace {
public:
    /// Errors: those of `ScratchFolder`.
    Workplace(const std::string& folder, std::int64_t needed_bytes);

    [[nodiscard]] const std::string& folder() const { return folder_.path(); }

private:
    ScratchFolder folder_;
};

} // namespace orv::bench
