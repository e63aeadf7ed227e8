#pragma once

#include <cstdint>
#include <string>

namespace orv::bench {

/// A folder of its own for one run of the program, removed with all that is in it at the end, and
/// the home that the tools see: it lies in there, so that nothing of the user's is touched or
/// slows anything down.
class Workplace {
public:
    /// Makes it below `folder`, which is created when it is missing.
    ///
    /// Errors: the platform's; that the volume has less than `needed_bytes` free.
    Workplace(const std::string& folder, std::int64_t needed_bytes);
    ~Workplace();
    Workplace(const Workplace&) = delete;
    Workplace& operator=(const Workplace&) = delete;

    [[nodiscard]] const std::string& folder() const { return folder_; }

private:
    std::string folder_;
};

} // namespace orv::bench
